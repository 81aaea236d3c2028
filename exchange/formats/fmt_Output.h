// fmt_Output.h: bytes and text of a file that is written from front to back
#pragma once

#include <BasicUtils/uti_OutputFile.h>
#include <charconv>
#include <fstream>
#include <span>
#include <string_view>

/// Writes to an output through a buffer. Numbers in text are the shortest that are read as the same ones.
///
/// Errors     nex_TextException naming the file; wip_Cancelled when the host asks to stop.
class fmt_Output {
public:
  explicit fmt_Output(uti_OutputFile& output);

  void Bytes(std::span<const std::byte> bytes) {
    if (bytes.size() > kBuffer - buffer_.size()) return Pass(bytes);
    buffer_.append(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  }
  template<class T> void Raw(std::span<const T> values) { Bytes(std::as_bytes(values)); }
  template<class T>
  requires std::is_arithmetic_v<T>
  void Raw(T value) { Raw(std::span<const T>(&value, 1)); }

  /// Texts, characters and numbers, one after the other.
  template<class... Parts> void Text(const Parts&... parts) { (Part(parts), ...); }

  void Finish(); ///< once, at the end: the file is committed

private:
  static constexpr std::size_t kBuffer = std::size_t{1} << 18, kLongestNumber = 64;

  void Part(std::string_view text) { Bytes(std::as_bytes(std::span(text))); }
  void Part(const char* text) { Part(std::string_view(text)); }
  void Part(char c) { Part(std::string_view(&c, 1)); }
  template<class Number>
  requires std::integral<Number> || std::floating_point<Number>
  void Part(Number value) {
    char text[kLongestNumber];
    const auto [end, error] = std::to_chars(text, text + kLongestNumber, value);
    Part(std::string_view(text, static_cast<std::size_t>(end - text)));
  }
  void Flush();
  void Pass(std::span<const std::byte> bytes); ///< with what the buffer holds

  uti_OutputFile& output_;
  std::ofstream out_;
  cow_String buffer_;
};

/// What XML and JSON can hold of a text: a space for each control character, a question mark for each byte that is not
/// UTF-8 (RFC 3629).
cow_String fmt_PlainText(const cow_String& text);
