// atr_Near.h: suggestions for misspelled names
#pragma once

#include <CoreUtils/PlatformExport.h>
#include <CoreUtils/cow_String.h>
#include <span>
#include <vector>

/// The names that differ from the word in few letters, or begin with it, nearest first, at most `most` of
/// them. Upper and lower case are the same. Few means one letter in a word of up to four, two in one of five
/// to eight, then one in three; a letter is changed, missing, added, or swapped with the next one (optimal
/// string alignment).
CORE_GEOMETRY_PLATFORM_API std::vector<cow_String>
atr_NearNames(const cow_String& word, std::span<const cow_String> names, std::size_t most = 5);

/// For the end of an error message: "; did you mean a, b?", or "; there is a, b and 7 more" when no name is
/// near, or "; there is none".
CORE_GEOMETRY_PLATFORM_API cow_String atr_Alternatives(const cow_String& word,
                                                       std::span<const cow_String> names);
