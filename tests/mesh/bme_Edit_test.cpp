#include "EntityMeshes.h"

#include <CoreGeometry/DDB_CoreGeometry.h>
#include <CoreGeometry/bme_CleanMesh.h>
#include <CoreGeometry/bme_CombineMeshes.h>
#include <CoreGeometry/bme_ExternalFaces.h>
#include <CoreGeometry/bme_Measures.h>
#include <CoreGeometry/bme_RenumberMesh.h>
#include <CoreGeometry/chk_Findings.h>
#include <CoreGeometry/gsl_Matrix.h>
#include <CoreGeometry/gsl_Point.h>
#include <CoreGeometry/gsl_Vector.h>
#include <CoreGeometry/rgnC_Facet.h>
#include <CoreGeometry/shp_ShapeDictionary.h>
#include <bit>
#include <functional>
#include <map>
#include <numbers>
#include <numeric>
#include <set>

namespace {
using Things = std::multiset<std::string>;

std::string Joined(std::vector<int> numbers) {
  std::ranges::sort(numbers);
  std::string text;
  for (const int number : numbers) text += " " + std::to_string(number);
  return text;
}

int LabelOf(const bme_Mesh& mesh, unsigned element) { return bme_FEMElemList(mesh, {element}).Labels()[0]; }
std::vector<int> LabelsOf(const bme_Mesh& mesh, std::span<const int> row, std::span<const int> local) {
  std::vector<int> labels;
  for (const int node : local)
    labels.push_back(
        bme_FEMNodeList(mesh, {static_cast<unsigned>(row[static_cast<std::size_t>(node)])}).Labels()[0]);
  return labels;
}

/// What the sets of a mesh hold, by the labels of elements and nodes: no operation that keeps labels changes it.
std::map<std::string, Things> ThingsIn(const bme_MeshAndSets& all) {
  std::map<std::string, Things> held;
  for (const bme_NamedSet& set : all.sets) {
    Things& things = held[set.Root()];
    for (int i = 0; i < set.data.NumSubset(); ++i) {
      const rgnC_SubsetData& subset = set.data.SubSet(i);
      EXPECT_EQ(subset.MeshIndex(), all.mesh.Id());
      for (std::size_t k = 0; k < subset.IdArray().size(); ++k) {
        const auto id = static_cast<unsigned>(subset.IdArray()[k]);
        if (subset.SubsetType() == res_NODE_SET) {
          things.insert("node" + Joined(bme_FEMNodeList(all.mesh, {id}).Labels()));
          continue;
        }
        const bme_ElementClass& type = all.mesh.ElementData().GetElemClass(id);
        EXPECT_EQ(type.ClassIndex(), subset.ClassIndex());
        std::string thing = std::to_string(LabelOf(all.mesh, id));
        if (!subset.FacetIdArray().empty()) {
          const shp_Shape& shape = *type.Shape();
          const auto row = type.Connectivity(static_cast<int>(id) - type.FirstElementIndex());
          const int facet = subset.FacetIdArray()[k];
          if (subset.SubsetType() == res_SURFACE_EDGE) {
            const auto [face, edge] = rgnC_EdgeFacetOf(facet);
            thing += " edge" + Joined(LabelsOf(all.mesh, row, shape.EdgeNodes(face, edge)));
          } else {
            const auto [face, isBack] = rgnC_FacetOf(shape, facet);
            thing += (isBack ? " back" : " front") + Joined(LabelsOf(all.mesh, row, shape.FaceNodes(face)));
          }
        }
        things.insert(thing);
      }
    }
  }
  return held;
}

void AddSets(bme_MeshAndSets& all) {
  const auto add = [&](const char* name, rgnC_SetData data) {
    data.SetIndex(static_cast<int>(all.sets.size()) + 1);
    all.sets.push_back({name, bme_KindOf(data), data});
  };
  std::vector<unsigned> nodes, elements;
  for (unsigned i = 0; i < all.mesh.NodeData().NumNodes(); i += 2) nodes.push_back(i);
  for (unsigned i = 0; i < all.mesh.ElementData().NumElements(); i += 3) elements.push_back(i);
  add("nodes", bme_FEMNodeList(all.mesh, nodes).ToSet());
  add("elements", bme_FEMElemList(all.mesh, elements).ToSet());
  rgnC_SetData faces, edges;
  faces.SetType(res_SURFACE_SET);
  edges.SetType(res_SURFACE_SET);
  for (unsigned c = 0; c < all.mesh.ElementData().NumClasses(); ++c) {
    const bme_ElementClass& type = all.mesh.ElementData().GetClass(c);
    std::vector<int> faceIds, facets, edgeIds, edgeFacets;
    for (int e = type.FirstElementIndex(); e < type.FirstElementIndex() + type.NumElements(); ++e)
      for (int face = 0; face < type.Shape()->NumFaces(); ++face) {
        for (const bool isBack : {false, true}) {
          if (isBack && type.Shape()->NumGeomDims() != 2) continue;
          faceIds.push_back(e);
          facets.push_back(rgnC_FacetId(*type.Shape(), {face, isBack}));
        }
        for (int edge = 0; edge < type.Shape()->EdgesPerFace()[static_cast<std::size_t>(face)]; ++edge) {
          edgeIds.push_back(e);
          edgeFacets.push_back(rgnC_EdgeFacetId({face, edge}));
        }
      }
    const auto ids = [](const std::vector<int>& values) { return rgnC_SubsetData::Ids(values); };
    const int id = all.mesh.Id(), index = type.ClassIndex();
    if (!faceIds.empty())
      faces.AppendSubset({id, index, 0, 0, res_SURFACE_FACET, false, ids(faceIds), ids(facets)});
    if (!edgeIds.empty())
      edges.AppendSubset({id, index, 0, 0, res_SURFACE_EDGE, false, ids(edgeIds), ids(edgeFacets)});
  }
  add("faces", faces);
  add("edges", edges);
}

class bme_EditTest : public testing::Test {
protected:
  const DDB_CoreGeometry library_;

  /// Three elements of every kind of shape, side by side, with labels and sets; each class has an empty one behind it.
  static bme_MeshAndSets EveryShape() {
    MeshMaker maker;
    std::set<std::pair<int, int>> kinds;
    const auto& dictionary = thr_ThreadSingleton<shp_ShapeDictionary>::Instance();
    int label = 500;
    for (const auto& [name, key] : dictionary.LabelTable()) {
      const shp_Shape& shape = *dictionary.GetShape(name);
      if (shape.NodeCoordinates().empty() || shape.NumRings() > 1 || shape.IsAxiSymmetric()) continue;
      if (!kinds.emplace(shape.ShapeCode(), shape.NumNodes() * 10 + shape.NumSpatialDims()).second) continue;
      std::vector<int> rows, labels;
      for (int e = 0; e < 3; ++e) {
        labels.push_back(label -= 1);
        for (const shp_IsoPoint& at : shape.NodeCoordinates()) {
          rows.push_back(static_cast<int>(maker.xyz.size() / 3));
          const double x = at[0] + 3 * e, y = 0.5 * at[1] + 3 * static_cast<double>(kinds.size());
          for (const double value : {x, y, shape.NumSpatialDims() == 2 ? 0 : at[2] + 0.25 * at[0]})
            maker.xyz.push_back(static_cast<float>(value));
        }
      }
      maker.Class(name, shape.NodeCoordinates().size(), rows, labels)
          .Class(name, shape.NodeCoordinates().size(), {});
    }
    EXPECT_GT(kinds.size(), 15U);
    bme_MeshAndSets all{*maker.Make()};
    std::vector<int> labels(all.mesh.NodeData().NumNodes());
    for (std::size_t i = 0; i < labels.size(); ++i) labels[i] = 7000 - 2 * static_cast<int>(i);
    all.mesh.NodeDataToModify().SetUserNodeLabels(labels.data());
    AddSets(all);
    return all;
  }
  static bme_MeshAndSets Box(bool areTetrahedra) {
    bme_MeshAndSets all{*MeshMaker().Box(3, 2, 2, areTetrahedra).Make()};
    AddSets(all);
    return all;
  }
};

gsl_Matrix Diagonal(double x, double y, double z, double shift = 0) {
  const double elements[4][4] = {{x, 0, 0, shift}, {0, y, 0, 0}, {0, 0, z, 0}, {0, 0, 0, 1}};
  return gsl_Matrix(elements);
}

std::vector<chk_Finding> FaultsOf(const bme_Mesh& mesh) {
  std::vector<chk_Finding> found;
  chk_Findings findings("m", found);
  chk_Mesh(mesh, findings);
  chk_Elements(mesh, findings);
  std::erase_if(found, [](const chk_Finding& one) { return one.weight != cls_Finding::Weight::Fault; });
  return found;
}

std::array<double, 3> SizesOf(const bme_Mesh& mesh) {
  const bme_Measures measures = bme_CalculateMeasures(mesh);
  return {measures.length.SignedTotal(), measures.area.SignedTotal(), measures.volume.SignedTotal()};
}
void ExpectSameSizes(const bme_Mesh& a, const bme_Mesh& b) {
  for (std::size_t k = 0; k < 3; ++k)
    EXPECT_NEAR(SizesOf(a)[k], SizesOf(b)[k], 1e-5 * (1 + std::abs(SizesOf(b)[k])));
}
std::size_t NumOutside(const bme_Mesh& mesh) {
  return bme_ComputeFaces(bme_FEMElemList::All(mesh))->external.Count();
}
bool AreSameBits(std::span<const float> a, std::span<const float> b) {
  return std::ranges::equal(a, b,
                            [](float x, float y) { return std::bit_cast<int>(x) == std::bit_cast<int>(y); });
}
} // namespace

TEST_F(bme_EditTest, SetsLabelsAndSizesStayTheSameForEveryShape) {
  const bme_MeshAndSets before = EveryShape();
  ASSERT_TRUE(FaultsOf(before.mesh).empty());
  const auto reorder = [](bme_NodeOrder order) {
    return [order](const bme_MeshAndSets& all) { return bme_ReorderMesh(all, order); };
  };
  const auto move = [](const gsl_Matrix& matrix) {
    return [matrix](const bme_MeshAndSets& all) { return bme_TransformMesh(all, matrix); };
  };
  gsl_Matrix half;
  half.AxisRotation(gsl_Point(1, 2, 0), gsl_Vector(1, 0, 0), std::numbers::pi);
  const std::pair<const char*, std::function<bme_Edited(const bme_MeshAndSets&)>> cases[] = {
      {"bandwidth", reorder(bme_NodeOrder::Bandwidth)},
      {"curve", reorder(bme_NodeOrder::Curve)},
      {"label", reorder(bme_NodeOrder::Label)},
      {"mirror x", move(Diagonal(-1, 1, 1, 4))},
      {"mirror y", move(Diagonal(1, -1, 1))},
      {"mirror z", move(Diagonal(1, 1, -1))},
      {"half turn about x", move(half)},
      {"clean", [](const bme_MeshAndSets& all) { return bme_Edited(bme_CleanMesh(all)); }},
      {"merge",
       [](const bme_MeshAndSets& all) { return bme_Edited(bme_MergeNodes(all, {.tolerance = 1e-6})); }},
      {"nothing", [](const bme_MeshAndSets& all) { return bme_RemoveEntities(all, {}, {}); }},
  };
  for (const auto& [name, edit] : cases) {
    SCOPED_TRACE(name);
    const bme_Edited edited = edit(before);
    EXPECT_EQ(ThingsIn(edited.result), ThingsIn(before));
    EXPECT_TRUE(edited.remarks.empty());
    EXPECT_TRUE(FaultsOf(edited.result.mesh).empty());
    ExpectSameSizes(edited.result.mesh, before.mesh);
    // there and back by the renumbering, and every element has its nodes
    const bme_Renumbering& map = edited.renumbering;
    const bme_ElementData &old = before.mesh.ElementData(), &now = edited.result.mesh.ElementData();
    ASSERT_EQ(map.elements.NumGone(), 0U);
    for (unsigned e = 0; e < old.NumElements(); ++e) {
      const auto sent = static_cast<unsigned>(map.elements.to[e]);
      EXPECT_EQ(map.elements.from[sent], static_cast<int>(e));
      EXPECT_EQ(LabelOf(edited.result.mesh, sent), LabelOf(before.mesh, e));
      std::vector<unsigned> nodes;
      for (const int node : old.GetElemClass(e).Connectivity(static_cast<int>(old.GetClassElemIndex(e))))
        nodes.push_back(static_cast<unsigned>(node));
      const std::span<const int> row =
          now.GetElemClass(sent).Connectivity(static_cast<int>(now.GetClassElemIndex(sent)));
      const std::set<int> has(row.begin(), row.end());
      for (const unsigned node : map.nodes.Send(nodes)) EXPECT_TRUE(has.contains(static_cast<int>(node)));
    }
    // lists go where the sets go
    const auto faces = bme_FEMFaceList::FromSet(before.mesh, before.sets[2].data, bme_Unknown::Skip);
    EXPECT_EQ(bme_Send(faces, map, edited.result.mesh),
              bme_FEMFaceList::FromSet(edited.result.mesh, edited.result.sets[2].data, bme_Unknown::Skip));
    const auto edges = bme_FEMEdgeList::FromSet(before.mesh, before.sets[3].data, bme_Unknown::Skip);
    EXPECT_EQ(bme_Send(edges, map, edited.result.mesh),
              bme_FEMEdgeList::FromSet(edited.result.mesh, edited.result.sets[3].data, bme_Unknown::Skip));
  }
}

TEST_F(bme_EditTest, MirrorsTwiceAreTheSameBits) {
  bme_MeshAndSets before = EveryShape();
  before.mesh.NodeDataToModify().CoordinatesToModify()[4] = -0.0F;
  for (const gsl_Matrix& mirror : {Diagonal(-1, 1, 1), Diagonal(1, -1, 1), Diagonal(1, 1, -1)}) {
    const bme_Edited once = bme_TransformMesh(before, mirror), twice = bme_TransformMesh(once.result, mirror);
    EXPECT_TRUE(AreSameBits(twice.result.mesh.NodeData().Coordinates().Const(),
                            before.mesh.NodeData().Coordinates().Const()));
    for (unsigned c = 0; c < before.mesh.ElementData().NumClasses(); ++c)
      EXPECT_EQ(twice.result.mesh.ElementData().GetClass(c).ElementConnectivity(),
                before.mesh.ElementData().GetClass(c).ElementConnectivity());
    for (std::size_t i = 0; i < before.sets.size(); ++i)
      EXPECT_EQ(twice.result.sets[i].data, before.sets[i].data);
    const bme_Renumbering both = once.renumbering.Then(twice.renumbering);
    EXPECT_TRUE(std::ranges::all_of(both.turns, [](unsigned char turn) { return turn == 0; }));
  }
}

TEST_F(bme_EditTest, PartsCombinedAndMergedAreTheWhole) {
  for (const bool areTetrahedra : {false, true}) {
    const bme_MeshAndSets whole = Box(areTetrahedra);
    std::vector<unsigned> first, second;
    for (unsigned e = 0; e < whole.mesh.ElementData().NumElements(); ++e)
      (e % 2 == 0 ? first : second).push_back(e);
    const bme_Edited a = bme_ExtractElements(whole, first), b = bme_ExtractElements(whole, second);
    // every thing of a set is in one part, with its label; nodes may be in both
    auto together = ThingsIn(a.result);
    for (auto& [name, things] : ThingsIn(b.result)) together[name].merge(Things(things));
    for (auto& [name, things] : ThingsIn(whole)) {
      if (name == "nodes") continue;
      EXPECT_EQ(together[name], things) << name;
    }
    const bme_MeshToCombine parts[] = {{"a", &a.result}, {"b", &b.result}};
    bme_Combined combined = bme_CombineMeshes(parts, bme_Labels::Offset);
    EXPECT_EQ(combined.result.sets[0].name, "a.nodes");
    EXPECT_THROW(bme_CombineMeshes(parts, bme_Labels::Keep), nex_TextException);
    const bme_Merged merged = bme_MergeNodes(combined.result, {.tolerance = 0.01});
    EXPECT_TRUE(merged.collapsed.empty());
    EXPECT_EQ(merged.result.mesh.NodeData().NumNodes(), whole.mesh.NodeData().NumNodes());
    ExpectSameSizes(merged.result.mesh, whole.mesh);
    EXPECT_EQ(NumOutside(merged.result.mesh), NumOutside(whole.mesh));
    // sent through both steps, the nodes of a part are where they were
    const bme_Renumbering through = b.renumbering.Then(combined.RenumberingOf(1)).Then(merged.renumbering);
    for (unsigned node = 0; node < whole.mesh.NodeData().NumNodes(); ++node)
      if (through.nodes.to[node] >= 0) {
        EXPECT_EQ(merged.result.mesh.NodeData()[static_cast<unsigned>(through.nodes.to[node])],
                  whole.mesh.NodeData()[node]);
      }
    // lowest label survives: those of the first part, and of the second where there is no other
    const std::vector<unsigned> gone = merged.merged;
    for (const unsigned node : gone) EXPECT_GE(node, combined.parts[1].firstNode);
  }
}

TEST_F(bme_EditTest, MergingChoosesNodesAndListsWhatCollapses) {
  // two cubes with a gap of 0.1, the second of labels below those of the first, and a node at 0.05 in it
  MeshMaker maker;
  maker.Box(1, 1, 1).Box(1, 1, 1).Nodes(17);
  for (std::size_t node = 8; node < 16; ++node) maker.xyz[3 * node] += 1.1F;
  maker.xyz[48] = 1.05F;
  bme_MeshAndSets all{*maker.Make()};
  std::vector<int> labels(17);
  for (std::size_t i = 0; i < labels.size(); ++i) labels[i] = 100 - static_cast<int>(i);
  all.mesh.NodeDataToModify().SetUserNodeLabels(labels.data());
  const std::vector<unsigned> first{0, 1, 2, 3, 4, 5, 6, 7}, second{8, 9, 10, 11, 12, 13, 14, 15}, free{16};
  struct Case {
    bme_MergeOptions options;
    std::size_t numMerged, numCollapsed, numElements;
  };
  const Case cases[] = {{{.tolerance = 0.01}, 0, 0, 2},
                        {{.tolerance = 0.06}, 2, 0, 2}, // a chain through the free node
                        {{.tolerance = 0.11}, 5, 0, 2},
                        {{.tolerance = 0.11, .nodes = first}, 0, 0, 2},
                        {{.tolerance = 0.11, .nodes = first, .with = second}, 4, 0, 2},
                        {{.tolerance = 0.06, .nodes = first, .with = second}, 0, 0, 2},
                        {{.tolerance = 0.11, .nodes = second, .with = free}, 1, 0, 2},
                        {{.tolerance = 1.02}, 16, 2, 2},
                        {{.tolerance = 1.02, .removeCollapsed = true}, 16, 2, 0}};
  for (const Case& one : cases) {
    SCOPED_TRACE(one.options.tolerance);
    const bme_Merged merged = bme_MergeNodes(all, one.options);
    EXPECT_EQ(merged.merged.size(), one.numMerged);
    EXPECT_EQ(merged.collapsed.size(), one.numCollapsed);
    EXPECT_EQ(merged.result.mesh.NodeData().NumNodes(), 17 - one.numMerged);
    EXPECT_EQ(merged.result.mesh.ElementData().NumElements(), one.numElements);
    EXPECT_EQ(merged.result.mesh.ElementData().NumClasses(), one.numElements);
    for (const unsigned node : merged.merged) { // whoever stands for it has a lower label
      const auto now = static_cast<std::size_t>(merged.renumbering.nodes.to[node]);
      EXPECT_LT(merged.result.mesh.NodeData().UserNodeLabels().Const()[now], labels[node]);
    }
  }
}

TEST_F(bme_EditTest, CleaningFindsWhatIsTooMuchAndKeepsNodesOfSets) {
  MeshMaker maker;
  maker.Box(1, 1, 2).Nodes(16).Class("C3D8", 8, {4, 5, 7, 6, 8, 9, 11, 10, 0, 0, 0, 0, 1, 1, 1, 1});
  maker.Class("SFM3D4", 4, {0, 1, 3, 2}).Class("S4", 4, {0, 1, 3, 2, 1, 3, 2, 0, 0, 1, 3, 2});
  bme_MeshAndSets all{*maker.Make()};
  all.sets.push_back({"reference", rgnC_NODE_SET, bme_FEMNodeList(all.mesh, {13}).ToSet()});
  all.sets.push_back({"flat", rgnC_ELEMENT_SET, bme_FEMElemList(all.mesh, {3}).ToSet()});
  const bme_Cleaned cleaned = bme_CleanMesh(all);
  EXPECT_EQ(cleaned.duplicates, (std::vector<unsigned>{2, 6, 7}));
  EXPECT_EQ(cleaned.zeroSize, std::vector<unsigned>{3});
  EXPECT_EQ(cleaned.unusedNodes, (std::vector<unsigned>{12, 14, 15}));
  EXPECT_EQ(ThingsIn(cleaned.result)["reference"], Things{"node 14"});
  EXPECT_EQ(cleaned.remarks, (std::vector<cow_String>{"element set \"flat\" is empty now"}));
  EXPECT_EQ(cleaned.result.sets.size(), 2U);
  EXPECT_EQ(cleaned.result.mesh.ElementData().NumClasses(), 3U);
  EXPECT_EQ(bme_CleanMesh(all, {.nodesOfSets = true}).unusedNodes.size(), 4U);
  const bme_Cleaned again = bme_CleanMesh(cleaned.result);
  EXPECT_EQ(again.duplicates.size() + again.zeroSize.size() + again.unusedNodes.size(), 0U);
  EXPECT_EQ(again.result.mesh.NodeData().Coordinates().Const().data(),
            cleaned.result.mesh.NodeData().Coordinates().Const().data()); // shared
}

TEST_F(bme_EditTest, FacesBecomeShellsThatLookTheSameWay) {
  for (const bme_MeshAndSets& all : {EveryShape(), Box(true)}) {
    const auto& dictionary = thr_ThreadSingleton<shp_ShapeDictionary>::Instance();
    std::vector<unsigned> elements;
    for (unsigned e = 0; e < all.mesh.ElementData().NumElements(); ++e)
      if (dictionary.GetShape(all.mesh.ElementData().GetElemClass(e).ElemTypeLabel())->NumGeomDims() == 3)
        elements.push_back(e);
    const bme_FEMFaceList faces = bme_FEMFaceList::OfElements(bme_FEMElemList(all.mesh, elements));
    const bme_Edited shells = bme_ExtractFaces(all, faces.Words());
    EXPECT_EQ(shells.result.mesh.ElementData().NumElements(), faces.Count());
    EXPECT_TRUE(FaultsOf(shells.result.mesh).empty());
    std::size_t numOfSet = 0; // the surface of the shells is all of their fronts
    for (int i = 0; i < shells.result.sets[2].data.NumSubset(); ++i)
      for (const int facet : shells.result.sets[2].data.SubSet(i).FacetIdArray()) numOfSet += facet == 0;
    EXPECT_EQ(numOfSet, faces.Count());
    // outward: the volume by the divergence theorem, for straight elements
    if (all.mesh.ElementData().NumClasses() > 1) continue;
    double volume = 0;
    const bme_FEMFaceList fronts = bme_FEMFaceList::All(shells.result.mesh);
    for (std::size_t i = 0; i < fronts.Count(); ++i) {
      if (bme_IsBack(fronts[i])) continue;
      const bme_LocalNodes nodes = fronts.FaceNodes(i);
      const auto at = [&](std::size_t k) {
        const uti_Coord3D p = shells.result.mesh.NodeData()[static_cast<unsigned>(nodes.Corners()[k])];
        return gsl_Vector(p.x, p.y, p.z);
      };
      volume += at(0).DotProduct(at(1).CrossProduct(at(2))) / 6;
    }
    EXPECT_NEAR(volume, 12, 1e-9);
  }
}

TEST_F(bme_EditTest, NotesFollowTheirClassesAndSets) {
  bme_MeshAndSets all = EveryShape();
  const auto annotate = [&](bme_NotedEnm noted, int number, std::vector<double> values,
                            std::vector<int> counts) {
    bme_Annotation note(noted, number);
    note.values = cls_xp2DArrayDouble(1, cow_ArrayCOW<double>(std::span<const double>(values)));
    note.counts = cls_xp1DArrayListInt(std::span<const int>(counts));
    all.notes.annotations.ListToModify().Append(note);
  };
  all.notes.title = "plate";
  annotate(bme_CLASS_NOTED, 2, {10, 11, 12}, {});
  const bme_FEMElemList elements = bme_FEMElemList::FromSet(all.mesh, all.sets[1].data);
  std::vector<double> values;
  for (std::size_t i = 0; i < elements.Count(); ++i)
    values.insert(values.end(), {double(i), double(i) + 0.5});
  annotate(bme_ELEMENTS_NOTED, 2, values, std::vector<int>(elements.Count(), 2));
  annotate(bme_NODES_NOTED, 1, {1, 2}, {}); // does not fit
  const auto middle = static_cast<unsigned>(all.mesh.ElementData().GetClass(2).FirstElementIndex() + 1);
  const std::vector<unsigned> gone{elements[0], elements[2], middle};
  const bme_Edited edited = bme_RemoveEntities(all, gone, {});
  EXPECT_EQ(edited.result.notes.title, all.notes.title);
  const auto& notes = edited.result.notes.annotations.List();
  ASSERT_EQ(notes.Size(), 2);
  EXPECT_TRUE(std::ranges::equal(notes.ConstGet(0).values.Const(), std::array{10.0, 12.0}));
  EXPECT_EQ(notes.ConstGet(1).values.NumRows(), 2 * (elements.Count() - 2));
  EXPECT_EQ(notes.ConstGet(1).values.Const()[3], 3.5);
  EXPECT_EQ(edited.remarks.size(), 1U);
  // behind those of another mesh
  const bme_MeshToCombine two[] = {{"a", &edited.result}, {"b", &edited.result}};
  const bme_Combined both = bme_CombineMeshes(two, bme_Labels::Offset);
  ASSERT_EQ(both.result.notes.annotations.List().Size(), 4);
  const auto& second = both.result.notes.annotations.List();
  EXPECT_EQ(second.ConstGet(2).number, 2 + static_cast<int>(edited.result.mesh.ElementData().NumClasses()));
  const auto named = std::ranges::find(both.result.sets, cow_String("b.elements"), &bme_NamedSet::name);
  EXPECT_EQ(second.ConstGet(3).number, named->data.GetSetIndex());
}

TEST_F(bme_EditTest, OrdersLowerTheBandwidthAndLabelsAreSeries) {
  bme_MeshAndSets box = Box(false);
  std::vector<int> shuffled(box.mesh.NodeData().NumNodes());
  for (std::size_t i = 0; i < shuffled.size(); ++i) shuffled[i] = static_cast<int>(i * 7 % shuffled.size());
  bme_Renumbering mixed = bme_Renumbering::Identity(box.mesh);
  mixed.nodes = bme_IndexMap::OfOrder(shuffled, shuffled.size());
  const bme_Edited bad = bme_Renumber(box, mixed);
  EXPECT_EQ(bad.result.mesh.NodeData().UserNodeLabels().Const()[1], 8); // the number that it had
  EXPECT_GT(bme_Bandwidth(bad.result.mesh), 30);
  EXPECT_LE(bme_Bandwidth(bme_ReorderMesh(bad.result, bme_NodeOrder::Bandwidth).result.mesh),
            21); // 9 a layer
  const bme_Edited back = bme_ReorderMesh(bad.result, bme_NodeOrder::Label);
  EXPECT_TRUE(AreSameBits(back.result.mesh.NodeData().Coordinates().Const(),
                          box.mesh.NodeData().Coordinates().Const()));
  const bme_Edited relabelled = bme_RelabelMesh(box, bme_LabelSeries{100, 10}, bme_LabelSeries{5, 2});
  EXPECT_EQ(relabelled.result.mesh.NodeData().GetMeshNodeIndex(130), 3U);
  EXPECT_EQ(relabelled.result.mesh.ElementData().GetMeshElemIndexFromLabel(9), 2U);
  EXPECT_FALSE(box.mesh.NodeData().HasUserNodeLabels());
}

TEST_F(bme_EditTest, CopiesAndWhatIsRefused) {
  const bme_MeshAndSets box = Box(false), shapes = EveryShape();
  const std::vector<gsl_Matrix> steps{Diagonal(1, 1, 1, 3), Diagonal(1, 1, 1, 6)};
  const bme_Combined row = bme_CopyMesh(box, steps);
  EXPECT_EQ(row.result.mesh.ElementData().NumElements(), 36U);
  EXPECT_EQ(row.result.sets.back().name, "edges-2");
  EXPECT_EQ(bme_MergeNodes(row.result, {.tolerance = 1e-4}).merged.size(), 18U);
  EXPECT_EQ(bme_FEMElemList::FromSet(row.result.mesh, row.result.sets[9].data)[0], 24U);

  bme_MeshAndSets large = box, outside = box,
                  unknown{*MeshMaker().Nodes(4).Class("X4", 4, {0, 1, 2, 3}).Make()};
  large.mesh = bme_RelabelMesh(box, {}, bme_LabelSeries{2147483600, 1}).result.mesh;
  outside.mesh.ElementDataToModify().GetClassToModify(0).ConnectivityToModify()[9] = 999;
  const bme_MeshToCombine twoLarge[] = {{"a", &large}, {"b", &large}};
  const std::vector<unsigned> node{5}, wrong{12};
  const double flat = 0;
  const std::pair<std::function<void()>, const char*> cases[] = {
      {[&] { bme_RemoveEntities(box, {}, node); },
       "element class 0 (C3D8): element 1 needs node 6, which would be gone"},
      {[&] { bme_CleanMesh(outside); },
       "element class 0 (C3D8): element 2 has node index 999, which is not in the mesh of 36 nodes"},
      {[&] { bme_ExtractElements(box, wrong); }, ""},
      {[&] { bme_CombineMeshes(twoLarge, bme_Labels::Offset); },
       "b: element label 2147483600 and an offset of 2147483611 is above 2147483647"},
      {[&] { bme_CombineMeshes(twoLarge, bme_Labels::Keep); }, "node label 1 is in a and in b"},
      {[&] {
         bme_RelabelMesh(box, bme_LabelSeries{1, 0}, {});
       },
       "node labels from 1 in steps of 0 for 36 are not all in 0..2147483647"},
      {[&] { bme_TransformMesh(box, Diagonal(1, flat, 1)); },
       "the matrix flattens the mesh, or is not finite"},
      {[&] { bme_TransformMesh(box, Diagonal(1e39, 1e39, 1e39)); },
       "node 2 is moved beyond what single precision can hold"},
      {[&] { bme_TransformMesh(unknown, Diagonal(-1, 1, 1)); },
       "element class 0 (X4): a mirror would leave the elements inside out, as the type has no reversal"},
      {[&] { bme_MergeNodes(box, {.tolerance = -1}); },
       "a tolerance of -1.000000 for nodes at one place is below 0 or no number"},
  };
  for (const auto& [call, message] : cases) {
    const cow_String thrown = ThrownBy(call);
    EXPECT_NE(thrown, kNothingThrown);
    if (*message != 0) {
      EXPECT_EQ(thrown, message);
    }
  }
}
