#include <CoreUtils/atr_String.h>

#include <charconv>
#include <cstdio>
#include <optional>

namespace {
/// One placeholder, parsed: "%" [position "$"] ["0"] [width] ["." precision] ["l" or "h"...] conversion.
struct Placeholder {
  std::size_t length = 0;
  std::optional<std::size_t> position;
  bool zeros = false;
  int width = 0;
  int precision = -1;
  char conversion = 0;
};

constexpr int kWidestField = 999;

std::optional<Placeholder> Parse(std::string_view text) {
  std::size_t at = 1;
  const auto number = [&] {
    int value = 0;
    while (at < text.size() && text[at] >= '0' && text[at] <= '9')
      value = std::min(value * 10 + (text[at++] - '0'), kWidestField);
    return value;
  };
  Placeholder result;
  const std::size_t start = at;
  if (const int first = number(); at < text.size() && text[at] == '$' && first > 0) {
    result.position = static_cast<std::size_t>(first) - 1;
    ++at;
  } else {
    at = start;
  }
  if (at < text.size() && text[at] == '0') {
    result.zeros = true;
    ++at;
  }
  result.width = number();
  if (at < text.size() && text[at] == '.') {
    ++at;
    result.precision = number();
  }
  while (at < text.size() && (text[at] == 'l' || text[at] == 'h')) ++at;
  if (at >= text.size() || std::string_view("sdiuxXfge").find(text[at]) == std::string_view::npos) return {};
  result.conversion = text[at];
  result.length = at + 1;
  return result;
}

std::string Digits(const Placeholder& place, const atr_Arg& argument) {
  if (const auto* text = std::get_if<std::string>(&argument))
    return place.precision >= 0 ? text->substr(0, static_cast<std::size_t>(place.precision)) : *text;
  char buffer[512];
  const bool real = std::string_view("fge").find(place.conversion) != std::string_view::npos;
  if (const auto* number = std::get_if<double>(&argument); number || real) {
    const double value = number ? *number : static_cast<double>(std::get<long long>(argument));
    const auto form = place.conversion == 'f'   ? std::chars_format::fixed
                      : place.conversion == 'e' ? std::chars_format::scientific
                                                : std::chars_format::general;
    const int precision = place.precision >= 0 ? std::min(place.precision, 100) : 6;
    return {buffer, std::to_chars(buffer, buffer + sizeof buffer, value, form, precision).ptr};
  }
  const long long value = std::get<long long>(argument);
  if (place.conversion == 'x' || place.conversion == 'X') {
    // 32-bit masks are the rule; a wider value keeps all its digits
    const auto bits = value < 0 && value >= -2147483648LL ? static_cast<unsigned>(value)
                                                          : static_cast<unsigned long long>(value);
    std::string hex(buffer, std::to_chars(buffer, buffer + sizeof buffer, bits, 16).ptr);
    return place.conversion == 'X' ? cow_ToUpper(hex) : hex;
  }
  return std::to_string(value);
}

std::string Fill(const Placeholder& place, const atr_Arg& argument) {
  std::string digits = Digits(place, argument);
  const auto width = static_cast<std::size_t>(place.width);
  if (digits.size() >= width) return digits;
  const bool zeros = place.zeros && !std::holds_alternative<std::string>(argument);
  const std::size_t sign = zeros && digits.starts_with('-') ? 1 : 0;
  return digits.insert(sign ? 1 : 0, width - digits.size(), zeros ? '0' : ' ');
}
} // namespace

atr_String atr_Format(std::string_view format, std::span<const atr_Arg> arguments) {
  atr_String result;
  std::size_t next = 0;
  for (std::size_t at = 0; at < format.size(); ++at) {
    if (format[at] != '%') {
      result += format[at];
    } else if (format.substr(at).starts_with("%%")) {
      result += '%';
      ++at;
    } else if (const auto place = Parse(format.substr(at))) {
      const std::size_t index = place->position ? *place->position : next++;
      // a placeholder without an argument stays visible
      if (index < arguments.size())
        result += Fill(*place, arguments[index]);
      else
        result += format.substr(at, place->length);
      at += place->length - 1;
    } else {
      result += '%';
    }
  }
  return result;
}

atr_String atr_Format(std::string_view format, std::initializer_list<atr_Arg> arguments) {
  return atr_Format(format, std::span(arguments.begin(), arguments.size()));
}
