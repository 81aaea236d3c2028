#include "bme_TypeLike.h"

#include "bme_ClassWalk.h"

#include <BasicUtils/thr_ThreadSingleton.h>
#include <CoreGeometry/shp_ShapeDictionary.h>
#include <set>

namespace {
/// Names that do not follow from each other.
struct Pair {
  const char *from, *to;
};
constexpr Pair kPairs[] = {{"S3", "STRI65"},   {"S3R", "STRI65"},   {"S3RS", "STRI65"},   {"STRI3", "STRI65"},
                           {"S3T", "STRI65"},  {"S4", "S8R"},       {"S4R", "S8R"},       {"S4RS", "S8R"},
                           {"S4RSW", "S8R"},   {"S4T", "S8RT"},     {"S4RT", "S8RT"},     {"STRI65", "S3"},
                           {"C3D15V", "C3D6"}, {"C3D15V", "C3D10"}, {"C3D15VH", "C3D6H"}, {"S8R", "STRI65"},
                           {"S8R5", "STRI65"}, {"S9R5", "STRI65"},  {"S8RT", "STRI65"}};

const shp_Shape* ShapeOf(const cow_String& label) {
  return thr_ThreadSingleton<shp_ShapeDictionary>::Instance().GetShape(label);
}

bool IsKind(const shp_Shape& old, const shp_Shape* shape, std::size_t corners, std::size_t nodes) {
  return shape && shape->NumGeomDims() == old.NumGeomDims() && shape->NumSpatialDims() == old.NumSpatialDims()
         && shape->IsAxiSymmetric() == old.IsAxiSymmetric() && shape->IsInteraction() == old.IsInteraction()
         && shape->NumRings() == 1 && static_cast<std::size_t>(shape->NumNodes()) == nodes
         && bme_NumCorners(*shape) == corners && shape->NodeCoordinates().size() == nodes;
}

/// The label with one occurrence of a text replaced by another, and the same without letters at its end.
template<class Visit>
void ForEachName(const cow_String& label, const cow_String& what, const cow_String& by, Visit visit) {
  for (std::size_t at = label.find(what); at != cow_String::npos; at = label.find(what, at + 1)) {
    cow_String name = label.substr(0, at) + by + label.substr(at + what.size());
    while (name.size() > at) {
      if (visit(name)) return;
      const char last = name.back();
      if (last >= '0' && last <= '9') break;
      name.pop_back();
    }
  }
}
} // namespace

std::size_t bme_NumCorners(const shp_Shape& shape) {
  if (shape.NumGeomDims() == 1) return 2;
  std::set<int> corners;
  for (int face = 0; face < shape.NumFaces(); ++face) {
    const std::span<const int> own = bme_Corners(shape, static_cast<unsigned>(face));
    corners.insert(own.begin(), own.end());
  }
  return corners.size();
}

cow_String bme_TypeLike(const cow_String& label, std::size_t corners, std::size_t nodes,
                        const bme_TypeChoice& types) {
  const shp_Shape* old = ShapeOf(label);
  if (!old) return {};
  const auto fits = [&](const cow_String& name) { return IsKind(*old, ShapeOf(name), corners, nodes); };
  if (const auto chosen = types.find(label); chosen != types.end()) {
    if (!fits(chosen->second))
      throw nex_TextException(chosen->second + " for " + label + ": it is no type of the same kind with "
                              + std::to_string(nodes) + " nodes");
    return chosen->second;
  }
  for (const Pair& pair : kPairs)
    if (label == pair.from && fits(pair.to)) return pair.to;
  cow_String found;
  const auto take = [&](const cow_String& name) {
    if (fits(name)) found = name;
    return !found.empty();
  };
  ForEachName(label, std::to_string(old->NumNodes()), std::to_string(nodes), take);
  // lines are numbered by their order
  if (found.empty() && old->NumGeomDims() == 1)
    ForEachName(label, std::to_string(old->InterpOrder()), std::to_string(nodes - 1), take);
  return found;
}
