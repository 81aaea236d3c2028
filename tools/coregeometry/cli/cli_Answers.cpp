#include "cli_Answers.h"

#include <CoreGeometry/bme_Messages.h>
#include <CoreGeometry/bme_StoredMesh.h>
#include <CoreGeometry/shp_Shape.h>

cli_Alone cli_ReadAlone(const cls_Database& model, const cow_String& root, unsigned element) {
  const bme_StoredMesh mesh(model, root);
  return {mesh.ElementAlone(element), element,
          static_cast<unsigned>(&mesh.ClassOf(element) - mesh.Classes().data())};
}

void cli_RefuseElement(const cow_String& mesh, int label) {
  throw nex_TextException(mesh + ", element " + std::to_string(label) + ": "
                          + bme_MessageText(bme_INVALID_ELEMENT_LABEL));
}

void cli_AddAloneOption(cli_Command command, std::optional<int>& element) {
  command.AddOption("--element", element, "Label of the only element to ask: no other is read")
      .TypeName("LABEL");
}

void cli_Answers::ForEach(std::span<const double> points,
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

cli_PointAnswer cli_Answers::Answer(const bme_ElementLocator::Point& placed,
                                    const bme_ElementLocator::Point& point,
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

cli_Json cli_Answers::Element(unsigned element) const {
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
