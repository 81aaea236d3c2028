// cow_String.h: the text type of persistent fields and names
#pragma once

#include <string>

/// Text with value semantics; compared byte by byte.
using cow_String = std::string;

/// Copy with the ASCII letters a..z in upper case; other bytes stay as they are, whatever the locale.
inline cow_String cow_ToUpper(cow_String text) {
  for (char& c : text)
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  return text;
}
