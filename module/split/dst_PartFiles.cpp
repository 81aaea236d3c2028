#include <CoreGeometry/dst_FileSource.h>

#include <algorithm>
#include <charconv>

namespace {
/// The number behind the last point, which goes with it; nothing when other characters are there.
std::optional<std::string_view> TakeNumber(std::string_view& name) {
  constexpr std::size_t kMostDigits = 9;
  const std::size_t point = name.rfind('.');
  if (point == std::string_view::npos) return std::nullopt;
  const std::string_view digits = name.substr(point + 1);
  name = name.substr(0, point);
  const bool isNumber = !digits.empty() && digits.size() <= kMostDigits
                        && std::ranges::all_of(digits, [](char c) { return c >= '0' && c <= '9'; });
  return isNumber ? std::optional(digits) : std::nullopt;
}

unsigned ValueOf(std::string_view digits) {
  unsigned value = 0;
  std::from_chars(digits.data(), digits.data() + digits.size(), value);
  return value;
}
} // namespace

cow_String dst_PartFiles::File(unsigned part) const {
  const std::string total = std::to_string(count), rank = std::to_string(part);
  return name + "." + total + "." + std::string(total.size() - rank.size(), '0') + rank;
}

std::optional<dst_PartFiles> dst_FindPartFiles(const cow_String& file) {
  std::string_view name = file;
  const auto rank = TakeNumber(name);
  const auto count = rank ? TakeNumber(name) : std::nullopt;
  if (!count || name.empty() || name.back() == '/') return std::nullopt;
  const dst_PartFiles files{cow_String(name), ValueOf(*count)};
  if (ValueOf(*rank) >= files.count || files.File(ValueOf(*rank)) != file) return std::nullopt;
  return files;
}
