#include "fmt_Output.h"

#include <algorithm>

#include <BasicUtils/thr_ThreadSingleton.h>
#include <BasicUtils/wip_WIP.h>

namespace {
/// Length of the UTF-8 character at a position, 0 when there is none.
std::size_t CharacterLength(const cow_String& text, std::size_t at) {
  const auto byte = [&](std::size_t k) {
    return at + k < text.size() ? unsigned{static_cast<unsigned char>(text[at + k])} : 0U;
  };
  constexpr unsigned kLeast[] = {0, 0, 0x80, 0x800, 0x10000};
  const unsigned lead = byte(0);
  if (lead < 0x80) return 1;
  const std::size_t length = lead >= 0xF8 ? 0 : lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : lead >= 0xC0 ? 2 : 0;
  unsigned value = lead & 0x7FU >> length;
  for (std::size_t k = 1; k < length; ++k) {
    if ((byte(k) & 0xC0U) != 0x80) return 0;
    value = value << 6U | (byte(k) & 0x3FU);
  }
  const bool isSurrogate = value >> 11U == 0x1B;
  return value < kLeast[length] || value > 0x10FFFF || isSurrogate ? 0 : length;
}
} // namespace

cow_String fmt_PlainText(const cow_String& text) {
  cow_String clean;
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t length = CharacterLength(text, at);
    if (length == 1)
      clean += static_cast<unsigned char>(text[at]) < ' ' ? ' ' : text[at];
    else
      clean += length == 0 ? cow_String("?") : text.substr(at, length);
    at += std::max<std::size_t>(1, length);
  }
  return clean;
}

fmt_Output::fmt_Output(uti_OutputFile& output) : output_(output), out_(output.Path(), std::ios::binary) {
  buffer_.reserve(kBuffer);
}

void fmt_Output::Pass(std::span<const std::byte> bytes) {
  Flush();
  if (bytes.size() <= kBuffer) return Bytes(bytes);
  out_.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

void fmt_Output::Flush() {
  thr_ThreadSingleton<wip_WIP>::Instance().CheckCancelled();
  out_.write(buffer_.data(), static_cast<std::streamsize>(buffer_.size()));
  buffer_.clear();
  if (!out_) throw nex_TextException(output_.Name() + ": cannot be written; is the disk full?");
}

void fmt_Output::Finish() {
  Flush();
  out_.close();
  if (!out_) throw nex_TextException(output_.Name() + ": cannot be written; is the disk full?");
  output_.Commit();
}
