// odiC_Component.h: what all sources of this module share
#pragma once

#include <ddb_Module.h>

inline constexpr unsigned short odiC_kComponent = 676;
