// ExchangeUnderTest.h: the exchange that the program at hand tests
#pragma once

#include <CoreGeometry/dst_Exchange.h>
#include <filesystem>
#include <memory>

/// With little memory and short rounds, so that messages wait in files and travel in pieces.
std::unique_ptr<dst_Exchange> MakeExchange();
/// A folder of the program, the same on all ranks, and empty at the first call.
const std::filesystem::path& TestFolder();
