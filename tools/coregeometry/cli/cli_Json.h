// cli_Json.h: facts that commands print with --json
#pragma once

#include <nlohmann/json.hpp>

using cli_Json = nlohmann::ordered_json;
