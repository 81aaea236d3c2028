// MixedMesh.h: a small mesh with everything that is awkward to split
#pragma once

#include <CoreGeometry/bme_NamedSet.h>
#include <CoreGeometry/gsl_Matrix.h>
#include <mesh/EntityMeshes.h>
#include <numeric>
#include <random>

/// Labels of a mixed mesh: of its own, or implicit ones.
enum class Labelled { Neither, Nodes, Both };

/// Solids of two kinds, three of them on one face, quadratic ones, shells on solids, beams, points, an empty class, a
/// type without shape, nodes without elements and at one place, negative labels.
inline bme_Mesh MixedMesh(Labelled labelled) {
  MeshMaker maker;
  maker.Box(3, 3, 2).Box(2, 2, 1, true);
  const int tetrahedra = 48; // first node of the second box
  for (std::size_t i = std::size_t{3} * tetrahedra; i < maker.xyz.size(); i += 3) maker.xyz[i] += 2.5F;
  maker.Nodes(90);
  for (std::size_t i = std::size_t{3} * 66; i < maker.xyz.size(); ++i)
    maker.xyz[i] = static_cast<float>(i % 7) * 0.75F - 4.0F;
  maker.Class("C3D20", 20, {});
  maker.Class("C3D8", 8,
              {0, 1, 5, 4, 16, 17, 21, 20, 0, 1, 5, 4, 66, 67, 68, 69, 0, 1, 5, 4, 70, 71, 72, 73});
  maker.Class("C3D6", 6, {16, 17, 21, 74, 75, 76});
  maker.Class("C3D10", 10, {48, 49, 51, 54, 77, 78, 79, 80, 81, 82});
  maker.Class("S4R", 4, {0, 1, 5, 4, 1, 2, 6, 5, 32, 33, 37, 36});
  maker.Class("B31", 2, {83, 84, 84, 85, 0, 85});
  maker.Class("MASS", 1, {86, 47});
  maker.Class("UNKNOWN9", 3, {0, 47, 65, -1, 1, 2});
  bme_Mesh mesh = *maker.Make(7);
  const int count = static_cast<int>(mesh.NodeData().NumNodes());
  std::vector<int> labels(static_cast<std::size_t>(count));
  for (int i = 0; i < count; ++i) labels[static_cast<std::size_t>(i)] = (i * 37) % count * 3 - 50;
  if (labelled != Labelled::Neither) mesh.NodeDataToModify().SetUserNodeLabels(labels.data());
  bme_ElementData& elements = mesh.ElementDataToModify();
  int label = -9;
  for (unsigned i = 0; i < elements.NumClasses() && labelled == Labelled::Both; ++i) {
    labels.resize(static_cast<std::size_t>(elements.GetClass(i).NumElements()));
    for (int& one : labels) one = label += 5;
    elements.GetClassToModify(i).SetUserElementLabels(labels);
    elements.GetClassToModify(i).SetCategoryLabel("part/" + std::to_string(i));
  }
  elements.Init();
  return mesh;
}

inline rgnC_SubsetData SubsetOf(res_SetTypeEnm type, int classIndex, const std::vector<int>& ids,
                                const std::vector<int>& facets = {}) {
  return {7, classIndex, 0, 3, type, false, rgnC_SubsetData::Ids(ids), rgnC_SubsetData::Ids(facets)};
}

/// Sets of all kinds on it: ordered and not, with entries that come twice, without entries, without subsets.
inline std::vector<bme_NamedSet> MixedSets() {
  const auto set = [](const char* name, res_SetTypeEnm type, const std::vector<rgnC_SubsetData>& subsets) {
    rgnC_SetData data;
    data.SetType(type);
    for (const rgnC_SubsetData& subset : subsets) data.AppendSubset(subset);
    return bme_NamedSet{name, bme_KindOf(data), data};
  };
  return {set("ascending", res_NODE_SET, {SubsetOf(res_NODE_SET, -1, {0, 1, 1, 5, 17, 21, 47, 89})}),
          set("any order", res_NODE_SET, {SubsetOf(res_NODE_SET, -1, {88, 0, 17, 4, 0, 21, 60})}),
          set("elements", res_ELEMENT_SET,
              {SubsetOf(res_ELEMENT_SET, 0, {0, 3, 17}), SubsetOf(res_ELEMENT_SET, 1, {37, 18, 20})}),
          set("skin", res_SURFACE_SET,
              {SubsetOf(res_SURFACE_FACET, 0, {0, 0, 0, 9}, {5, 0, 2, 1}),
               SubsetOf(res_SURFACE_FACET, 6, {45, 44, 43}, {1, 0, 1})}),
          set("nothing", res_ELEMENT_SET, {SubsetOf(res_ELEMENT_SET, 2, {})}),
          set("none", res_NODE_SET, {})};
}

/// Any map from elements to parts, none of which stays empty.
inline std::vector<unsigned> RandomParts(unsigned numElements, unsigned numParts, unsigned seed) {
  std::mt19937 random(seed);
  std::vector<unsigned> parts(numElements);
  for (unsigned i = 0; i < numElements; ++i)
    parts[i] = i < numParts ? i : static_cast<unsigned>(random() % numParts);
  for (unsigned i = numElements; i > 1; --i) std::swap(parts[i - 1], parts[random() % i]);
  return parts;
}
