#include "cli_Parser.h"

#include "cli_Words.h"

#include <CoreUtils/atr_Near.h>

namespace {
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
      if (option->get_type_name() == cli_kTriple && option->check_name(word)) return true;
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
