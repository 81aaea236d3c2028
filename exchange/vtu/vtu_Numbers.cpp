#include "vtu_Numbers.h"

#include <BasicUtils/thr_ThreadSingleton.h>
#include <BasicUtils/wip_WIP.h>
#include <algorithm>
#include <bit>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <limits>

namespace {
struct TypeRow {
  std::string_view name;
  std::size_t size;
};
constexpr TypeRow kTypes[] = {{"Int8", 1},   {"UInt8", 1}, {"Int16", 2},  {"UInt16", 2},  {"Int32", 4},
                              {"UInt32", 4}, {"Int64", 8}, {"UInt64", 8}, {"Float32", 4}, {"Float64", 8}};
constexpr std::size_t kTextBuffer = std::size_t{1} << 17, kLongestWord = 512;

template<class Source> Source Swapped(Source value) {
  if constexpr (sizeof value == 2)
    return std::bit_cast<Source>(__builtin_bswap16(std::bit_cast<std::uint16_t>(value)));
  if constexpr (sizeof value == 4)
    return std::bit_cast<Source>(__builtin_bswap32(std::bit_cast<std::uint32_t>(value)));
  if constexpr (sizeof value == 8)
    return std::bit_cast<Source>(__builtin_bswap64(std::bit_cast<std::uint64_t>(value)));
  return value;
}

template<class Source, class T>
void ConvertFrom(const unsigned char* from, std::size_t count, bool isSwapped, T* to) {
  for (std::size_t i = 0; i < count; ++i) {
    Source value;
    std::memcpy(&value, from + i * sizeof value, sizeof value);
    // NOLINTNEXTLINE(bugprone-signed-char-misuse): they are numbers of 8 bits
    to[i] = static_cast<T>(isSwapped ? Swapped(value) : value);
  }
}

template<class T>
void Convert(vtu_Type type, const unsigned char* from, std::size_t count, bool isSwapped, T* to) {
  switch (type) {
  case vtu_Type::Int8: return ConvertFrom<std::int8_t>(from, count, isSwapped, to);
  case vtu_Type::UInt8: return ConvertFrom<std::uint8_t>(from, count, isSwapped, to);
  case vtu_Type::Int16: return ConvertFrom<std::int16_t>(from, count, isSwapped, to);
  case vtu_Type::UInt16: return ConvertFrom<std::uint16_t>(from, count, isSwapped, to);
  case vtu_Type::Int32: return ConvertFrom<std::int32_t>(from, count, isSwapped, to);
  case vtu_Type::UInt32: return ConvertFrom<std::uint32_t>(from, count, isSwapped, to);
  case vtu_Type::Int64: return ConvertFrom<std::int64_t>(from, count, isSwapped, to);
  case vtu_Type::UInt64: return ConvertFrom<std::uint64_t>(from, count, isSwapped, to);
  case vtu_Type::Float32:
  case vtu_Type::Float64:
    if constexpr (std::is_floating_point_v<T>) {
      if (type == vtu_Type::Float32) return ConvertFrom<float>(from, count, isSwapped, to);
      return ConvertFrom<double>(from, count, isSwapped, to);
    }
  }
}
} // namespace

std::string_view vtu_NameOf(vtu_Type type) { return kTypes[static_cast<std::size_t>(type)].name; }
std::size_t vtu_SizeOf(vtu_Type type) { return kTypes[static_cast<std::size_t>(type)].size; }
std::optional<vtu_Type> vtu_FindType(std::string_view name) {
  const auto* at = std::ranges::find(kTypes, name, &TypeRow::name);
  if (at == std::end(kTypes)) return std::nullopt;
  return static_cast<vtu_Type>(at - kTypes);
}

template<class T>
vtu_Numbers<T>::vtu_Numbers(const cow_String& file, const vtu_Array& array)
    : file_(file), array_(array), bytes_(file, array) {
  if (std::is_integral_v<T> && !vtu_IsInteger(array.type))
    throw nex_TextException(file_ + ": " + array_.place + ", array \"" + array_.name + "\" is of "
                            + cow_String(vtu_NameOf(array.type)) + ", not of integers");
  count_ = IsText() ? static_cast<std::uint64_t>(array.end - array.begin + 1) / 2
                    : bytes_.Left() / vtu_SizeOf(array.type);
  if (!IsText() && bytes_.Left() % vtu_SizeOf(array.type) != 0)
    throw nex_TextException(file_ + ": " + array_.place + ", array \"" + array_.name
                            + "\": " + std::to_string(bytes_.Left()) + " bytes are no whole numbers of "
                            + cow_String(vtu_NameOf(array.type)));
}

template<class T> void vtu_Numbers<T>::Fail(std::size_t back, const cow_String& why) const {
  throw nex_TextException(file_ + ": " + array_.place + ", array \"" + array_.name + "\", number "
                          + std::to_string(before_ + next_ - back + 1) + ": " + why);
}

template<class T> void vtu_Numbers<T>::Fill(std::size_t count) {
  thr_ThreadSingleton<wip_WIP>::Instance().CheckCancelled();
  if (values_.empty()) values_.resize(static_cast<std::size_t>(std::min<std::uint64_t>(kMost, count_)));
  std::copy(values_.begin() + static_cast<std::ptrdiff_t>(next_),
            values_.begin() + static_cast<std::ptrdiff_t>(end_), values_.begin());
  before_ += next_;
  end_ -= next_;
  next_ = 0;
  if (IsText())
    ReadText(count);
  else
    ReadBinary(count);
  if (end_ >= count) return;
  throw nex_TextException(file_ + ": " + array_.place + ", array \"" + array_.name + "\" ends after "
                          + std::to_string(before_ + end_) + " numbers, and more are needed");
}

template<class T> void vtu_Numbers<T>::ReadBinary(std::size_t) {
  const std::size_t size = vtu_SizeOf(array_.type);
  const auto count =
      static_cast<std::size_t>(std::min<std::uint64_t>(values_.size() - end_, bytes_.Left() / size));
  T* const to = values_.data() + end_;
  end_ += count;
  const bool isSame = size == sizeof(T) && std::is_integral_v<T> == vtu_IsInteger(array_.type);
  if (isSame && !array_.coding.isSwapped) {
    bytes_.Read(reinterpret_cast<unsigned char*>(to), count * size);
    return;
  }
  raw_.resize(std::max(raw_.size(), count * size));
  bytes_.Read(raw_.data(), count * size);
  Convert(array_.type, raw_.data(), count, array_.coding.isSwapped, to);
}

/// Keeps what is not parsed. False when nothing more comes.
template<class T> bool vtu_Numbers<T>::RefillText() {
  if (isTextAtEnd_) return false;
  if (text_.empty()) text_.resize(kTextBuffer);
  std::copy(text_.begin() + static_cast<std::ptrdiff_t>(textNext_),
            text_.begin() + static_cast<std::ptrdiff_t>(textEnd_), text_.begin());
  textEnd_ -= textNext_;
  textNext_ = 0;
  const std::size_t read = bytes_.ReadText(text_.data() + textEnd_, text_.size() - textEnd_);
  textEnd_ += read;
  isTextAtEnd_ = read == 0;
  return !isTextAtEnd_;
}

template<class T> void vtu_Numbers<T>::ReadText(std::size_t) {
  while (end_ < values_.size()) {
    // a word is parsed when its end is known
    const bool isNearEnd = textEnd_ - textNext_ < kLongestWord;
    if (isNearEnd) RefillText();
    while (textNext_ < textEnd_ && vtu_IsSpace(text_[textNext_])) ++textNext_;
    if (textNext_ == textEnd_) {
      if (RefillText()) continue;
      return;
    }
    if (textEnd_ - textNext_ < kLongestWord && !isTextAtEnd_ && RefillText()) continue;
    const char* const stop = text_.data() + textEnd_;
    const char* word = text_.data() + textNext_;
    if (*word == '+') ++word;
    T value{};
    auto [at, error] = std::from_chars(word, stop, value);
    if constexpr (std::is_floating_point_v<T>)
      if (error == std::errc::result_out_of_range) { // tiny ones are rounded
        value = static_cast<T>(std::strtod(cow_String(word, at).c_str(), nullptr));
        error = {};
      }
    if (error != std::errc() || (at != stop && !vtu_IsSpace(*at))) {
      const char* end = std::find_if(word, std::min(stop, word + 40), [](char c) { return vtu_IsSpace(c); });
      next_ = end_;
      Fail(0, "\"" + cow_String(word, end) + "\" is not "
                  + (vtu_IsInteger(array_.type) ? "an integer" : "a number"));
    }
    values_[end_++] = value;
    textNext_ = static_cast<std::size_t>(at - text_.data());
  }
}

template<class T> void vtu_Numbers<T>::Skip(std::uint64_t count) {
  for (; count > 0; count -= std::min<std::uint64_t>(count, kMost))
    Take(static_cast<std::size_t>(std::min<std::uint64_t>(count, kMost)));
}

template<class T> void vtu_Numbers<T>::End() {
  if (next_ == end_ && IsText()) {
    if (values_.empty()) values_.resize(1);
    before_ += next_;
    next_ = end_ = 0;
    ReadText(1);
  }
  if (next_ < end_ || bytes_.Left() > 0)
    throw nex_TextException(file_ + ": " + array_.place + ", array \"" + array_.name + "\" has more than the "
                            + std::to_string(before_ + next_) + " numbers that are needed");
}

template class vtu_Numbers<std::int64_t>;
template class vtu_Numbers<float>;
template class vtu_Numbers<double>;
