// fmt_Input.h: the bytes of a file from front to back, as numbers and lines
#pragma once

#include <BasicUtils/nex_Exception.h>
#include <bit>
#include <charconv>
#include <concepts>
#include <cstring>
#include <memory>
#include <span>
#include <string_view>

/// Reads a regular file once, through a buffer.
///
/// Errors     nex_TextException naming the file, the place that At() was given, and in text the line; wip_Cancelled
///            when the host asks to stop.
/// Cost       a system call, a look for a wish to stop and a note of progress for each buffer.
class fmt_Input {
public:
  explicit fmt_Input(const cow_String& file);
  ~fmt_Input();
  fmt_Input(const fmt_Input&) = delete;
  fmt_Input& operator=(const fmt_Input&) = delete;

  const cow_String& Name() const noexcept { return name_; }
  std::size_t Size() const noexcept { return size_; }
  std::size_t Left() const noexcept { return size_ - base_ - at_; } ///< bytes that were not read yet
  /// What is read from here on: a section, a block; without lines of text their number is left out of messages.
  void At(cow_String place, bool isText = true) {
    place_ = std::move(place);
    isText_ = isText;
  }
  [[noreturn]] void Fail(const cow_String& why) const;

  // bytes
  /// Whole values as the file has them; `isSwapped` for the other order of bytes.
  template<class T> void Read(std::span<T> values, bool isSwapped = false) {
    ReadBytes(std::as_writable_bytes(values));
    if (isSwapped) Swap(values);
  }
  template<class T> T ReadOne(bool isSwapped = false) {
    T value{};
    Read(std::span(&value, 1), isSwapped);
    return value;
  }
  void Skip(std::size_t bytes);
  /// To behind the first such bytes from here on; false, and to the end, when there are none.
  bool SkipPast(std::string_view bytes);
  std::string_view Peek(std::size_t bytes); ///< up to so many of the next ones, 64 KiB at most

  // text
  bool SkipBlanks();       ///< to the next character that is none; false at the end
  std::string_view Word(); ///< the next one; empty at the end; until the next call
  std::string_view Line(); ///< the rest of this line; until the next call
  /// The next word as a number. `what` says in messages what it is.
  template<class T> T Number(const char* what) {
    if (!SkipBlanks()) Fail("the file ends where " + cow_String(what) + " should be");
    if (end_ - at_ < kLongestWord) Fill();
    const char* const first = buffer_.get() + at_ + (buffer_[at_] == '+');
    const char* const last = buffer_.get() + end_;
    T value{};
    const auto [next, error] = std::from_chars(first, last, value);
    if (error != std::errc() || (next != last && !IsBlank(*next))) FailAtWord(what);
    at_ = static_cast<std::size_t>(next - buffer_.get());
    return value;
  }

  static bool IsBlank(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

  template<class T> static void Swap(std::span<T> values) {
    for (T& value : values) {
      unsigned char bytes[sizeof(T)];
      std::memcpy(bytes, &value, sizeof(T));
      for (std::size_t i = 0; i < sizeof(T) / 2; ++i) std::swap(bytes[i], bytes[sizeof(T) - 1 - i]);
      std::memcpy(&value, bytes, sizeof(T));
    }
  }

private:
  static constexpr std::size_t kBuffer = std::size_t{1} << 18, kLongestWord = 512;

  void ReadBytes(std::span<std::byte> target);
  void Fill(); ///< keeps what was not read, and reads on behind it
  std::size_t ReadSome(char* target, std::size_t bytes);
  void Poll() const;
  [[noreturn]] void FailAtWord(const char* what);

  cow_String name_, place_;
  int descriptor_ = -1;
  bool isText_ = true;
  std::size_t size_ = 0;
  std::unique_ptr<char[]> buffer_;
  std::size_t base_ = 0, at_ = 0,
              end_ = 0; ///< position of the buffer in the file; the part of it not read yet
  std::size_t line_ = 1;
};
