// shp_Print.h: writing finished text to a stream
#pragma once

#include <CoreUtils/aio_ostream.h>
#include <string_view>

/// Writes exactly these bytes, whatever width, base or locale the stream is set to.
inline void shp_Write(aio_ostream& stream, std::string_view text) {
  stream.write(text.data(), static_cast<std::streamsize>(text.size()));
}

inline void shp_WriteLine(aio_ostream& stream, std::string_view text) {
  shp_Write(stream, text);
  stream.put('\n');
}
