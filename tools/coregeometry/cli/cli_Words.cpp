#include "cli_Words.h"

#include <BasicUtils/nex_Exception.h>
#include <CoreGeometry/bme_EntityList.h>
#include <charconv>
#include <cmath>

void cli_AddLabels(cli_Command command, const char* name, std::vector<std::string>& texts,
                   const std::string& help) {
  command.AddOption(name, texts, help + ", as 1,5,10:20:2; can be given again")
      .TypeName("LABELS")
      .Repeatable();
}

std::vector<int> cli_LabelsOf(const char* option, const std::vector<std::string>& texts) {
  std::vector<int> labels;
  for (const std::string& text : texts) {
    try {
      const std::vector<int> some = bme_LabelsOfText(text);
      labels.insert(labels.end(), some.begin(), some.end());
    } catch (const nex_TextException& error) {
      throw cli_UsageError(std::string(option) + ": " + error.Message());
    }
  }
  return labels;
}

cli_Option cli_AddNames(cli_Command command, const char* name, std::vector<std::string>& names,
                        const std::string& help) {
  return command.AddOption(name, names, help + ", between commas; can be given again")
      .TypeName("NAMES")
      .Delimiter(',')
      .Repeatable();
}

std::optional<std::array<double, 3>> cli_TripleOf(const std::string& text) {
  std::array<double, 3> values{};
  std::size_t count = 0, at = 0;
  for (bool isLast = false; !isLast; ++count) {
    const std::size_t comma = std::min(text.find(',', at), text.size());
    const auto value = cli_NumberOf(std::string_view(text).substr(at, comma - at));
    if (!value || count == 3) return std::nullopt;
    values[count] = *value;
    isLast = comma == text.size();
    at = comma + 1;
  }
  return count == 3 ? std::optional(values) : std::nullopt;
}

void cli_SetOffset(const std::string& text, std::optional<std::array<double, 3>>& offset, bool& isChosen) {
  isChosen = text == "auto";
  if (text.empty() || isChosen) return;
  offset = cli_TripleOf(text);
  if (!offset) throw cli_UsageError("--offset " + text + " is neither X,Y,Z nor auto");
}

cli_Option cli_AddTriple(cli_Command command, const char* name, std::optional<std::array<double, 3>>& triple,
                         const std::string& help) {
  const auto take = [name, &triple](const std::string& text) {
    triple = cli_TripleOf(text);
    if (!triple) throw cli_UsageError(std::string(name) + ' ' + text + ": give three numbers, X,Y,Z");
  };
  return command.AddReader(name, take, help).TypeName(cli_kTriple);
}

std::optional<double> cli_NumberOf(std::string_view text) {
  double value = 0;
  if (text.starts_with('+')) text.remove_prefix(1);
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (text.empty() || error != std::errc() || end != text.data() + text.size() || !std::isfinite(value))
    return std::nullopt;
  return value;
}

std::vector<std::string> cli_Split(const std::string& text, char separator) {
  std::vector<std::string> parts;
  std::size_t begin = 0;
  for (std::size_t end = 0; (end = text.find(separator, begin)) != std::string::npos; begin = end + 1)
    parts.push_back(text.substr(begin, end - begin));
  parts.push_back(text.substr(begin));
  return parts;
}

std::string cli_Lower(std::string text) {
  for (char& c : text)
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  return text;
}
