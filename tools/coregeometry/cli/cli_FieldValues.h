// cli_FieldValues.h: values of a variable and what is computed of them, for `fields MODEL NAME`
#pragma once

#include "cli_Output.h"
#include "cli_Values.h"

#include <array>
#include <optional>

struct cli_FieldArguments {
  std::string file, mesh, variable;
  bool json = false;
  cli_ValueArguments values;
  bool max = false, min = false, absMax = false, mean = false, sum = false, integral = false, flux = false;
  std::optional<std::array<double, 3>> resultant;
  int histogram = 0;
  int limit = 100;
  cli_OutputArguments output;

  bool AreReduced() const noexcept {
    return max || min || absMax || mean || sum || integral || flux || resultant || histogram > 0;
  }
};

void cli_AddFieldOptions(cli_Command command, cli_FieldArguments& arguments);
/// Throws cli_Incomplete when there is no value.
void cli_PrintFieldValues(const cls_Database& model, const cli_FieldArguments& arguments);
