#include "ExodusWriter.h"
#include "ThreadExecutor.h"
#include "VtuReader.h"

#include <CoreGeometry/shp_ShapeDictionary.h>
#include <CoreGeometry/vtu_Write.h>
#include <fstream>
#include <gtest/gtest.h>
#include <mesh/EntityMeshes.h>

namespace {
bme_NamedSet SetOf(const cow_String& name, rgnC_SetType kind,
                   const std::vector<std::pair<res_SetTypeEnm, std::vector<int>>>& subsets, int mesh = 1) {
  bme_NamedSet set{name, kind, {}};
  for (const auto& [type, ids] : subsets)
    set.data.AppendSubset(
        {mesh, rgnC_SubsetData::kNoClass, 0, 0, type, false, rgnC_SubsetData::Ids(ids), {}});
  return set;
}
bme_NamedSet Nodes(const cow_String& name, const std::vector<int>& ids) {
  return SetOf(name, rgnC_NODE_SET, {{res_NODE_SET, ids}});
}
bme_NamedSet Elements(const cow_String& name, const std::vector<int>& ids) {
  return SetOf(name, rgnC_ELEMENT_SET, {{res_ELEMENT_SET, ids}});
}

using Marks = std::vector<signed char>;
} // namespace

TEST(vtu_Write, HasCellsAndMarksOfEveryClassAsTheyAre) {
  MeshMaker maker;
  for (int i = 0; i < 8; ++i) // corners of a hexahedron in its order
    for (const int value : {(i + 1) / 2 % 2, i / 2 % 2, i / 4})
      maker.xyz.push_back(static_cast<float>(value));
  const auto mesh = maker.Class("C3D8", 8, {0, 1, 2, 3, 4, 5, 6, 7}, {11})
                        .Class("C3D4", 4, {0, 1, 2, 5, 0, 2, 3, 7}, {9, 8})
                        .Class("S4", 4, {4, 5, 6, 7}, {3})
                        .Class("S3", 3, {0, 1, 2}, {4})
                        .Class("B31", 2, {7, 0}, {1})
                        .Class("MASS", 1, {6}, {2})
                        .Class("NOSUCH", 3, {1, 2, 3}, {12})
                        .Make();
  const TestFolder folder;
  const std::vector<bme_NamedSet> sets = {Nodes("some <nodes> & \"more\"", {7, 0}),
                                          Elements("shells", {3, 4}),
                                          SetOf("elsewhere", rgnC_NODE_SET, {{res_NODE_SET, {1}}}, 2)};
  uti_OutputFile all(folder / "all.vtu");
  const fmt_Ledger ledger = vtu_WriteMesh(all, *mesh, sets);
  const Vtu vtu(folder / "all.vtu");
  EXPECT_EQ(vtu.NumPoints(), 8U);
  EXPECT_EQ(vtu.NumCells(), 8U);
  EXPECT_EQ(vtu.Values<float>("Points"), maker.xyz);
  EXPECT_EQ(vtu.Values<int>("connectivity"), (std::vector<int>{0, 1, 2, 3, 4, 5, 6, 7, 0, 1, 2, 5, 0, 2, 3,
                                                               7, 4, 5, 6, 7, 0, 1, 2, 7, 0, 6, 1, 2, 3}));
  EXPECT_EQ(vtu.Values<std::int64_t>("offsets"), (std::vector<std::int64_t>{8, 12, 16, 20, 23, 25, 26, 29}));
  // hexahedron, tetrahedra, quadrilateral, triangle, line, vertex, cloud of points
  EXPECT_EQ(vtu.Values<unsigned char>("types"), (std::vector<unsigned char>{12, 10, 10, 9, 5, 3, 1, 2}));
  EXPECT_EQ(vtu.Values<int>("ElementLabel"), (std::vector<int>{11, 9, 8, 3, 4, 1, 2, 12}));
  EXPECT_EQ(vtu.Values<int>("ElementClass"), (std::vector<int>{0, 1, 1, 2, 3, 4, 5, 6}));
  EXPECT_EQ(vtu.Names("PointData"), std::vector<std::string>{"some <nodes> & \"more\""});
  EXPECT_EQ(vtu.Values<signed char>("some <nodes> & \"more\""), (Marks{1, 0, 0, 0, 0, 0, 0, 1}));
  EXPECT_EQ(vtu.Values<signed char>("shells"), (Marks{0, 0, 0, 1, 1, 0, 0, 0}));
  EXPECT_TRUE(std::ranges::none_of(ledger, [](const auto& entry) { return entry.what == "names of sets"; }));
}

/// Middle nodes stand between the corners of their edge, in VTK's order of edges: below, above, upright. The
/// first three corners are seen from inside, those of a wedge from outside.
TEST(vtu_Write, HasNodesOfSolidsWhereTheCellHasThem) {
  struct Case {
    const char* label;
    unsigned char type;
    int side;
    std::vector<std::array<std::size_t, 2>> edges;
  };
  const std::vector<std::array<std::size_t, 2>> ofTetrahedron = {{0, 1}, {1, 2}, {2, 0},
                                                                 {0, 3}, {1, 3}, {2, 3}},
                                                ofWedge = {{0, 1}, {1, 2}, {2, 0}, {3, 4}, {4, 5},
                                                           {5, 3}, {0, 3}, {1, 4}, {2, 5}},
                                                ofHexahedron = {{0, 1}, {1, 2}, {2, 3}, {3, 0},
                                                                {4, 5}, {5, 6}, {6, 7}, {7, 4},
                                                                {0, 4}, {1, 5}, {2, 6}, {3, 7}};
  const TestFolder folder;
  for (const auto& [label, type, side, edges] : {Case{"C3D4", 10, 1, {}},
                                                 {"C3D10", 24, 1, ofTetrahedron},
                                                 {"C3D6", 13, 1, {}},
                                                 {"C3D15", 26, 1, ofWedge},
                                                 {"C3D8", 12, 1, {}},
                                                 {"C3D20", 25, 1, ofHexahedron}}) {
    const shp_Shape& shape = *thr_ThreadSingleton<shp_ShapeDictionary>::Instance().GetShape(label);
    MeshMaker maker;
    std::vector<int> row;
    for (const shp_IsoPoint& node : shape.NodeCoordinates()) {
      row.push_back(static_cast<int>(row.size()));
      for (const double value : node) maker.xyz.push_back(static_cast<float>(value));
    }
    uti_OutputFile output(folder / "cell.vtu", {.force = true});
    vtu_WriteMesh(output, *maker.Class(label, row.size(), row).Make(), {});
    const Vtu vtu(folder / "cell.vtu");
    EXPECT_EQ(vtu.Values<unsigned char>("types"), std::vector<unsigned char>{type}) << label;
    const auto points = vtu.Values<float>("Points");
    const auto cell = vtu.Values<int>("connectivity");
    const auto at = [&](std::size_t i, std::size_t axis) {
      return points[3 * static_cast<std::size_t>(cell[i]) + axis % 3];
    };
    const std::size_t above = type == 12 || type == 25 ? 4 : 3, numCorners = cell.size() - edges.size();
    double along = 0;
    for (std::size_t a = 0; a < 3; ++a)
      along += double{(at(above, a) - at(0, a))
                      * ((at(1, a + 1) - at(0, a + 1)) * (at(2, a + 2) - at(0, a + 2))
                         - (at(1, a + 2) - at(0, a + 2)) * (at(2, a + 1) - at(0, a + 1)))};
    EXPECT_GT(along * side, 0.5) << label;
    for (const auto wedges : {exo_VtkWedges::LinearMirrored, exo_VtkWedges::Mirrored}) {
      const bool isMirrored = type == 13 || (type == 26 && wedges == exo_VtkWedges::Mirrored);
      const auto order = exo_FindVtkCell(shape.NodeCoordinates(), wedges)->order;
      EXPECT_EQ(order[0] == 0 && order[1] == 2 && order[2] == 1, isMirrored) << label;
    }
    for (std::size_t k = 0; k < edges.size(); ++k)
      for (std::size_t axis = 0; axis < 3; ++axis)
        EXPECT_EQ(2 * at(numCorners + k, axis), at(edges[k][0], axis) + at(edges[k][1], axis)) << label << k;
  }
}

/// Blocks have 262144 bytes: several with a rest, several without, none at all, not compressed.
TEST(vtu_Write, HasLongArraysInBlocks) {
  const TestFolder folder;
  const auto check = [&](const bme_Mesh& mesh, std::size_t numBlocks) {
    uti_OutputFile output(folder / "long.vtu", {.force = true});
    vtu_WriteMesh(output, mesh, {}, exo_VtkWedges::Plain,
                  numBlocks > 0 ? fmt_Encoding::Compressed : fmt_Encoding::Default);
    const Vtu vtu(folder / "long.vtu");
    EXPECT_TRUE(std::ranges::equal(vtu.Values<float>("Points"), mesh.NodeData().Coordinates().Const()));
    EXPECT_EQ(vtu.NumBlocks("Points"), numBlocks);
    std::vector<int> all;
    for (unsigned i = 0; i < mesh.ElementData().NumClasses(); ++i) {
      const std::span<const int> rows = mesh.ElementData().GetClass(i).ElementConnectivity().Const();
      all.insert(all.end(), rows.begin(), rows.end());
    }
    EXPECT_EQ(vtu.Values<int>("connectivity"), all);
    EXPECT_EQ(vtu.NumCells(), mesh.ElementData().NumElements());
  };
  for (const std::size_t numBlocks : {0U, 2U})
    check(*MeshMaker().Box(40, 30, 25).Make(), numBlocks); // 33046 nodes
  MeshMaker exact;
  exact.Nodes(65536);
  for (std::size_t i = 0; i < exact.xyz.size(); ++i) exact.xyz[i] = static_cast<float>(i);
  check(*exact.Class("B31", 2, {0, 65535}).Make(), 3);
  check(*MeshMaker().Nodes(2).Make(), 1);
  check(*MeshMaker().Make(), 0);
}

TEST(vtu_Write, HasTheSameBytesWithAnyNumberOfThreads) {
  const TestFolder folder;
  const auto mesh = MeshMaker().Box(60, 60, 20).Make(); // arrays of several blocks
  const auto bytes = [&] {
    uti_OutputFile output(folder / "box.vtu", {.force = true});
    vtu_WriteMesh(output, *mesh, {}, exo_VtkWedges::Plain, fmt_Encoding::Compressed);
    std::ifstream in(folder / "box.vtu", std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
  };
  const std::string serial = bytes();
  EXPECT_GT(serial.size(), 100000U);
  for (const unsigned numThreads : {2U, 3U}) {
    ThreadExecutor executor(numThreads);
    const wip_ExecutorScope lent(&executor);
    EXPECT_EQ(bytes() == serial, true) << numThreads;
  }
}

TEST(vtu_Write, GivesEachArrayANameOfItsOwnAndTellsOfOthers) {
  const auto mesh = MeshMaker().Box(3, 1, 1).Make();
  const std::vector<bme_NamedSet> sets = {
      Elements("A", {0}),
      Nodes("A", {1}),
      Elements("A (elements)", {1}), // of its name there is no other
      Nodes("A", {2}),
      Elements("A", {2}),
      SetOf("both", rgnC_ELEMENT_SET, {{res_ELEMENT_SET, {0, 1}}, {res_NODE_SET, {3}}, {res_NODE_SET, {4}}}),
      Nodes("ElementClass", {5}),
      Nodes("a\tb", {6}),
      Nodes("a b", {7}),
      Elements("", {1, 2}),
      Elements("Gr\xF6\xC3\x9F\x65 \xED\xA0\x80\xC0\xAF\xE2\x82", {0, 2})};
  const TestFolder folder;
  uti_OutputFile output(folder / "names.vtu");
  const fmt_Ledger ledger = vtu_WriteMesh(output, *mesh, sets);
  const Vtu vtu(folder / "names.vtu");
  EXPECT_EQ(vtu.Names("PointData"), (std::vector<std::string>{"A", "A (nodes)", "both",
                                                              "ElementClass (nodes)", "a b", "a b (nodes)"}));
  EXPECT_EQ(vtu.Names("CellData"),
            (std::vector<std::string>{"ElementClass", "A (elements 2)", "A (elements)", "A (elements 3)",
                                      "both (elements)", "(elements)", "Gr?\xC3\x9F\x65 ???????"}));
  const auto marked = [&](const std::string& name) {
    const Marks marks = vtu.Values<signed char>(name);
    std::vector<int> ids;
    for (std::size_t i = 0; i < marks.size(); ++i)
      if (marks[i] != 0) ids.push_back(static_cast<int>(i));
    return ids;
  };
  const std::pair<const char*, std::vector<int>> expected[] = {{"A", {1}},
                                                               {"A (nodes)", {2}},
                                                               {"A (elements 2)", {0}},
                                                               {"A (elements)", {1}},
                                                               {"A (elements 3)", {2}},
                                                               {"both", {3, 4}},
                                                               {"both (elements)", {0, 1}},
                                                               {"ElementClass (nodes)", {5}},
                                                               {"a b", {6}},
                                                               {"a b (nodes)", {7}},
                                                               {"(elements)", {1, 2}}};
  for (const auto& [name, ids] : expected) EXPECT_EQ(marked(name), ids) << name;
  const auto names = std::ranges::find(ledger, "names of sets", &fmt_LedgerEntry::what);
  ASSERT_NE(names, ledger.end());
  EXPECT_EQ(names->count, 9);
  EXPECT_EQ(names->detail,
            "as \"A (nodes)\", \"ElementClass (nodes)\", \"a b\", \"a b (nodes)\", \"A (elements 2)\", \"A "
            "(elements 3)\", \"both (elements)\", \"(elements)\", \"Gr?\xC3\x9F\x65 ???????\"");
}

TEST(vtu_Write, RefusesSetsThatTheMeshDoesNotHaveAndLeavesTheFileAsItWas) {
  const auto mesh = MeshMaker().Box(1, 1, 1).Make();
  const TestFolder folder;
  const std::string file = folder / "kept.vtu";
  {
    uti_OutputFile output(file);
    vtu_WriteMesh(output, *mesh, {});
  }
  const std::vector<bme_NamedSet> wrong = {Nodes("far", {8})};
  try {
    uti_OutputFile output(file, {.force = true});
    vtu_WriteMesh(output, *mesh, wrong);
    FAIL();
  } catch (const nex_TextException& failure) {
    EXPECT_EQ(failure.Message(), "set \"far\": index 8 is outside the 8 of the mesh");
  }
  EXPECT_EQ(Vtu(file).NumPoints(), 8U);
}
