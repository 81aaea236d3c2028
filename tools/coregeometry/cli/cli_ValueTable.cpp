#include "cli_ValueTable.h"

#include "cli_Console.h"

#include <bit>
#include <charconv>
#include <cmath>
#include <cstring>

namespace {
/// Shortest digits that give back the same number.
std::string Full(double value) {
  char text[40];
  return {text, std::to_chars(text, text + sizeof text, value).ptr};
}

std::string CsvWord(const std::string& word) {
  if (word.find_first_of(",\"\n\r") == std::string::npos) return word;
  std::string quoted = "\"";
  for (const char c : word) quoted += c == '"' ? std::string("\"\"") : std::string(1, c);
  return quoted + '"';
}

cli_Json RowJson(std::span<const cli_Column> before) {
  cli_Json row = cli_Json::object();
  for (const cli_Column& column : before)
    if (!column.value.is_null()) row[column.name] = column.value;
  return row;
}

/// All but the closing brackets, so that rows can follow.
std::string Opened(const cli_Json& head) {
  std::string text = head.dump();
  text.pop_back();
  return text + (head.empty() ? "" : ",") + "\"rows\":[";
}
} // namespace

cli_ValueTable::cli_ValueTable(const cli_OutputArguments& output, const std::vector<cow_String>& inputs,
                               bool isJson, const cli_Json& head, std::vector<cow_String> valueNames,
                               long long numRows)
    : kind_(isJson ? Kind::Screen : Kind::Lines), valueNames_(std::move(valueNames)) {
  if (output.file.empty()) {
    if (kind_ == Kind::Screen) {
      screen_.emplace(head);
      screen_->BeginList("rows");
    }
    return;
  }
  constexpr Kind kKinds[] = {Kind::Csv, Kind::Json, Kind::Npy};
  kind_ = kKinds[cli_ChooseFormat(output, cli_kTableFormats)];
  const auto open = [&](std::optional<uti_OutputFile>& file, const std::string& name, bool isStream) {
    try {
      file.emplace(name, uti_OutputRules{.force = output.force, .inputs = inputs, .isStream = isStream});
    } catch (const uti_FileExistsException& error) {
      throw nex_TextException(error.Message() + "; name another file, or replace it with --force");
    }
  };
  open(file_, output.file, kind_ != Kind::Npy);
  out_.open(file_->Path(), std::ios::binary);
  if (kind_ == Kind::Json) out_ << Opened(head);
  if (kind_ != Kind::Npy) return;
  open(labels_, output.file + ".json", false);
  labelsOut_.open(labels_->Path(), std::ios::binary);
  labelsOut_ << Opened(head);
  BeginNpy(numRows);
}

void cli_ValueTable::BeginNpy(long long numRows) {
  static_assert(std::endian::native == std::endian::little);
  std::string head = "{'descr': '<f8', 'fortran_order': False, 'shape': (" + std::to_string(numRows) + ", "
                     + std::to_string(valueNames_.size()) + "), }";
  constexpr std::size_t kHead = 128, kMagic = 10;
  head.resize(kHead - kMagic - 1, ' ');
  head += '\n';
  out_.write("\x93NUMPY\x01\x00", 8);
  const char length[2] = {static_cast<char>(head.size() & 0xff), static_cast<char>(head.size() >> 8)};
  out_.write(length, 2);
  out_ << head;
}

void cli_ValueTable::WriteCsv(std::span<const cli_Column> before, std::span<const double> values) {
  const auto line = [&](const auto& word, const auto& number) {
    const char* comma = "";
    for (const cli_Column& column : before) {
      out_ << comma << CsvWord(word(column));
      comma = ",";
    }
    for (std::size_t i = 0; i < values.size(); ++i) {
      out_ << comma << number(i);
      comma = ",";
    }
    out_ << "\r\n";
  };
  if (isFirst_)
    line([](const cli_Column& column) { return std::string(column.name); },
         [&](std::size_t i) { return CsvWord(valueNames_[i].empty() ? "value" : valueNames_[i]); });
  line(
      [](const cli_Column& column) {
        return column.value.is_string() ? column.value.get<std::string>()
               : column.value.is_null() ? std::string()
                                        : column.value.dump();
      },
      [&](std::size_t i) { return Full(values[i]); });
}

void cli_ValueTable::Row(std::span<const cli_Column> before, const cow_String& text,
                         std::span<const double> values) {
  const auto json = [&](bool hasValues) {
    cli_Json row = RowJson(before);
    if (!hasValues) return row;
    row["values"] = cli_Json::array();
    for (const double value : values) row["values"].push_back(cli_Finite(value));
    return row;
  };
  switch (kind_) {
  case Kind::Lines:
    cli_Out() << text << ':';
    for (const double value : values) cli_Out() << ' ' << cli_ShortNumber(value);
    cli_Out() << '\n';
    break;
  case Kind::Screen: screen_->Add(json(true)); break;
  case Kind::Csv: WriteCsv(before, values); break;
  case Kind::Json: out_ << (isFirst_ ? "\n" : ",\n") << json(true).dump(); break;
  case Kind::Npy:
    out_.write(reinterpret_cast<const char*>(values.data()),
               static_cast<std::streamsize>(values.size() * sizeof(double)));
    labelsOut_ << (isFirst_ ? "\n" : ",\n") << json(false).dump();
    break;
  }
  isFirst_ = false;
}

void cli_ValueTable::End(const cli_Json& tail) {
  if (screen_) {
    screen_->EndList();
    return screen_->End(tail);
  }
  if (!file_) return;
  if (kind_ == Kind::Json) out_ << "\n]}\n";
  out_.close();
  if (!out_) throw nex_TextException(file_->Name() + ": cannot be written");
  if (labels_) {
    labelsOut_ << "\n]}\n";
    labelsOut_.close();
    if (!labelsOut_) throw nex_TextException(labels_->Name() + ": cannot be written");
    labels_->Commit();
  }
  file_->Commit();
}

void cli_AddTableOptions(cli_Command command, cli_OutputArguments& output, int& limit) {
  command.AddOption("--limit", limit, "Values printed, 0 for all").NonNegative().ShowDefault();
  cli_AddOutputOptions(command, output, cli_kTableFormats, "File for all values: .csv, .json or .npy");
  command.Option("--output").Required(false);
}

cli_TableRows::cli_TableRows(const cli_TableTarget& target, const odiC_Run& run, const cli_Json& choices,
                             std::vector<cow_String> valueNames, long long numRows)
    : run_(run), isLines_(!target.isJson && target.output->file.empty()),
      table_(*target.output, target.inputs, target.isJson, {{"choices", choices}}, std::move(valueNames),
             numRows),
      numRows_(numRows), limit_(target.output->file.empty() && target.limit > 0 ? target.limit : numRows),
      left_(limit_),
      what_(choices["variable"].get<std::string>() + " of " + choices["run"].get<std::string>()) {
  if (isLines_) cli_PrintChoices(choices);
}

void cli_TableRows::Add(odiC_Source& source, const odiC_When* when, const More& more) {
  const cli_Json frame = when ? cli_WhenJson(run_, *when) : cli_Json::object();
  const cow_String whenText = when ? ", " + cli_WhenText(run_, *when) : cow_String();
  const auto width = static_cast<std::ptrdiff_t>(source.NumComponents());
  std::vector<double> values;
  odiC_ForEachRange(source, [&](const odiC_Range& range) {
    for (const odiC_RowRun& rows : range.rows)
      for (int row = rows.first; row < rows.End() && left_ > 0; ++row, --left_) {
        const odiC_PlaceLabel place = odiC_LabelOf(run_, source, row);
        const cli_Json words = cli_PlaceJson(place);
        std::vector<cli_Column> before;
        const auto add = [&](const cli_Json& from, const char* key, const char* name) {
          before.push_back({name, from.contains(key) ? from[key] : cli_Json()});
        };
        if (when) {
          add(frame, "step", "step");
          add(frame, "frame", "frame");
          add(frame, "value", "frameValue");
        }
        for (const char* key : {"position", "label", "point", "sectionPoint", "set"}) add(words, key, key);
        const auto first = range.values.begin() + (row - range.firstRow) * width;
        values.assign(first, first + width);
        if (more) more(row, values);
        table_.Row(before, isLines_ ? place.Text() + whenText : cow_String(), values);
      }
  });
}

void cli_TableRows::End() {
  const long long shown = std::min(numRows_, limit_);
  table_.End({{"total", numRows_}, {"shown", shown}});
  if (shown < numRows_ && isLines_)
    cli_Out() << numRows_ - shown << " more values: use --limit 0, or -o FILE\n";
  if (numRows_ > 0) return;
  std::cerr << "no values: " << cli_Printable(what_) << '\n';
  throw cli_Incomplete();
}
