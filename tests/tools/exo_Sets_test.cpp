// Sets of a file as regions of the mesh: the Exodus II library says which nodes a side has.
#include "ExodusWriter.h"

#include <CoreGeometry/DDB_CoreGeometry.h>
#include <CoreGeometry/exo_Export.h>
#include <CoreGeometry/exo_Import.h>
#include <CoreGeometry/rgnC_Facet.h>
#include <CoreGeometry/shp_Shape.h>
#include <ThrownBy.h>
#include <algorithm>
#include <array>
#include <exodusII.h>
#include <gtest/gtest.h>
#include <numeric>

namespace {
using Numbers = std::vector<std::int64_t>;
using Nodes = std::vector<int>;

/// Mesh node indices of every side of a side set, as the Exodus II library lists them.
std::vector<Nodes> SidesInFile(int file, std::int64_t id) {
  int count = 0, length = 0, factors = 0;
  EXPECT_EQ(ex_get_set_param(file, EX_SIDE_SET, id, &count, &factors), 0);
  EXPECT_EQ(ex_get_side_set_node_list_len(file, id, &length), 0);
  Nodes counts(static_cast<std::size_t>(count)), list(static_cast<std::size_t>(length) + 16);
  EXPECT_EQ(ex_get_side_set_node_list(file, id, counts.data(), list.data()), 0);
  std::vector<Nodes> sides;
  auto at = list.begin();
  for (const int n : counts) {
    sides.emplace_back(at, at + n);
    for (int& node : sides.back()) --node;
    at += n;
  }
  return sides;
}

/// Corners first; nodes of a facet meant from behind go round the other way.
Nodes NodesOfFacet(const bme_Mesh& mesh, const rgnC_SubsetData& subset, std::size_t item,
                   std::size_t& corners) {
  const bme_ElementClass& type = mesh.ElementData().GetClass(static_cast<unsigned>(subset.ClassIndex()));
  const shp_Shape& shape = *type.Shape();
  const auto element = type.Connectivity(subset.IdArray()[item] - type.FirstElementIndex());
  const int id = subset.FacetIdArray()[item];
  Nodes nodes;
  if (subset.SubsetType() == res_SURFACE_EDGE) {
    const rgnC_EdgeFacet edge = rgnC_EdgeFacetOf(id);
    const auto local = shape.EdgeNodes(edge.face, edge.edge);
    nodes = {local.front(), local.back()};
    nodes.insert(nodes.end(), local.begin() + 1, local.end() - 1);
    corners = 2;
  } else {
    const rgnC_Facet facet = rgnC_FacetOf(shape, id);
    const auto local = shape.FaceNodes(facet.face);
    nodes.assign(local.begin(), local.end());
    corners = static_cast<std::size_t>(shape.CornersPerFace()[static_cast<std::size_t>(facet.face)]);
    if (facet.isBack) shape.ReverseFaceConnectivity(nodes, facet.face);
  }
  for (int& node : nodes) node = element[static_cast<std::size_t>(node)];
  for (std::size_t k = 1; k < corners;) { // collapsed to one
    if (nodes[k] != nodes[k - 1]) {
      ++k;
      continue;
    }
    nodes.erase(nodes.begin() + static_cast<std::ptrdiff_t>(k));
    --corners;
  }
  return nodes;
}

/// Same corners the same way round; further nodes that the library lists are among ours.
void ExpectSameSide(const Nodes& ours, std::size_t corners, const Nodes& listed) {
  ASSERT_GE(listed.size(), corners);
  const auto start =
      std::ranges::find(listed.begin(), listed.begin() + static_cast<std::ptrdiff_t>(corners), ours[0])
      - listed.begin();
  for (std::size_t k = 0; k < corners; ++k)
    EXPECT_EQ(listed[(static_cast<std::size_t>(start) + k) % corners], ours[k]) << "corner " << k;
  for (const int node : listed) EXPECT_NE(std::ranges::find(ours, node), ours.end()) << "node " << node;
}

struct Element {
  const char* type;
  int numNodes, dims, numSides, numFacets; ///< the facets come first, edges follow

  std::string Name() const {
    return std::string(type) + "_" + std::to_string(numNodes) + "_in_" + std::to_string(dims) + "D";
  }
  friend void PrintTo(const Element& element, std::ostream* out) { *out << element.Name(); }
};

class Sides : public testing::TestWithParam<Element> {
protected:
  const DDB_CoreGeometry library_;
  const TestFolder folder_;
};

TEST_P(Sides, HaveTheNodesThatTheExodusLibraryLists) {
  const auto [type, numNodes, dims, numSides, numFacets] = GetParam();
  ExodusMesh mesh;
  mesh.dims = dims;
  mesh.xyz.resize(static_cast<std::size_t>(2 * numNodes * dims));
  Numbers nodes(static_cast<std::size_t>(2 * numNodes)); // two elements, the nodes of the second shuffled
  std::iota(nodes.begin(), nodes.end(), 1);
  std::reverse(nodes.begin() + numNodes, nodes.end());
  mesh.blocks = {{4, type, numNodes, nodes}};
  mesh.sets = {{EX_SIDE_SET, 7, "all", {}}};
  for (int side = 1; side <= numSides; ++side)
    for (const int element : {2, 1}) {
      mesh.sets[0].entries.push_back(element);
      mesh.sets[0].sides.push_back(side);
    }
  std::vector<Nodes> listed;
  mesh.Write(folder_ / "sides.exo");
  int real = 8, stored = 0;
  float version = 0;
  const int file = ex_open((folder_ / "sides.exo").c_str(), EX_READ, &real, &stored, &version);
  ASSERT_GE(file, 0);
  listed = SidesInFile(file, 7);
  ex_close(file);

  const fmt_Import import = exo_ReadMesh(folder_ / "sides.exo");
  ASSERT_TRUE(import.mesh->ElementData().GetClass(0).IsSupported());
  const rgnC_SetData& set = import.sets.back().data;
  ASSERT_EQ(set.GetSetType(), res_SURFACE_SET);
  EXPECT_TRUE(set.IsUnsorted() && set.IsConstructionOk());
  std::size_t at = 0;
  for (int i = 0; i < set.NumSubset(); ++i) {
    const rgnC_SubsetData& subset = set.SubSet(i);
    EXPECT_EQ(subset.SubsetIndex(), i);
    EXPECT_EQ(subset.SubsetType(), i == 0 && numFacets > 0 ? res_SURFACE_FACET : res_SURFACE_EDGE);
    for (std::size_t k = 0; k < subset.IdArray().size(); ++k, ++at) {
      SCOPED_TRACE("side " + std::to_string(at / 2 + 1));
      EXPECT_EQ(subset.IdArray()[k], at % 2 == 0 ? 1 : 0);
      std::size_t corners = 0;
      const Nodes ours = NodesOfFacet(*import.mesh, subset, k, corners);
      ExpectSameSide(ours, corners, listed[at]);
    }
    if (i == 0) {
      EXPECT_EQ(at, static_cast<std::size_t>(numFacets > 0 ? 2 * numFacets : 2 * numSides));
    }
  }
  EXPECT_EQ(at, listed.size());
}

// the library miscounts the nodes of other quadratic wedges, of quadratic pyramids and of shells of nine nodes
INSTANTIATE_TEST_SUITE_P(
    EveryType, Sides,
    testing::Values(Element{"HEX8", 8, 3, 6, 6}, Element{"HEX", 20, 3, 6, 6}, Element{"HEX27", 27, 3, 6, 6},
                    Element{"TETRA", 4, 3, 4, 4}, Element{"TET10", 10, 3, 4, 4}, Element{"WEDGE", 6, 3, 5, 5},
                    Element{"WEDGE15", 15, 3, 3, 3}, Element{"SHELL4", 4, 3, 6, 2},
                    Element{"SHELL8", 8, 3, 6, 2}, Element{"TRISHELL", 3, 3, 5, 2},
                    Element{"TRI", 3, 3, 5, 2}, Element{"TRI6", 6, 3, 5, 2}, Element{"QUAD", 4, 3, 4, 0},
                    Element{"QUAD4", 4, 2, 4, 0}, Element{"QUAD8", 8, 2, 4, 0}, Element{"TRI", 3, 2, 3, 0},
                    Element{"tri6", 6, 2, 3, 0}, Element{"SHELL4", 4, 2, 6, 2}, Element{"BEAM", 2, 3, 1, 0},
                    Element{"TRUSS3", 3, 3, 1, 0}, Element{"PYRAMID", 5, 3, 5, 5},
                    Element{"BAR2", 2, 2, 1, 0}, Element{"SPHERE", 1, 3, 1, 1}),
    [](const auto& info) { return info.param.Name(); });

class Sets : public testing::Test {
protected:
  fmt_Import Import(const ExodusMesh& mesh, unsigned id = 0) {
    mesh.Write(file_);
    return exo_ReadMesh(file_, {.meshId = id});
  }
  static const bme_NamedSet& Named(const fmt_Import& import, const std::string& name) {
    const bme_NamedSet* set = bme_FindSet(import.sets, name, "import");
    if (!set) throw std::out_of_range(name);
    return *set;
  }
  static Nodes Ids(const rgnC_SubsetData& subset) {
    return {subset.IdArray().begin(), subset.IdArray().end()};
  }

  const DDB_CoreGeometry library_;
  const TestFolder folder_;
  const std::string file_ = folder_ / "sets.exo";
};

/// Two hexahedra that cannot be told apart, an element without a shape, a shell.
ExodusMesh Mixed() {
  ExodusMesh mesh = OneHex();
  const Numbers hex = mesh.blocks[0].nodes;
  mesh.blocks[0].nodes.insert(mesh.blocks[0].nodes.end(), hex.begin(), hex.end());
  mesh.blocks.push_back({8, "ROOF5", 5, {1, 2, 3, 4, 5}, "roof"});
  mesh.blocks.push_back({9, "SHELL4", 4, {1, 2, 3, 4}, "skin"});
  return mesh;
}

TEST_F(Sets, KeepNodesElementsAndFacetsByClassInTheirOrder) {
  ExodusMesh mesh = Mixed();
  mesh.sets = {{EX_NODE_SET, 5, "", {}},
               {EX_NODE_SET, 3, "fixed", {8, 1, 2}},
               {EX_SIDE_SET, 3, "wet", {4, 2, 3, 1, 4, 3, 1}, {1, 5, 1, 6, 4, 9, 99}},
               {EX_ELEM_SET, 6, "some", {1, 3, 4, 2}},
               {EX_SIDE_SET, 9, "fixed", {4}, {2}}};
  for (const int mode : {0, EX_NETCDF4 | EX_NOCLASSIC | EX_ALL_INT64_DB}) {
    mesh.mode = mode;
    const fmt_Import import = Import(mesh, 12);
    std::vector<std::string> names;
    for (const bme_NamedSet& set : import.sets) names.push_back(set.Root());
    EXPECT_EQ(names, (std::vector<std::string>{"block 7", "roof", "skin", "node set 5", "fixed", "wet",
                                               "fixed (side set 9)", "some"}));
    EXPECT_EQ(&Named(import, "surface:fixed"), &Named(import, "fixed (side set 9)"));
    EXPECT_EQ(ThrownBy([&] { Named(import, "fixed"); }),
              "import: several sets \"fixed\": node:fixed, surface:fixed");
    const rgnC_SetData& fixed = Named(import, "node:fixed").data;
    EXPECT_EQ(Ids(fixed.SubSet(12, rgnC_SubsetData::kNoClass, res_NODE_SET)), (Nodes{7, 0, 1}));
    EXPECT_EQ(Named(import, "surface:fixed").name, "fixed");
    EXPECT_EQ(Named(import, "wet").kind, rgnC_MESH_SURFACE);
    EXPECT_TRUE(fixed.IsUnsorted() && fixed.SubSet(0).IsUnsorted());
    EXPECT_EQ(fixed.GetSetIndex(), 3);
    EXPECT_EQ(fixed.GetSetLabel(), "fixed");
    EXPECT_EQ(Named(import, "node set 5").data.NumSubset(), 0);

    const rgnC_SetData& some = Named(import, "some").data;
    EXPECT_EQ(some.NumSubset(), 3);
    EXPECT_EQ(Ids(some.SubSet(12, 0, res_ELEMENT_SET)), (Nodes{0, 1}));
    EXPECT_EQ(Ids(some.SubSet(12, 2, res_ELEMENT_SET)), (Nodes{3}));
    EXPECT_FALSE(some.IsUnsorted());

    const rgnC_SetData& wet = Named(import, "wet").data;
    EXPECT_EQ(wet.NumSubset(), 4);
    EXPECT_EQ(Ids(wet.SubSet(12, 0, res_SURFACE_FACET)), (Nodes{1, 0}));
    EXPECT_EQ(Ids(wet.SubSet(12, 1, res_SURFACE_ELEMENT)), (Nodes{2, 2})) << "no shape";
    EXPECT_TRUE(std::ranges::equal(wet.SubSet(12, 1, res_SURFACE_ELEMENT).FacetIdArray(), Nodes{0, 8}));
    EXPECT_EQ(wet.SubSet(12, 2, res_SURFACE_FACET).FacetIdArray()[0], 0);
    EXPECT_EQ(wet.SubSet(12, 2, res_SURFACE_EDGE).FacetIdArray()[0], 1);
    EXPECT_EQ(Named(import, "fixed (side set 9)").data.SubSet(0).FacetIdArray()[0], 1) << "from behind";
    EXPECT_EQ(Ids(Named(import, "block 7").data.SubSet(0)), (Nodes{0, 1}));
    EXPECT_EQ(Named(import, "roof").data.GetSetIndex(), 8);
    const auto unknown =
        std::ranges::find(import.ledger, "sides without a face or edge here", &fmt_LedgerEntry::what);
    ASSERT_NE(unknown, import.ledger.end());
    EXPECT_EQ(unknown->count, 2);
    const auto wrong =
        std::ranges::find(import.ledger, "sides that their elements do not have", &fmt_LedgerEntry::what);
    ASSERT_NE(wrong, import.ledger.end());
    EXPECT_EQ(wrong->detail, "left out: side 99 of element 1 in side set 3");
    for (const fmt_LedgerEntry& entry : import.ledger) EXPECT_EQ(entry.what.find(" sets"), std::string::npos);
  }
}

/// Numbers and names of a kind of a file, "3 fixed".
std::vector<std::string> Listed(const std::string& name, ex_entity_type type, int count) {
  int real = 8, stored = 0;
  float version = 0;
  const int file = ex_open(name.c_str(), EX_READ, &real, &stored, &version);
  std::vector<int> ids(static_cast<std::size_t>(count));
  ex_get_ids(file, type, ids.data());
  std::vector<std::string> listed;
  std::vector<std::array<char, 64>> texts(ids.size());
  std::vector<char*> pointers;
  for (auto& text : texts) pointers.push_back(text.data());
  ex_get_names(file, type, pointers.data());
  for (std::size_t i = 0; i < ids.size(); ++i)
    listed.push_back(std::to_string(ids[i]) + " " + texts[i].data());
  ex_close(file);
  return listed;
}

TEST_F(Sets, LeaveWithTheNamesAndNumbersThatTheyCameWith) {
  ExodusMesh mesh = Mixed();
  mesh.sets = {{EX_NODE_SET, 2, "top", {1}},         {EX_NODE_SET, 0, "bottom", {1}},
               {EX_NODE_SET, 3, "skin", {1}},        {EX_NODE_SET, 1, "left", {1}},
               {EX_SIDE_SET, 0, "bottom", {1}, {1}}, {EX_SIDE_SET, 1, "right", {1}, {1}}};
  fmt_Import import = Import(mesh);
  mesh.sets.push_back({EX_ELEM_SET, 4, "skin", {1}});
  const fmt_Import twice = Import(mesh); // a block and a set of elements of one name: the first is meant
  EXPECT_EQ(Named(twice, "element:skin").data.GetSetIndex(), 9);
  EXPECT_EQ(Named(twice, "skin (element set 4)").data.GetSetIndex(), 4);
  const auto write = [&] {
    uti_OutputFile output(folder_ / "out.exo", {.force = true});
    return exo_WriteMesh(output, *import.mesh, import.sets);
  };
  EXPECT_TRUE(write().empty());
  using Texts = std::vector<std::string>;
  EXPECT_EQ(Listed(folder_ / "out.exo", EX_NODE_SET, 4), (Texts{"2 top", "0 bottom", "3 skin", "1 left"}));
  EXPECT_EQ(Listed(folder_ / "out.exo", EX_SIDE_SET, 2), (Texts{"0 bottom", "1 right"}));
  EXPECT_EQ(Listed(folder_ / "out.exo", EX_ELEM_BLOCK, 3), (Texts{"7 ", "8 roof", "9 skin"}));
  for (bme_NamedSet& set : import.sets)
    if (set.name == "top" || set.name == "left") set.data.SetIndex(set.name == "top" ? 3 : -5);
  const fmt_Ledger changes = write();
  ASSERT_EQ(changes.size(), 1U);
  EXPECT_EQ(changes[0].count, 2);
  EXPECT_EQ(changes[0].detail, "node sets \"skin\" from 3 to 1, \"left\" from -5 to 2");
}

TEST_F(Sets, NameTheEntryThatIsOutside) {
  const auto failure = [&](int type, const Numbers& entries, const Numbers& sides) {
    ExodusMesh mesh = OneHex();
    mesh.sets = {{type, 3, "bad", entries, sides}};
    const cow_String message = ThrownBy([&] { Import(mesh); });
    return message.starts_with(file_ + ": ") ? message.substr(file_.size() + 2) : message;
  };
  EXPECT_EQ(failure(EX_NODE_SET, {1, 9}, {}), "node set 3, entry 2: node 9 is outside 1..8");
  EXPECT_EQ(failure(EX_SIDE_SET, {0}, {1}), "side set 3, entry 1: element 0 is outside 1..1");
  EXPECT_EQ(failure(EX_ELEM_SET, {1, 1, -5}, {}), "element set 3, entry 3: element -5 is outside 1..1");
  EXPECT_EQ(failure(EX_SIDE_SET, {1}, {-1}), kNothingThrown); // a side that no element has
}

} // namespace
