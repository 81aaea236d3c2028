#include "cli_Words.h"

#include <BasicUtils/nex_Exception.h>
#include <CoreGeometry/bme_EntityList.h>
#include <CoreUtils/atr_Near.h>
#include <charconv>
#include <cmath>

namespace {
constexpr const char* kTriple = "X,Y,Z";

bool IsOption(std::string_view word) {
  return word.size() > 1 && word[0] == '-' && !cli_NumberOf(word.substr(0, word.find(',')));
}

std::vector<cow_String> CommandNames(const CLI::App& app) {
  std::vector<cow_String> names;
  for (const CLI::App* command : app.get_subcommands({})) names.push_back(command->get_name());
  return names;
}

std::vector<cow_String> OptionNames(const CLI::App& command) {
  std::vector<cow_String> names;
  for (const CLI::App* app = &command; app; app = app->get_parent())
    for (const CLI::Option* option : app->get_options())
      for (const std::string& name : option->get_lnames()) names.push_back("--" + name);
  return names;
}
} // namespace

void cli_AddLabels(CLI::App& command, const char* name, std::vector<std::string>& texts,
                   const std::string& help) {
  command.add_option(name, texts, help + ", as 1,5,10:20:2; can be given again")
      ->type_name("LABELS")
      ->expected(1)
      ->allow_extra_args(false)
      ->take_all();
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

CLI::Option* cli_AddNames(CLI::App& command, const char* name, std::vector<std::string>& names,
                          const std::string& help) {
  return command.add_option(name, names, help + ", between commas; can be given again")
      ->type_name("NAMES")
      ->delimiter(',')
      ->expected(1)
      ->allow_extra_args(false)
      ->take_all();
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

CLI::Option* cli_AddTriple(CLI::App& command, const char* name, std::optional<std::array<double, 3>>& triple,
                           const std::string& help) {
  const auto take = [name, &triple](const std::string& text) {
    triple = cli_TripleOf(text);
    if (!triple) throw cli_UsageError(std::string(name) + ' ' + text + ": give three numbers, X,Y,Z");
  };
  return command.add_option_function<std::string>(name, take, help)->type_name(kTriple);
}

std::optional<double> cli_NumberOf(std::string_view text) {
  double value = 0;
  if (text.starts_with('+')) text.remove_prefix(1);
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (text.empty() || error != std::errc() || end != text.data() + text.size() || !std::isfinite(value))
    return std::nullopt;
  return value;
}

const CLI::App& cli_CommandOf(const CLI::App& app, const std::vector<std::string>& words) {
  for (const std::string& word : words)
    for (const CLI::App* command : app.get_subcommands({}))
      if (command->get_name() == word) return *command;
  return app;
}

std::vector<std::string> cli_JoinTriples(CLI::App& app, std::span<const char* const> words) {
  const CLI::App& command = cli_CommandOf(app, {words.begin(), words.end()});
  const auto takesTriple = [&](const std::string& word) {
    for (const CLI::Option* option : command.get_options())
      if (option->get_type_name() == kTriple && option->check_name(word)) return true;
    return false;
  };
  std::vector<std::string> joined;
  for (std::size_t i = 0; i < words.size(); ++i) {
    std::string word = words[i];
    const auto isNumber = [&](std::size_t k) { return k < words.size() && cli_NumberOf(words[k]); };
    if (takesTriple(word) && isNumber(i + 1) && isNumber(i + 2) && isNumber(i + 3)) {
      joined.push_back(word);
      word = std::string(words[i + 1]) + ',' + words[i + 2] + ',' + words[i + 3];
      i += 3;
    }
    // the parser takes -.5 for an option
    if (word.starts_with("-.") && cli_NumberOf(word.substr(0, word.find(',')))) word.insert(1, "0");
    joined.push_back(std::move(word));
  }
  return joined;
}

void cli_CheckCommandName(const CLI::App& app, const std::vector<std::string>& words) {
  auto word = words.begin();
  for (; word != words.end() && IsOption(*word); ++word) {
    const CLI::Option* option = app.get_option_no_throw(*word);
    if (option && option->get_items_expected_max() > 0 && word + 1 != words.end()) ++word; // its value
  }
  if (word == words.end()) return;
  const std::vector<cow_String> names = CommandNames(app);
  if (std::ranges::find(names, *word) != names.end()) return;
  throw cli_UsageError(*word + ": no such command" + atr_Alternatives(*word, names));
}

std::string cli_Explain(const CLI::App& app, const CLI::ParseError& error) {
  std::string text = error.what();
  while (!text.empty() && text.back() == '\n') text.pop_back();
  if (error.get_exit_code() != static_cast<int>(CLI::ExitCodes::ExtrasError)) return text;
  const auto parsed = app.get_subcommands();
  for (const std::string& word : app.remaining(/*recurse=*/true)) {
    if (!IsOption(word)) continue;
    const std::vector<cow_String> near =
        atr_NearNames(word.substr(0, word.find('=')), OptionNames(parsed.empty() ? app : *parsed.front()));
    if (!near.empty()) text += "; did you mean " + near.front() + '?';
  }
  return text;
}
