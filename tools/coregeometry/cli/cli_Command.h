// cli_Command.h: a sub-command and its options, and what all sub-commands share
#pragma once

#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

namespace CLI {
class App;
class Option;
} // namespace CLI

/// Exit codes of the program.
enum cli_ExitCode : int {
  cli_OK = 0,
  cli_WRONG_INPUT = 1,
  cli_WRONG_USAGE = 2,
  cli_INTERRUPTED = 128 ///< and the number of the signal
};

/// The command line asks for something that makes no sense, whatever the files hold.
class cli_UsageError : public std::runtime_error {
public:
  using std::runtime_error::runtime_error;
};

/// The command has answered what it could and has said on stderr what was wrong.
struct cli_Incomplete {};

/// A positional word, option or flag of a command. Copies mean the same one.
class cli_Option {
public:
  explicit cli_Option(CLI::Option* option) : option_(option) {}
  cli_Option& Required(bool isRequired = true);
  cli_Option& OneOf(const std::vector<std::string>& words); ///< shown by the help and by completion
  cli_Option& NonNegative();
  cli_Option& Between(int least, int most);
  cli_Option& Between(double least, double most);
  cli_Option& Needs(cli_Option other);
  cli_Option& Excludes(cli_Option other);
  cli_Option& Group(const std::string& title);   ///< heading in the help
  cli_Option& TypeName(const std::string& text); ///< what the help calls its value
  cli_Option& Delimiter(char between);           ///< of the values in one word
  cli_Option& Words(int least, int most);        ///< words that it takes
  cli_Option& Repeatable();                      ///< one word each time it is given; all of them count
  cli_Option& ShowDefault();                     ///< the help tells the value the variable has now

private:
  CLI::Option* option_;
};

/// A sub-command, or the program itself, while its options are declared. The command line is parsed into the
/// variables that are named here. Only cli_Command.cpp and cli_Parser.cpp know the parser behind it, whose
/// headers take seconds to compile.
class cli_Command {
public:
  explicit cli_Command(CLI::App& app) : app_(&app) {}
  cli_Command AddCommand(const std::string& name, const std::string& help);
  void Remove(const std::string& name); ///< a command that was added
  /// A name without dashes is a positional word. T: bool is not among them, but numbers, texts, and optional
  /// and repeated ones of these (listed at the end of cli_Command.cpp).
  template<class T> cli_Option AddOption(const std::string& name, T& value, const std::string& help);
  cli_Option AddFlag(const std::string& name, bool& value, const std::string& help);
  /// An option whose word is handed to a function.
  cli_Option AddReader(const std::string& name, const std::function<void(const std::string&)>& read,
                       const std::string& help);
  cli_Option Option(const std::string& name) const; ///< one that has been added
  void Footer(const std::string& text);
  void OnRun(std::function<void()> run);

private:
  CLI::App* app_;
};
