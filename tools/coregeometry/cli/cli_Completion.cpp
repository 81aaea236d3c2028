#include "cli_Completion.h"

#include <sstream>
#include <vector>

namespace {
struct Option {
  std::vector<std::string> names; ///< with their dashes
  std::string help;
  std::vector<std::string> choices; ///< words that it takes, when they are few
  bool takesWord;
};

/// The words of "TEXT:{exodus,vtu}".
std::vector<std::string> Choices(const CLI::Option& option) {
  const std::string type = option.get_type_name();
  const std::size_t begin = type.find('{'), end = type.find('}');
  std::vector<std::string> words;
  if (begin == std::string::npos || end == std::string::npos) return words;
  std::istringstream list(type.substr(begin + 1, end - begin - 1));
  for (std::string word; std::getline(list, word, ',');) words.push_back(word);
  return words;
}

std::vector<Option> OptionsOf(const CLI::App& command) {
  std::vector<Option> options;
  for (const CLI::Option* one : command.get_options()) {
    Option option;
    for (const std::string& name : one->get_snames()) option.names.push_back("-" + name);
    for (const std::string& name : one->get_lnames()) option.names.push_back("--" + name);
    if (option.names.empty()) continue; // a positional
    option.help = one->get_description();
    for (char& c : option.help)
      if (c == '\n') c = ' ';
    option.choices = Choices(*one);
    option.takesWord = one->get_items_expected_max() > 0;
    options.push_back(std::move(option));
  }
  return options;
}

/// For a word between single quotes; zsh also wants its colons and brackets left alone.
std::string Quoted(const std::string& text, const char* special = "") {
  std::string quoted;
  for (const char c : text) {
    if (c == '\'')
      quoted += "'\\'";
    else if (std::string_view(special).find(c) != std::string_view::npos)
      quoted += '\\';
    quoted += c;
  }
  return quoted;
}

std::string Join(const std::vector<std::string>& words, const char* separator) {
  std::string joined;
  for (const std::string& word : words) joined += (joined.empty() ? "" : separator) + word;
  return joined;
}

std::vector<std::string> NamesOf(const std::vector<Option>& options) {
  std::vector<std::string> names;
  for (const Option& option : options) names.insert(names.end(), option.names.begin(), option.names.end());
  return names;
}

std::string Bash(const CLI::App& app) {
  std::vector<std::string> commands;
  std::string options, choices;
  for (const CLI::App* command : app.get_subcommands({})) {
    const std::vector<Option> own = OptionsOf(*command);
    commands.push_back(command->get_name());
    options += "    " + command->get_name() + ") words='" + Join(NamesOf(own), " ") + "';;\n";
    for (const Option& option : own)
      for (const std::string& name : option.names)
        if (!option.choices.empty())
          choices +=
              "    '" + command->get_name() + ' ' + name + "') words='" + Join(option.choices, " ") + "';;\n";
  }
  return R"(# completion of coregeometry for bash
_coregeometry() {
  local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]} command= words= i
  for ((i = 1; i < COMP_CWORD; ++i)); do
    if [[ ${COMP_WORDS[i]} != -* ]]; then
      command=${COMP_WORDS[i]}
      break
    fi
  done
  case "$command $before" in
)" + choices
         + R"(    *) ;;
  esac
  if [[ -z $words && -z $command && $word != -* ]]; then
    words=')"
         + Join(commands, " ") + R"('
  elif [[ -z $words && $word == -* ]]; then
    case $command in
)" + options
         + R"(    *) ;;
    esac
    words+=' )"
         + Join(NamesOf(OptionsOf(app)), " ") + R"('
  fi
  if [[ -n $words ]]; then
    mapfile -t COMPREPLY < <(compgen -W "$words" -- "$word")
  else
    mapfile -t COMPREPLY < <(compgen -f -- "$word")
  fi
}
complete -o filenames -F _coregeometry coregeometry
)";
}

std::string ZshOption(const Option& option) {
  const std::string names =
      option.names.size() == 1 ? "'" + option.names.front() : "{" + Join(option.names, ",") + "}'";
  std::string value;
  if (!option.choices.empty())
    value = ":word:(" + Join(option.choices, " ") + ")";
  else if (option.takesWord)
    value = ":word:_files";
  return "'*'" + names + '[' + Quoted(option.help, "[]:\\") + ']' + value + "'";
}

std::string Zsh(const CLI::App& app) {
  std::string commands, cases, general;
  for (const Option& option : OptionsOf(app)) general += " \\\n    " + ZshOption(option);
  for (const CLI::App* command : app.get_subcommands({})) {
    commands += "    '" + command->get_name() + ':' + Quoted(command->get_description(), ":") + "'\n";
    cases += "    " + command->get_name() + ")\n      _arguments";
    for (const Option& option : OptionsOf(*command)) cases += " \\\n        " + ZshOption(option);
    cases += " \\\n        '*:file:_files';;\n";
  }
  return "#compdef coregeometry\n# completion of coregeometry for zsh\n_coregeometry() {\n"
         "  local -a commands\n  local state line\n  commands=(\n"
         + commands + "  )\n  _arguments -C" + general
         + " \\\n    '1:command:->command' '*::argument:->argument'\n"
           "  if [[ $state == command ]]; then\n    _describe command commands\n    return\n  fi\n"
           "  case $line[1] in\n"
         + cases + "  esac\n}\n_coregeometry \"$@\"\n";
}

std::string FishOption(const Option& option) {
  std::string text;
  for (const std::string& name : option.names)
    text += name.starts_with("--") ? " -l " + name.substr(2) : " -s " + name.substr(1);
  if (!option.choices.empty())
    text += " -x -a '" + Join(option.choices, " ") + "'";
  else if (option.takesWord)
    text += " -r";
  return text + " -d '" + Quoted(option.help) + "'\n";
}

std::string Fish(const CLI::App& app) {
  std::string text = "# completion of coregeometry for fish\n";
  for (const Option& option : OptionsOf(app)) text += "complete -c coregeometry" + FishOption(option);
  for (const CLI::App* command : app.get_subcommands({})) {
    text += "complete -c coregeometry -n __fish_use_subcommand -f -a " + command->get_name() + " -d '"
            + Quoted(command->get_description()) + "'\n";
    for (const Option& option : OptionsOf(*command))
      text += "complete -c coregeometry -n '__fish_seen_subcommand_from " + command->get_name() + "'"
              + FishOption(option);
  }
  return text;
}
} // namespace

std::string cli_CompletionScript(const CLI::App& app, const std::string& shell) {
  return shell == "bash" ? Bash(app) : shell == "zsh" ? Zsh(app) : Fish(app);
}
