#include <CoreGeometry/exo_Pyramids.h>

#include <CoreGeometry/bme_Pyramids.h>
#include <CoreGeometry/exo_Types.h>

namespace {
bme_ElementClass Converted(const bme_ElementClass& old, const exo_ElementType& type) {
  cow_ArrayCOW<int> rows;
  rows.Reserve(static_cast<std::size_t>(old.NumElements()) * type.order.size());
  std::vector<int> row(type.order.size());
  for (int e = 0; e < old.NumElements(); ++e) {
    const std::span<const int> before = old.Connectivity(e);
    for (std::size_t k = 0; k < row.size(); ++k) row[k] = before[static_cast<std::size_t>(type.order[k])];
    rows.Append(row);
  }
  bme_ElementClass made(type.label, cls_xp2DArrayInt(type.order.size(), std::move(rows)));
  const cow_String& category = old.CategoryLabel();
  const std::size_t slash = category.rfind('/');
  const bool hasFolder = slash != cow_String::npos;
  made.SetCategoryLabel(bme_PyramidCategory(hasFolder ? category.substr(0, slash) : cow_String(),
                                            hasFolder ? category.substr(slash + 1) : category,
                                            old.NumNodesPerElem()));
  made.SetElemControlParams(old.GetElemControlParams());
  made.SetClassIndex(old.ClassIndex());
  made.SetFirstElementIndex(old.FirstElementIndex());
  made.SetMeshIndex(old.MeshIndex());
  made.SetRegion(old.RegionIndex(), old.RegionClassIndex());
  made.SetOrientationFreq(old.OrientationFreq());
  made.SetLocationLabels(old.LocationLabels());
  made.SetUserElementLabels(old.UserElementLabels());
  for (int e = 0; e < old.NumElements(); ++e) made.SetStackDirection(e, old.GetStackDirection(e));
  return made;
}
} // namespace

long long exo_ConvertPyramids(bme_Mesh& mesh) {
  long long count = 0;
  for (unsigned i = 0; i < mesh.ElementData().NumClasses(); ++i) {
    const bme_ElementClass& old = mesh.ElementData().GetClass(i);
    if (old.IsSupported() || old.NumElements() == 0) continue;
    const exo_ElementType type = exo_TypeMap().Find(old.ElemTypeLabel(), old.NumNodesPerElem(), 3);
    if (!type.arePyramids) continue;
    count += old.NumElements();
    const bme_ElementClass made = Converted(old, type);
    mesh.ElementDataToModify().GetClassToModify(i) = made;
  }
  return count;
}
