// cli_ValueTable.h: values with their places, as lines, JSON, CSV or an array file of NumPy
#pragma once

#include "cli_Output.h"
#include "cli_Values.h"

#include <fstream>
#include <functional>
#include <optional>
#include <span>

inline const cli_FileFormat cli_kTableFormats[] = {{"csv", {".csv"}}, {"json", {".json"}}, {"npy", {".npy"}}};

/// One row of a table: words and numbers before the values.
struct cli_Column {
  cow_String name;
  cli_Json value;
};

/// A table that is written row by row, so that it may be larger than memory.
///
/// In a .npy file (format 1.0 of NumPy) the values are an array of doubles, rows by columns; what stands before them
/// goes to a .json file beside it.
class cli_ValueTable {
public:
  /// To the screen as lines, or as JSON; of a file by its format.
  cli_ValueTable(const cli_OutputArguments& output, const std::vector<cow_String>& inputs, bool isJson,
                 const cli_Json& head, std::vector<cow_String> valueNames, long long numRows);
  /// `text` says for lines what stands before the values.
  void Row(std::span<const cli_Column> before, const cow_String& text, std::span<const double> values);
  void End(const cli_Json& tail = cli_Json::object());

private:
  enum class Kind { Lines, Screen, Csv, Json, Npy };
  void BeginNpy(long long numRows);
  void WriteCsv(std::span<const cli_Column> before, std::span<const double> values);

  Kind kind_;
  std::vector<cow_String> valueNames_;
  std::optional<uti_OutputFile> file_, labels_;
  std::ofstream out_, labelsOut_;
  std::optional<cli_JsonStream> screen_;
  bool isFirst_ = true;
};

/// Where a table goes, and how many rows are printed.
struct cli_TableTarget {
  const cli_OutputArguments* output;
  std::vector<cow_String> inputs;
  bool isJson;
  int limit; ///< on the screen; 0 for all
};
void cli_AddTableOptions(cli_Command command, cli_OutputArguments& output, int& limit);

/// A table of the values of sources, one after the other.
class cli_TableRows {
public:
  cli_TableRows(const cli_TableTarget& target, const odiC_Run& run, const cli_Json& choices,
                std::vector<cow_String> valueNames, long long numRows);
  using More = std::function<void(int row, std::vector<double>& values)>;
  /// Of a frame, or of none; `more` adds what comes behind the values of a row.
  void Add(odiC_Source& source, const odiC_When* when, const More& more = {});
  /// Says how many were not shown. Throws cli_Incomplete when there was no value at all.
  void End();

private:
  const odiC_Run& run_;
  bool isLines_;
  cli_ValueTable table_;
  long long numRows_, limit_, left_;
  cow_String what_;
};
