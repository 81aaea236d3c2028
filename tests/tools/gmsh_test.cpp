// Gmsh files as others write them: node orders, groups, forms, and what is wrong with them.
#include "ExodusWriter.h"

#include <BasicUtils/thr_ThreadSingleton.h>
#include <BasicUtils/wip_WIP.h>
#include <CoreGeometry/bme_Measures.h>
#include <CoreGeometry/fmt_Format.h>
#include <CoreGeometry/shp_Shape.h>
#include <ThrownBy.h>
#include <algorithm>
#include <cstring>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>

namespace {
void WriteText(const std::string& file, const std::string& text) {
  std::ofstream(file, std::ios::binary) << text;
}

/// Where the documentation's pictures have the nodes, along x, y and z.
struct Type {
  int number, dims;
  const char* label;
  double volume; ///< of a solid
  std::vector<const char*> nodes;
};
const std::vector<Type> kTypes = {
    {1, 1, "B31", 0, {"000", "200"}},
    {8, 1, "B32", 0, {"000", "200", "100"}},
    {9, 2, "STRI65", 0, {"000", "200", "020", "100", "110", "010"}},
    {16, 2, "S8R", 0, {"000", "200", "220", "020", "100", "210", "120", "010"}},
    {10, 2, "S9R5", 0, {"000", "200", "220", "020", "100", "210", "120", "010", "110"}},
    {11, 3, "C3D10", 8 / 6., {"000", "200", "020", "002", "100", "110", "010", "001", "011", "101"}},
    {12, 3, "C3D27", 8, {"000", "200", "220", "020", "002", "202", "222", "022", "100",
                         "010", "001", "210", "201", "120", "221", "021", "102", "012",
                         "212", "122", "110", "101", "011", "211", "121", "112", "111"}},
    {17, 3, "C3D20", 8, {"000", "200", "220", "020", "002", "202", "222", "022", "100", "010",
                         "001", "210", "201", "120", "221", "021", "102", "012", "212", "122"}},
    {13,
     3,
     "C3D15V",
     4,
     {"000", "200", "020", "002", "202", "022", "100", "010", "001", "110", "201", "021", "102", "012", "112",
      "101", "011", "111"}},
    {18,
     3,
     "C3D15",
     4,
     {"000", "200", "020", "002", "202", "022", "100", "010", "001", "110", "201", "021", "102", "012",
      "112"}},
    {7, 3, "C3D8", 32 / 3., {"000", "400", "440", "040", "222"}},
    {19,
     3,
     "C3D20",
     32 / 3.,
     {"000", "400", "440", "040", "222", "200", "020", "111", "420", "311", "240", "331", "131"}},
};

std::string TextOf(const Type& type) {
  std::ostringstream text;
  text << "$MeshFormat\n2.2 0 8\n$EndMeshFormat\n$Nodes\n" << type.nodes.size() << '\n';
  for (std::size_t i = 0; i < type.nodes.size(); ++i)
    text << i + 1 << ' ' << type.nodes[i][0] << ' ' << type.nodes[i][1] << ' ' << type.nodes[i][2] << '\n';
  text << "$EndNodes\n$Elements\n1\n1 " << type.number << " 2 0 1";
  for (std::size_t i = 0; i < type.nodes.size(); ++i) text << ' ' << i + 1;
  text << "\n$EndElements\n";
  return text.str();
}

/// A square of two triangles and a side of it, with groups, as ascii of version 4.1.
const std::string kSquare = R"($MeshFormat
4.1 0 8
$EndMeshFormat
$PhysicalNames
4
0 4 "pin"
1 2 "edge"
2 7 "plate"
2 8 "also the plate"
$EndPhysicalNames
$Entities
1 1 1 0
1 0 0 0 1 4
5 0 0 0 1 0 0 1 2 0
3 0 0 0 1 1 0 2 7 8 1 5
$EndEntities
$Nodes
2 4 10 40
2 3 0 1
30
0.5 0.25 0
1 5 1 3
10
20
40
0 0 0 0
1 0 0 1
1 1 0 .5
$EndNodes
$Elements
3 4 1 9
0 1 15 1
9 10
1 5 1 1
1 10 20
2 3 2 2
2 10 20 30
3 20 40 30
$EndElements
$Periodic
0
$EndPeriodic
$NodeData
1
"heat"
1
0
3
0
1
1
10 5.5
$EndNodeData
)";

std::string SetsOf(const fmt_Import& read) {
  std::ostringstream text;
  for (const bme_NamedSet& set : read.sets) {
    text << set.name << (set.kind == rgnC_NODE_SET ? " n" : " e") << set.data.GetSetIndex() << ':';
    for (int i = 0; i < set.data.NumSubset(); ++i)
      for (const int id : set.data.SubSet(i).IdArray()) text << ' ' << id;
    text << "; ";
  }
  return text.str();
}
std::string ClassesOf(const fmt_Import& read) {
  std::ostringstream text;
  for (unsigned i = 0; i < read.mesh->ElementData().NumClasses(); ++i) {
    const bme_ElementClass& type = read.mesh->ElementData().GetClass(i);
    text << type.ElemTypeLabel() << ' ' << type.CategoryLabel() << ' ' << type.NumElements() << "; ";
  }
  return text.str();
}

/// The numbers of a binary file in either order of bytes.
struct Bytes {
  bool isSwapped;
  std::size_t sizeBytes;
  std::string bytes{};

  template<class T> Bytes& Put(T value) {
    char raw[sizeof(T)];
    std::memcpy(raw, &value, sizeof(T));
    if (isSwapped) std::reverse(raw, raw + sizeof(T));
    bytes.append(raw, sizeof(T));
    return *this;
  }
  Bytes& Ints(std::initializer_list<int> values) {
    for (const int value : values) Put(value);
    return *this;
  }
  Bytes& Sizes(std::initializer_list<unsigned> values) {
    for (const unsigned value : values) sizeBytes == 8 ? Put(std::uint64_t{value}) : Put(value);
    return *this;
  }
  Bytes& Reals(std::initializer_list<double> values) {
    for (const double value : values) Put(value);
    return *this;
  }
  Bytes& Text(const std::string& text) {
    bytes += text;
    return *this;
  }
};

/// A triangle, twice: of version 4.1 with groups and an unknown section, and of 2.2.
std::string BinaryTriangle(bool isSwapped, std::size_t sizeBytes, bool isOld) {
  Bytes out{isSwapped, sizeBytes};
  out.Text("$MeshFormat\n").Text(isOld ? "2.2 1 " : "4.1 1 ").Text(sizeBytes == 8 ? "8\n" : "4\n");
  out.Put(1).Text("\n$EndMeshFormat\n$PhysicalNames\n1\n2 7 \"plate\"\n$EndPhysicalNames\n");
  if (isOld) {
    out.Text("$Nodes\n3\n");
    for (const int node : {1, 2, 3}) out.Put(node).Reals({node * 1., node == 2 ? 1. : 0., 0.});
    out.Text("\n$EndNodes\n$Elements\n1\n").Ints({2, 1, 3, 5, 7, 1, 0, 1, 2, 3}).Text("\n$EndElements\n");
    return out.bytes;
  }
  out.Text("$Entities\n")
      .Sizes({0, 0, 1, 0})
      .Ints({3})
      .Reals({0, 0, 0, 1, 1, 0})
      .Sizes({1})
      .Ints({7})
      .Sizes({0});
  out.Text("\n$EndEntities\n$Strange\n").Ints({1, 2, 3}).Text("\n$EndStrange\n$Nodes\n").Sizes({1, 3, 1, 3});
  out.Ints({2, 3, 1}).Sizes({3, 1, 2, 3}); // parametric
  for (const int node : {1, 2, 3}) out.Reals({node * 1., node == 2 ? 1. : 0., 0., 9., 9.});
  out.Text("\n$EndNodes\n$Elements\n").Sizes({1, 1, 5, 5}).Ints({2, 3, 2}).Sizes({1, 5, 1, 2, 3});
  return out.Text("\n$EndElements\n").bytes;
}
} // namespace

TEST(Gmsh, NodesStandWhereTheDocumentationHasThem) {
  const TestFolder folder;
  for (const Type& type : kTypes) {
    SCOPED_TRACE(type.number);
    WriteText(folder / "a.msh", TextOf(type));
    const fmt_Import read = fmt_ReadMesh(folder / "a.msh");
    const bme_ElementClass& elements = read.mesh->ElementData().GetClass(0);
    ASSERT_EQ(elements.ElemTypeLabel(), type.label);
    const shp_Shape& shape = *elements.Shape();
    const std::span<const int> row = elements.Connectivity(0);
    const auto at = [&](int local, int axis) {
      return double{read.mesh->NodeData()
                        .Coordinates()
                        .Const()[static_cast<std::size_t>(3 * row[static_cast<std::size_t>(local)] + axis)]};
    };
    const auto expectBetween = [&](int middle, int a, int b) {
      for (int axis = 0; axis < 3; ++axis)
        EXPECT_EQ(2 * at(middle, axis), at(a, axis) + at(b, axis)) << middle;
    };
    for (int face = 0; face < std::max(1, shape.NumFaces()); ++face) {
      for (int edge = 0; edge < std::max(1, shape.MaxEdgesPerFace()); ++edge) {
        const std::span<const int> nodes = shape.EdgeNodes(face, edge);
        if (nodes.size() == 3) expectBetween(nodes[1], nodes[0], nodes[2]);
      }
      const std::span<const int> nodes = shape.FaceNodes(face);
      if (nodes.size() == 9) expectBetween(nodes[8], nodes[0], nodes[2]);
    }
    EXPECT_NEAR(bme_CalculateMeasures(*read.mesh).volume.SignedTotal(), type.volume, 1e-6);
  }
}

TEST(Gmsh, GroupsBecomeSetsAndEntitiesClasses) {
  const TestFolder folder;
  WriteText(folder / "a.msh", kSquare);
  const fmt_Import read = fmt_ReadMesh(folder / "a.msh");
  EXPECT_EQ(SetsOf(read), "pin n4: 1; edge e2: 0; plate e7: 1 2; also the plate e8: 1 2; ");
  EXPECT_EQ(ClassesOf(read), "B31 edge 1; S3 plate 2; ");
  EXPECT_EQ(read.mesh->NodeData()[read.mesh->NodeData().GetMeshNodeIndex(30)], (uti_Coord3D{0.5F, 0.25F, 0}));
  ASSERT_EQ(read.ledger.size(), 2U);
  EXPECT_EQ(read.ledger[0].what, "sections $Periodic");
  EXPECT_EQ(read.ledger[1].what + read.ledger[1].detail, "results $NodeData\"heat\"");
}

TEST(Gmsh, ElementsGivenOncePerGroupAreOneInSeveralSets) {
  const std::string start = "$MeshFormat\n2.2 0 8\n$EndMeshFormat\n$Nodes\n4\n1 0 0 0\n2 1 0 0\n3 0 1 0\n4 1 "
                            "1 0\n$EndNodes\n$Elements\n";
  const char* const same[] = {
      "3\n1 2 2 1 9 1 2 3\n2 2 2 1 9 2 4 3\n1 2 2 2 9 1 2 3\n",                   // by its tag
      "4\n1 2 2 1 9 1 2 3\n2 2 2 1 9 2 4 3\n3 2 2 2 9 1 2 3\n4 2 2 2 9 2 4 3\n"}; // whole entities
  const char* const sets[] = {"physical 2 1 e1: 0 1; physical 2 2 e2: 0; ",
                              "physical 2 1 e1: 0 1; physical 2 2 e2: 0 1; "};
  const TestFolder folder;
  for (int i = 0; i < 2; ++i) {
    WriteText(folder / "a.msh", start + same[i] + "$EndElements\n");
    const fmt_Import read = fmt_ReadMesh(folder / "a.msh");
    EXPECT_EQ(read.mesh->ElementData().NumElements(), 2U);
    EXPECT_EQ(SetsOf(read), sets[i]);
  }
}

TEST(Gmsh, ManyEntitiesAreFewClasses) {
  std::ostringstream text;
  text << "$MeshFormat\n2.2 0 8\n$EndMeshFormat\n$Nodes\n3\n1 0 0 0\n2 1 0 0\n3 0 1 "
          "0\n$EndNodes\n$Elements\n10000\n";
  for (int i = 1; i <= 10000; ++i) text << i << " 2 2 " << i % 3 << ' ' << i << " 1 2 3\n";
  const TestFolder folder;
  WriteText(folder / "a.msh", text.str() + "$EndElements\n");
  EXPECT_EQ(ClassesOf(fmt_ReadMesh(folder / "a.msh")),
            "S3 physical 2 1 3334; S3 physical 2 2 3333; S3 entities of dimension 2 3333; ");
}

TEST(Gmsh, BinaryFilesInBothOrdersOfBytesAreRead) {
  const TestFolder folder;
  for (const bool isOld : {false, true})
    for (const bool isSwapped : {false, true})
      for (const std::size_t sizeBytes : {std::size_t{4}, std::size_t{8}}) {
        if (isOld && sizeBytes == 4) continue;
        SCOPED_TRACE(testing::Message() << isOld << isSwapped << sizeBytes);
        const std::string bytes = BinaryTriangle(isSwapped, sizeBytes, isOld);
        WriteText(folder / "a.msh", bytes);
        const fmt_Import read = fmt_ReadMesh(folder / "a.msh");
        EXPECT_EQ(SetsOf(read), "plate e7: 0; ");
        EXPECT_EQ(read.mesh->ElementData().GetClass(0).UserElementLabels()[0], 5);
        EXPECT_EQ(read.mesh->NodeData()[1], (uti_Coord3D{2, 1, 0}));
        for (std::size_t size = 0; size + 14 < bytes.size();
             ++size) { // "$EndElements" and its end of line may be cut
          WriteText(folder / "cut.msh", bytes.substr(0, size));
          EXPECT_NE(ThrownBy([&] { fmt_ReadMesh(folder / "cut.msh", fmt_Find("gmsh")); }), kNothingThrown)
              << size;
        }
      }
}

TEST(Gmsh, SaysWhatIsWrongAndWhere) {
  struct Case {
    std::string before, after, message;
  };
  const Case cases[] = {
      {"4.1 0 8", "4 0 8", "$MeshFormat, line 2: version 4 is not read, but 2.2 and 4.1 are"},
      {"4.1 0 8", "4.1 2 8", "the form is 2, neither 0 nor 1"},
      {"4.1 0 8", "4.1 0 16", "numbers of 16 bytes are not read"},
      {"2 7 \"plate\"", "2 7 plate", "$PhysicalNames, line 9: the name of a group must stand in quotes"},
      {"2 7 \"plate\"", "5 7 \"plate\"", "dimension 5 is outside 0..3"},
      {"2 4 10 40", "2 4000 10 40", "$Nodes, line 18: 4000 nodes cannot be in the"},
      {"2 4 10 40", "2 3 10 40", "$Nodes, block 2, line 22: 3 nodes, where 2 are left of those announced"},
      {"2 4 10 40", "2 5 10 40", "$Nodes, line 28: 1 nodes fewer than announced"},
      {"2 4 10 40", "2 -4 10 40", "-4 nodes cannot be in the"},
      {"0.5 0.25", "0.5 x", "$Nodes, block 1, line 21: \"x\" is not a coordinate"},
      {"0.5 0.25", "0.5 nan", "node 1: y = nan is not a number"},
      {"0.5 0.25", "0.5 1e60", "does not fit single precision"},
      {"\n20\n40\n", "\n20\n10\n", "tag 10 is given twice, to nodes 2 and 4"},
      {"\n20\n40\n", "\n20\n0\n", "tag 0 of a node is outside 1..2147483647"},
      {"\n20\n40\n", "\n20\n4000000000\n", "tag 4000000000 of a node is outside"},
      {"3 20 40 30", "3 20 50 30", "$Elements, block 3, line 38: element 3: node 50 is not in $Nodes"},
      {"3 20 40 30", "2 20 40 30", "$Elements: tag 2 is given to two elements that differ, TRI3 and TRI3"},
      {"2 3 2 2", "2 3 99 2", "element type 99 is not known"},
      {"2 3 2 2", "2 3 4 2", "elements TETRA4 in an entity of dimension 2"},
      {"2 3 2 2", "2 3 2 200", "200 elements, where 2 are left of those announced"},
      {"3 4 1 9", "3 5 1 9", "$Elements, line 38: 1 elements fewer than announced"},
      {"$EndElements", "$EndElement", "\"$EndElement\" stands where $EndElements should be"},
      {"$EndPeriodic", "$EndPeriod", "$Periodic, line"},
      {"$Nodes", "$Nods", "there are no nodes yet"},
      {"$Elements", "what is this\n$Elements", "no section begins here"},
  };
  const TestFolder folder;
  for (const Case& one : cases) {
    std::string text = kSquare;
    text.replace(text.find(one.before), one.before.size(), one.after);
    if (one.before == "$Nodes") text.replace(text.find("$EndNodes"), 9, "$EndNods");
    WriteText(folder / "a.msh", text);
    const cow_String message = ThrownBy<nex_TextException>([&] { fmt_ReadMesh(folder / "a.msh"); });
    EXPECT_NE(message.find(one.message), cow_String::npos) << one.after << ": " << message;
    EXPECT_TRUE(message.starts_with(folder / "a.msh")) << message;
  }
}

/// Counts the questions whether to stop, and says yes to one of them.
struct Stopper : wip_WIPBase {
  explicit Stopper(long at) : stopAt(at) { thr_ThreadSingleton<wip_WIP>::Instance().SetSink(this); }
  ~Stopper() override { thr_ThreadSingleton<wip_WIP>::Instance().SetSink(nullptr); }
  bool IsCancelled() override { return ++asked == stopAt; }

  long asked = 0, stopAt;
};

TEST(Gmsh, IsStoppedAlsoWhileRepeatedElementsAreMerged) {
  const TestFolder folder;
  std::vector<long> asked;
  for (const char* second : {"2", "1"}) { // its tag: another element, and the first one in another group
    const std::string file = folder / "a.msh";
    WriteText(file,
              std::string("$MeshFormat\n2.2 0 8\n$EndMeshFormat\n$Nodes\n3\n1 0 0 0\n2 1 0 0\n3 0 1 0\n")
                  + "$EndNodes\n$Elements\n3\n1 2 2 7 1 1 2 3\n" + second
                  + " 2 2 8 1 1 2 3\n5 2 2 8 1 2 3 1\n$EndElements\n");
    Stopper never(-1);
    EXPECT_EQ(fmt_ReadMesh(file).mesh->ElementData().NumElements(), second[0] == '1' ? 2U : 3U);
    asked.push_back(never.asked);
    for (long at = 1; at <= asked.back(); ++at) {
      Stopper stopper(at);
      EXPECT_THROW(fmt_ReadMesh(file), wip_Cancelled) << at;
    }
  }
  EXPECT_GT(asked[1], asked[0] + 4) << "merging asks, too";
}
