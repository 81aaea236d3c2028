// coregeometry locate: the elements that hold points
#include "cli_Commands.h"
#include "cli_Console.h"
#include "cli_Model.h"
#include "cli_Words.h"

#include <CoreGeometry/bme_ElementLocator.h>
#include <CoreGeometry/bme_Messages.h>
#include <CoreGeometry/bme_StoredMesh.h>
#include <CoreGeometry/shp_Shape.h>
#include <fstream>
#include <functional>
#include <iomanip>
#include <iostream>
#include <optional>
#include <sstream>

namespace {
struct Arguments {
  std::string file, name, pointFile;
  std::vector<std::string> coordinates;
  std::optional<int> element; ///< label of the only one that is asked
  bool json = false;
};

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

/// One element of a mesh as a mesh of its own, and where it stands in the whole.
struct Alone {
  unsigned index = 0, classIndex = 0;
};

class Answers {
public:
  explicit Answers(const bme_Mesh& mesh, const std::optional<Alone>& alone = {})
      : elements_(mesh.ElementData()), placement_(mesh), locator_(mesh), alone_(alone) {}

  /// Calls take(answer) for each point.
  void ForEach(std::span<const double> points, const std::function<void(const cli_Json&)>& take) const {
    std::vector<bme_ElementHit> hits(points.size() / 3);
    std::vector<double> local(points.begin(), points.end());
    if (!placement_.IsNone()) placement_.ToLocal().Transform(local);
    locator_.FindEach(local, hits);
    for (std::size_t k = 0; k < hits.size(); ++k) {
      const auto at = [k](std::span<const double> all) {
        return bme_ElementLocator::Point{all[3 * k], all[3 * k + 1], all[3 * k + 2]};
      };
      take(Answer(at(points), at(local), hits[k]));
    }
  }

private:
  cli_Json Answer(const bme_ElementLocator::Point& placed, const bme_ElementLocator::Point& point,
                  const bme_ElementHit& first) const {
    std::vector<bme_ElementHit> owners;
    if (first.location == shp_Location::OnBoundary)
      locator_.FindAll(point, owners);
    else if (first.element != bme_kNotFound)
      owners.push_back(first);
    cli_Json answer = {{"point", placed}, {"verdict", Verdict(first.location)}};
    answer["elements"] = cli_Json::array();
    for (const bme_ElementHit& hit : owners) {
      cli_Json holder = Element(hit.element);
      holder["verdict"] = Verdict(hit.location);
      if (hit.location != shp_Location::Degenerate) holder["iso"] = hit.iso;
      answer["elements"].push_back(std::move(holder));
    }
    if (first.location == shp_Location::Outside) {
      const bme_NearestElement nearest = locator_.FindNearest(point);
      answer["nearest"] = nullptr;
      if (nearest.element != bme_kNotFound) {
        answer["nearest"] = Element(nearest.element);
        answer["nearest"]["distance"] = nearest.distance;
        answer["nearest"]["iso"] = nearest.iso;
      }
    }
    return answer;
  }

  cli_Json Element(unsigned element) const {
    unsigned classIndex = 0, inClass = 0;
    elements_.GetClassAndElemIndex(element, classIndex, inClass);
    const bme_ElementClass& type = elements_.GetClass(classIndex);
    const long long label =
        elements_.HasUserElementLabels() ? type.UserElementLabels()[inClass] : element + 1LL;
    return {{"label", label},
            {"index", alone_ ? alone_->index : element},
            {"class", alone_ ? alone_->classIndex : classIndex},
            {"type", type.ElemTypeLabel()}};
  }

  const bme_ElementData& elements_;
  bme_Placement placement_;
  bme_ElementLocator locator_;
  std::optional<Alone> alone_;
};

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

/// Of the words of the command line, "X Y Z" or "X,Y,Z" again and again, and of the file.
std::vector<double> PointsOf(const Arguments& arguments) {
  std::vector<double> points;
  for (const std::string& word : arguments.coordinates) {
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
  if (!arguments.pointFile.empty()) {
    const std::vector<double> more = ReadPoints(arguments.pointFile);
    points.insert(points.end(), more.begin(), more.end());
  }
  if (points.empty()) throw cli_UsageError("give a point, X,Y,Z, or a file of points with --points");
  return points;
}

/// The only element that is asked: nothing else of the mesh is read.
bme_Mesh ReadAlone(const cls_Database& model, const cow_String& root, int label, Alone& alone) {
  const bme_StoredMesh mesh(model, root);
  alone.index = mesh.FindElements(std::span(&label, 1))[0];
  if (alone.index == bme_kNotFound)
    throw nex_TextException(model.File() + ", " + root + ", element " + std::to_string(label) + ": "
                            + bme_MessageText(bme_INVALID_ELEMENT_LABEL));
  alone.classIndex = static_cast<unsigned>(&mesh.ClassOf(alone.index) - mesh.Classes().data());
  return mesh.ElementAlone(alone.index);
}

void Run(const Arguments& arguments) {
  const std::vector<double> points = PointsOf(arguments);
  cli_Console console;
  console.Begin("reading " + arguments.file);
  const cls_Database model = cli_OpenModel(arguments.file);
  const cow_String root = cli_ChooseMesh(model, arguments.name);
  std::optional<Alone> alone;
  cow_CountedHld<bme_Mesh> mesh;
  if (arguments.element)
    mesh = cow_CountedHld(new bme_Mesh(ReadAlone(model, root, *arguments.element, alone.emplace())));
  else
    mesh = model.Get<bme_Mesh>(root);
  console.Begin("making a locator");
  const Answers answers(*mesh, alone);
  console.End();

  const long long notFinite = cli_NumNotFinite(*mesh), withoutShape = cli_NumWithoutShape(*mesh);
  if (arguments.json) {
    cli_JsonStream json(
        {{"file", arguments.file}, {"mesh", root}, {"notFinite", notFinite}, {"noShape", withoutShape}});
    json.BeginList("points");
    answers.ForEach(points, [&](const cli_Json& answer) { json.Add(answer); });
    json.EndList();
    json.End();
    return;
  }
  answers.ForEach(points, Print);
  if (notFinite > 0)
    cli_Out() << "Left out: " << notFinite << " elements with nodes that have no finite coordinates\n";
  if (withoutShape > 0) cli_Out() << "Left out: " << withoutShape << " elements of types without a shape\n";
}
} // namespace

void cli_AddLocate(cli_Command& program) {
  cli_Command command = program.AddCommand("locate", "Find the elements that hold points");
  auto arguments = std::make_shared<Arguments>();
  cli_AddModelOptions(command, arguments->file, arguments->name, arguments->json);
  command
      .AddOption("COORDINATES", arguments->coordinates, "X,Y,Z of one point or several, or three words each")
      .TypeName("NUMBERS");
  command.AddOption(
      "--points", arguments->pointFile,
      "File of points, - for the standard input, three numbers a line; text after # is skipped");
  command.AddOption("--element", arguments->element, "Label of the only element to ask: no other is read")
      .TypeName("LABEL");
  command.Footer(
      "Prints for each point: inside, with the element and its iso coordinates; on boundary, with all\n"
      "elements that share the place; outside, with the nearest element and its distance; or degenerate\n"
      "element, when it can only be in one that is flat or inside out. On shells and beams a point may be\n"
      "off by a millionth of the element.\n"
      "\n"
      "Examples:\n"
      "  coregeometry locate bracket.cgdb 0.01,0.02,0.002\n"
      "  coregeometry locate bracket.cgdb --points probes.txt --json\n"
      "  coregeometry locate bracket.cgdb 0.01,0.02,0.002 --element 104");
  command.OnRun([arguments] { Run(*arguments); });
}
