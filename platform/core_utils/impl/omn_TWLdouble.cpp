#include <CoreUtils/omn_TWLdouble.h>

#include <charconv>
#include <string_view>

aio_ostream& operator<<(aio_ostream& out, const omn_TWLdouble& number) {
  char text[64];
  const auto end =
      std::to_chars(text, text + sizeof text, number.value_, std::chars_format::general, number.digits_).ptr;
  const std::string_view digits(text, static_cast<std::size_t>(end - text));
  for (auto n = static_cast<int>(digits.size()); n < number.width_; ++n) out.put(' ');
  return out.write(digits.data(), static_cast<std::streamsize>(digits.size()));
}
