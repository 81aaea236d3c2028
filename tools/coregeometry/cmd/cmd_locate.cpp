// coregeometry locate: the elements that hold points
#include "cli_Commands.h"
#include "cli_Console.h"
#include "cli_Model.h"
#include "cli_Points.h"

#include <CoreGeometry/bme_ElementLocator.h>
#include <CoreGeometry/bme_Messages.h>
#include <CoreGeometry/bme_StoredMesh.h>
#include <CoreGeometry/shp_Shape.h>
#include <functional>
#include <optional>

namespace {
struct Arguments {
  std::string file, name;
  cli_PointArguments points;
  std::optional<int> element; ///< label of the only one that is asked
  bool json = false;
};

/// One element of a mesh as a mesh of its own, and where it stands in the whole.
struct Alone {
  unsigned index = 0, classIndex = 0;
};

class Answers {
public:
  explicit Answers(const bme_Mesh& mesh, const std::optional<Alone>& alone = {})
      : elements_(mesh.ElementData()), placement_(mesh), locator_(mesh), alone_(alone) {}

  /// Calls take(answer) for each point.
  void ForEach(std::span<const double> points,
               const std::function<void(const cli_PointAnswer&)>& take) const {
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
  cli_PointAnswer Answer(const bme_ElementLocator::Point& placed, const bme_ElementLocator::Point& point,
                         const bme_ElementHit& first) const {
    std::vector<bme_ElementHit> owners;
    if (first.location == shp_Location::OnBoundary)
      locator_.FindAll(point, owners);
    else if (first.element != bme_kNotFound)
      owners.push_back(first);
    cli_PointAnswer answer{placed, first.location};
    for (const bme_ElementHit& hit : owners)
      answer.owners.push_back({Element(hit.element), hit.location, hit.iso});
    if (first.location != shp_Location::Outside) return answer;
    const bme_NearestElement nearest = locator_.FindNearest(point);
    if (nearest.element != bme_kNotFound)
      answer.nearest = {Element(nearest.element), first.location, nearest.iso, nearest.distance};
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
  const std::vector<double> points = arguments.points.Points();
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

  cli_PointReport report(arguments.file, root, cli_NumNotFinite(*mesh), cli_NumWithoutShape(*mesh),
                         arguments.json);
  answers.ForEach(points, [&](const cli_PointAnswer& answer) { report.Add(answer); });
  report.End();
}
} // namespace

void cli_AddLocate(cli_Command& program) {
  cli_Command command = program.AddCommand("locate", "Find the elements that hold points");
  auto arguments = std::make_shared<Arguments>();
  cli_AddModelOptions(command, arguments->file, arguments->name, arguments->json);
  arguments->points.AddTo(command);
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
