#include "cli_Points.h"

#include "cli_Console.h"
#include "cli_Words.h"

#include <cmath>
#include <fstream>
#include <iomanip>
#include <iostream>
#include <sstream>

namespace {
/// Points of a text file: three numbers a line, separated by blanks or commas; the rest of a line after # and
/// empty lines are skipped. Throws nex_TextException naming file and line.
std::vector<double> ReadPoints(const std::string& file) {
  std::ifstream opened;
  if (file != "-") opened.open(file);
  std::istream& in = file == "-" ? std::cin : opened;
  if (!in) throw nex_TextException(file + ": cannot be read");
  std::vector<double> points;
  std::string line;
  for (int number = 1; std::getline(in, line); ++number) {
    const std::string_view text = std::string_view(line).substr(0, line.find('#'));
    constexpr const char* kBlanks = " \t\r,;";
    std::size_t count = 0;
    for (std::size_t at = text.find_first_not_of(kBlanks); at < text.size();
         at = text.find_first_not_of(kBlanks, at)) {
      const std::size_t end = std::min(text.find_first_of(kBlanks, at), text.size());
      const auto value = cli_NumberOf(text.substr(at, end - at));
      if (!value)
        throw nex_TextException(file + ", line " + std::to_string(number) + ": \""
                                + std::string(text.substr(at, end - at)) + "\" is no coordinate");
      points.push_back(*value);
      ++count;
      at = end;
    }
    if (count != 0 && count != 3)
      throw nex_TextException(file + ", line " + std::to_string(number) + ": has " + std::to_string(count)
                              + " numbers, a point has 3");
  }
  return points;
}

const char* Verdict(shp_Location location) {
  switch (location) {
  case shp_Location::Inside: return "inside";
  case shp_Location::OnBoundary: return "on boundary";
  case shp_Location::Degenerate: return "degenerate element";
  default: return "outside";
  }
}

cli_Json AnswerJson(const cli_PointAnswer& answer) {
  cli_Json json = {{"point", answer.point}, {"verdict", Verdict(answer.location)}};
  json["elements"] = cli_Json::array();
  for (const cli_ElementAt& owner : answer.owners) {
    cli_Json holder = owner.element;
    holder["verdict"] = Verdict(owner.location);
    if (owner.location != shp_Location::Degenerate) holder["iso"] = owner.iso;
    json["elements"].push_back(std::move(holder));
  }
  if (answer.location != shp_Location::Outside) return json;
  json["nearest"] = nullptr;
  if (answer.nearest) {
    json["nearest"] = answer.nearest->element;
    json["nearest"]["distance"] = answer.nearest->distance;
    json["nearest"]["iso"] = answer.nearest->iso;
  }
  return json;
}

cow_String Text(const cli_Json& point) {
  std::ostringstream text;
  text << std::setprecision(7);
  for (const cli_Json& value : point) {
    const double x = value.get<double>();
    text << (text.tellp() > 0 ? ", " : "(") << (std::abs(x) < 1e-12 ? 0.0 : x);
  }
  return text.str() + ")";
}

cow_String Name(const cli_Json& element) {
  return "element " + element["label"].dump() + ", class " + element["class"].dump() + ", "
         + element["type"].get<std::string>();
}

void Print(const cli_Json& answer) {
  cli_Out() << "point (" << answer["point"][0] << ", " << answer["point"][1] << ", " << answer["point"][2]
            << "): " << answer["verdict"].get<std::string>() << '\n';
  for (const cli_Json& element : answer["elements"]) {
    cli_Out() << "  " << Name(element);
    if (element.contains("iso")) cli_Out() << ", iso " << Text(element["iso"]);
    cli_Out() << '\n';
  }
  if (!answer.contains("nearest")) return;
  const cli_Json& nearest = answer["nearest"];
  if (nearest.is_null())
    cli_Out() << "  no element is near\n";
  else
    cli_Out() << "  nearest " << Name(nearest) << ", distance " << std::setprecision(7)
              << nearest["distance"].get<double>() << " at iso " << Text(nearest["iso"]) << '\n';
}

} // namespace

void cli_PointArguments::AddTo(cli_Command command) {
  command.AddOption("COORDINATES", coordinates_, "X,Y,Z of one point or several, or three words each")
      .TypeName("NUMBERS");
  command.AddOption(
      "--points", file_,
      "File of points, - for the standard input, three numbers a line; text after # is skipped");
}

std::vector<double> cli_PointArguments::Given() const {
  std::vector<double> points;
  for (const std::string& word : coordinates_) {
    for (std::size_t at = 0; at <= word.size();) {
      const std::size_t comma = std::min(word.find(',', at), word.size());
      const auto value = cli_NumberOf(std::string_view(word).substr(at, comma - at));
      if (!value) throw cli_UsageError('"' + word + "\" is no coordinate, and no X,Y,Z");
      points.push_back(*value);
      at = comma + 1;
    }
  }
  if (points.size() % 3 != 0)
    throw cli_UsageError("a point has 3 coordinates, " + std::to_string(points.size())
                         + " numbers are given");
  if (file_.empty()) ExpectSome(points);
  return points;
}

std::vector<double> cli_PointArguments::OfFile() const {
  return file_.empty() ? std::vector<double>() : ReadPoints(file_);
}

void cli_PointArguments::ExpectSome(std::span<const double> points) {
  if (points.empty()) throw cli_UsageError("give a point, X,Y,Z, or a file of points with --points");
}

std::vector<double> cli_PointArguments::Points() const {
  std::vector<double> points = Given();
  const std::vector<double> more = OfFile();
  points.insert(points.end(), more.begin(), more.end());
  ExpectSome(points);
  return points;
}

cli_PointReport::cli_PointReport(const std::string& file, const cow_String& mesh, long long notFinite,
                                 long long noShape, bool isJson)
    : notFinite_(notFinite), noShape_(noShape) {
  if (!isJson) return;
  json_.emplace(cli_Json{{"file", file}, {"mesh", mesh}, {"notFinite", notFinite}, {"noShape", noShape}});
  json_->BeginList("points");
}

void cli_PointReport::Add(const cli_PointAnswer& answer) {
  if (json_)
    json_->Add(AnswerJson(answer));
  else
    Print(AnswerJson(answer));
}

void cli_PointReport::End() {
  if (json_) {
    json_->EndList();
    return json_->End();
  }
  if (notFinite_ > 0)
    cli_Out() << "Left out: " << notFinite_ << " elements with nodes that have no finite coordinates\n";
  if (noShape_ > 0) cli_Out() << "Left out: " << noShape_ << " elements of types without a shape\n";
}
