#include "cli_Command.h"

#include <CLI/CLI.hpp>
#include <array>
#include <optional>

namespace {
/// Newer releases of the parser refuse an argument that is named like an option, "name" beside "--name"; here all do.
CLI::Option* Distinct(const CLI::App& app, CLI::Option* added) {
  for (const CLI::Option* other : app.get_options()) {
    if (other->get_positional() == added->get_positional()) continue;
    const CLI::Option &argument = added->get_positional() ? *added : *other,
                      &named = added->get_positional() ? *other : *added;
    if (named.check_lname(argument.get_name()))
      throw std::logic_error(app.get_name() + ": the argument " + argument.get_name()
                             + " is named like an option");
  }
  return added;
}
} // namespace

cli_Option& cli_Option::Required(bool isRequired) {
  option_->required(isRequired);
  return *this;
}

cli_Option& cli_Option::OneOf(const std::vector<std::string>& words) {
  option_->check(CLI::IsMember(words));
  return *this;
}

cli_Option& cli_Option::NonNegative() {
  option_->check(CLI::NonNegativeNumber);
  return *this;
}

cli_Option& cli_Option::Between(int least, int most) {
  option_->check(CLI::Range(least, most));
  return *this;
}

cli_Option& cli_Option::Between(double least, double most) {
  option_->check(CLI::Range(least, most));
  return *this;
}

cli_Option& cli_Option::Needs(cli_Option other) {
  option_->needs(other.option_);
  return *this;
}

cli_Option& cli_Option::Excludes(cli_Option other) {
  option_->excludes(other.option_);
  return *this;
}

cli_Option& cli_Option::Group(const std::string& title) {
  option_->group(title);
  return *this;
}

cli_Option& cli_Option::TypeName(const std::string& text) {
  option_->type_name(text);
  return *this;
}

cli_Option& cli_Option::Delimiter(char between) {
  option_->delimiter(between);
  return *this;
}

cli_Option& cli_Option::Words(int least, int most) {
  option_->expected(least, most);
  return *this;
}

cli_Option& cli_Option::Repeatable() {
  option_->expected(1)->allow_extra_args(false)->take_all();
  return *this;
}

cli_Option& cli_Option::ShowDefault() {
  option_->capture_default_str();
  return *this;
}

cli_Command cli_Command::AddCommand(const std::string& name, const std::string& help) {
  return cli_Command(*app_->add_subcommand(name, help));
}

void cli_Command::Remove(const std::string& name) { app_->remove_subcommand(app_->get_subcommand(name)); }

template<class T>
cli_Option cli_Command::AddOption(const std::string& name, T& value, const std::string& help) {
  return cli_Option(Distinct(*app_, app_->add_option(name, value, help)));
}

cli_Option cli_Command::AddFlag(const std::string& name, bool& value, const std::string& help) {
  return cli_Option(Distinct(*app_, app_->add_flag(name, value, help)));
}

cli_Option cli_Command::AddReader(const std::string& name,
                                  const std::function<void(const std::string&)>& read,
                                  const std::string& help) {
  return cli_Option(Distinct(*app_, app_->add_option_function<std::string>(name, read, help)));
}

cli_Option cli_Command::Option(const std::string& name) const { return cli_Option(app_->get_option(name)); }

void cli_Command::Footer(const std::string& text) { app_->footer(text); }

void cli_Command::OnRun(std::function<void()> run) { app_->callback(std::move(run)); }

// the kinds of variables that options set
template cli_Option cli_Command::AddOption(const std::string&, int&, const std::string&);
template cli_Option cli_Command::AddOption(const std::string&, double&, const std::string&);
template cli_Option cli_Command::AddOption(const std::string&, std::string&, const std::string&);
template cli_Option cli_Command::AddOption(const std::string&, std::optional<int>&, const std::string&);
template cli_Option cli_Command::AddOption(const std::string&, std::optional<double>&, const std::string&);
template cli_Option cli_Command::AddOption(const std::string&, std::optional<std::string>&,
                                           const std::string&);
template cli_Option cli_Command::AddOption(const std::string&, std::vector<int>&, const std::string&);
template cli_Option cli_Command::AddOption(const std::string&, std::vector<double>&, const std::string&);
template cli_Option cli_Command::AddOption(const std::string&, std::vector<std::string>&, const std::string&);
