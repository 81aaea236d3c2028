// Grids of VTK: what our writer and what others write, and what is damaged.
#include "ExodusWriter.h"

#include <CoreGeometry/bme_FEMElemList.h>
#include <CoreGeometry/bme_Measures.h>
#include <CoreGeometry/bme_Pyramids.h>
#include <CoreGeometry/shp_ShapeDictionary.h>
#include <CoreGeometry/vtu_Read.h>
#include <CoreGeometry/vtu_Write.h>
#include <algorithm>
#include <fstream>
#include <gtest/gtest.h>
#include <mesh/EntityMeshes.h>
#include <zlib.h>

namespace {
const shp_ShapeDictionary& Dictionary() { return thr_ThreadSingleton<shp_ShapeDictionary>::Instance(); }

std::vector<shp_IsoPoint> PlacesOf(const bme_ElementClass& elements) {
  const auto ours = elements.Shape()->NodeCoordinates();
  if (bme_PyramidNodes(elements) > 0) return exo_Collapsed(ours);
  return {ours.begin(), ours.end()};
}

/// Where class i has the node of its element that stands there: sheared, so that no two directions look alike.
std::array<float, 3> At(std::size_t i, const shp_IsoPoint& iso) {
  return {static_cast<float>(2 * iso[0] + 0.25 * iso[1] + 0.5 * iso[2] + 8 * static_cast<double>(i)),
          static_cast<float>(4 * iso[1] + 0.125 * iso[2]), static_cast<float>(iso[2])};
}

void ExpectNodesInPlace(const bme_Mesh& mesh) {
  const auto xyz = mesh.NodeData().Coordinates().Const();
  for (unsigned i = 0; i < mesh.ElementData().NumClasses(); ++i) {
    const bme_ElementClass& elements = mesh.ElementData().GetClass(i);
    const auto places = PlacesOf(elements);
    for (std::size_t k = 0; k < places.size(); ++k) {
      const auto node = static_cast<std::size_t>(elements.Connectivity(0)[k]);
      const auto expected = At(i, places[k]);
      EXPECT_TRUE(std::ranges::equal(xyz.subspan(3 * node, 3), expected)) << elements.ElemTypeLabel() << k;
    }
  }
}

std::vector<int> Items(const bme_NamedSet& set) {
  std::vector<int> ids;
  for (int i = 0; i < set.data.NumSubset(); ++i)
    ids.insert(ids.end(), set.data.SubSet(i).IdArray().begin(), set.data.SubSet(i).IdArray().end());
  return ids;
}
std::vector<int> Items(const fmt_Import& read, const cow_String& name) {
  const auto at = std::ranges::find(read.sets, name, &bme_NamedSet::name);
  return at == read.sets.end() ? std::vector<int>{-1} : Items(*at);
}
cow_String Listed(const fmt_Import& read, const cow_String& what) {
  const auto at = std::ranges::find(read.ledger, what, &fmt_LedgerEntry::what);
  return at == read.ledger.end() ? "(not listed)" : std::to_string(at->count) + " " + at->detail;
}
std::vector<int> ElementLabels(const bme_Mesh& mesh) {
  std::vector<int> labels;
  for (unsigned i = 0; i < mesh.ElementData().NumClasses(); ++i)
    for (const int label : mesh.ElementData().GetClass(i).UserElementLabels()) labels.push_back(label);
  return labels;
}

struct Text {
  const TestFolder& folder;
  std::string name, content;

  fmt_Import Read() const {
    std::ofstream(folder / name, std::ios::binary) << content;
    return fmt_ReadMesh(folder / name);
  }
  Text With(const std::string& from, const std::string& to) const {
    Text changed = *this;
    const std::size_t at = content.find(from);
    EXPECT_NE(at, std::string::npos) << from;
    return changed.content.replace(at, from.size(), to), changed;
  }
};

const std::string kGrid = R"(<?xml version="1.0"?>
<VTKFile type="UnstructuredGrid" version="1.0" byte_order="LittleEndian" header_type="UInt64">
<UnstructuredGrid>
<Piece NumberOfPoints="6" NumberOfCells="3">
<Points>
<DataArray type="Float64" Name="Points" NumberOfComponents="3" format="ascii">
0 0 0 +1 0 0  1 1 0
0 1 0 0.5 0.5 1e0 2 0 0
<InformationKey name="L2" location="x"><Value index="0">7</Value></InformationKey>
</DataArray>
</Points>
<Cells>
<DataArray type="Int64" Name="connectivity" format="ascii">0 1 2 4 0 1 2 3 0 2 3 4</DataArray>
<DataArray type="Int64" Name="offsets" format="ascii">4 8 12</DataArray>
<DataArray type="UInt8" Name="types" format="ascii">10 9 10</DataArray>
</Cells>
<PointData><DataArray type="Int64" Name="ids" format="ascii">5 6 7 8 9 10</DataArray></PointData>
<CellData><DataArray type="Int32" Name="material" format="ascii">3 -1 3</DataArray></CellData>
</Piece>
</UnstructuredGrid>
</VTKFile>
)";
const std::string kLegacy = R"(# vtk DataFile Version 3.0
a title
ASCII
DATASET UNSTRUCTURED_GRID
FIELD FieldData 1
note 1 1 string
any text
METADATA
INFORMATION 0

POINTS 6 double
0 0 0 1 0 0 1 1 0
0 1 0 0.5 0.5 1 2 0 0
CELLS 3 15
4 0 1 2 4
4 0 1 2 3
4 0 2 3 4
CELL_TYPES 3
10 9 10
CELL_DATA 3
SCALARS some%20kind int 1
LOOKUP_TABLE default
3 -1 3
FIELD more 2
mark 1 3 unsigned_char
0 1 0
flow 3 3 float
1 2 3 4 5 6 7 8 9
POINT_DATA 6
GLOBAL_IDS ids vtkIdType
5 6 7 8 9 10
)";
} // namespace

/// Every cell of VTK that a shape has, in one mesh: labels, sets and places come back in every encoding.
TEST(vtu_Read, ReadsWhatIsWritten) {
  MeshMaker maker;
  std::vector<int> types, labels;
  const auto add = [&](const cow_String& label, std::span<const shp_IsoPoint> places) {
    std::vector<int> row;
    for (const shp_IsoPoint& place : places) {
      const auto at = At(maker.classes.size(), place);
      auto node = maker.xyz.size() / 3;
      for (std::size_t k = 0; k < row.size(); ++k) // the nodes of an apex are one
        if (std::equal(at.begin(), at.end(), maker.xyz.begin() + 3 * row[k]))
          node = static_cast<std::size_t>(row[k]);
      if (node == maker.xyz.size() / 3) maker.xyz.insert(maker.xyz.end(), at.begin(), at.end());
      row.push_back(static_cast<int>(node));
    }
    labels.push_back(1000 - static_cast<int>(labels.size()));
    maker.Class(label, row.size(), row, {labels.back()});
  };
  for (const auto& [label, key] : Dictionary().LabelTable()) {
    const auto places = Dictionary().GetShape(label)->NodeCoordinates();
    const auto cell = places.empty() ? std::nullopt : exo_FindVtkCell(places);
    if (!cell || std::ranges::find(types, cell->type) != types.end()) continue;
    types.push_back(cell->type);
    add(label, places);
  }
  for (const auto& [label, nodes] : {std::pair{"C3D8", 5}, {"C3D20", 13}}) {
    add(label, exo_Collapsed(Dictionary().GetShape(label)->NodeCoordinates()));
    maker.classes.back()->SetCategoryLabel(bme_PyramidCategory("", "pyramids", nodes));
  }
  EXPECT_GE(types.size(), 14U);
  const auto mesh = maker.Make();
  const auto numNodes = static_cast<std::size_t>(mesh->NodeData().NumNodes());
  std::vector<int> nodeLabels(numNodes);
  for (std::size_t i = 0; i < numNodes; ++i) nodeLabels[i] = static_cast<int>(3 * i);
  mesh->NodeDataToModify().SetUserNodeLabels(cls_xp1DArrayListInt(std::span<const int>(nodeLabels)));
  const auto setOf = [](const cow_String& name, res_SetTypeEnm type, std::vector<int> ids) {
    bme_NamedSet set{name, type == res_NODE_SET ? rgnC_NODE_SET : rgnC_ELEMENT_SET, {}};
    set.data.AppendSubset({1, rgnC_SubsetData::kNoClass, 0, 0, type, false, rgnC_SubsetData::Ids(ids), {}});
    return set;
  };
  const std::vector<bme_NamedSet> sets = {setOf("a <b> & \"c\"", res_NODE_SET, {0, 7, 9}),
                                          setOf("some", res_ELEMENT_SET, {0, 3, 5}),
                                          setOf("none", res_ELEMENT_SET, {})};
  const TestFolder folder;
  ExpectNodesInPlace(*mesh);
  for (const fmt_Encoding encoding : {fmt_Encoding::Default, fmt_Encoding::Ascii, fmt_Encoding::Compressed})
    for (const exo_VtkWedges wedges :
         {exo_VtkWedges::Plain, exo_VtkWedges::LinearMirrored, exo_VtkWedges::Mirrored}) {
      uti_OutputFile output(folder / "all.vtu", {.force = true});
      vtu_WriteMesh(output, *mesh, sets, wedges, encoding);
      const fmt_Import read = fmt_ReadMesh(folder / "all.vtu");
      EXPECT_TRUE(std::ranges::equal(read.mesh->NodeData().Coordinates().Const(), maker.xyz));
      EXPECT_TRUE(std::ranges::equal(read.mesh->NodeData().UserNodeLabels().Const(), nodeLabels));
      ASSERT_EQ(read.mesh->ElementData().NumClasses(), labels.size());
      EXPECT_EQ(ElementLabels(*read.mesh), labels);
      ExpectNodesInPlace(*read.mesh);
      EXPECT_EQ(bme_CalculateMeasures(*read.mesh).volume.Total(),
                bme_CalculateMeasures(*mesh).volume.Total());
      ASSERT_EQ(read.sets.size(), sets.size());
      for (const bme_NamedSet& set : sets) EXPECT_EQ(Items(read, set.name), Items(set)) << set.name;
      // four kinds of wedges, which the reader finds to be turned
      EXPECT_EQ(read.ledger.size(), wedges == exo_VtkWedges::Plain      ? 0U
                                    : wedges == exo_VtkWedges::Mirrored ? 4U
                                                                        : 1U);
    }
}

namespace {
/// Numbers as VTK arranges them.
struct Arranged {
  bool isSwapped, isCompressed, isBase64, areSeparate;
  std::size_t header;

  static std::string Base64(const std::string& bytes) {
    const char* digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
      unsigned word = 0;
      for (std::size_t k = 0; k < 3; ++k)
        word = word << 8U | (i + k < bytes.size() ? static_cast<unsigned char>(bytes[i + k]) : 0U);
      for (std::size_t k = 0; k < 4; ++k)
        text += i + k > bytes.size() ? '=' : digits[word >> (18U - 6U * k) & 63U];
    }
    return text;
  }
  template<class T> std::string Bytes(const std::vector<T>& numbers) const {
    std::string bytes;
    for (const T number : numbers) {
      std::string one(sizeof number, 0);
      std::memcpy(one.data(), &number, sizeof number);
      if (isSwapped) std::ranges::reverse(one);
      bytes += one;
    }
    return bytes;
  }
  std::string Header(const std::vector<std::uint64_t>& numbers) const {
    return header == 8 ? Bytes(numbers) : Bytes(std::vector<std::uint32_t>(numbers.begin(), numbers.end()));
  }
  template<class T> std::string Array(const std::vector<T>& numbers) const {
    std::string bytes = Bytes(numbers), head = Header({bytes.size()});
    if (isCompressed) { // in blocks of 16 bytes
      std::vector<std::uint64_t> lengths{(bytes.size() + 15) / 16, 16, bytes.size() % 16};
      std::string all;
      for (std::size_t at = 0; at < bytes.size(); at += 16) {
        const std::string block = bytes.substr(at, 16);
        std::string packed(compressBound(block.size()), 0);
        uLongf length = packed.size();
        compress(reinterpret_cast<Bytef*>(packed.data()), &length,
                 reinterpret_cast<const Bytef*>(block.data()), block.size());
        all += packed.substr(0, length);
        lengths.push_back(length);
      }
      bytes = all;
      head = Header(lengths);
    }
    if (!isBase64) return head + bytes;
    return areSeparate ? Base64(head) + Base64(bytes) : Base64(head + bytes);
  }
};
} // namespace

TEST(vtu_Read, ReadsEveryArrangement) {
  const TestFolder folder;
  for (unsigned bits = 0; bits < 64; ++bits) {
    const bool isInline = (bits & 1U) != 0, areSeparate = (bits & 32U) != 0;
    const Arranged as{(bits & 2U) != 0, (bits & 4U) != 0, isInline || (bits & 8U) != 0,
                      areSeparate || (bits & 4U) != 0, (bits & 16U) != 0 ? 8U : 4U};
    std::string appended, xml = "<VTKFile type=\"UnstructuredGrid\" byte_order=\"";
    xml += as.isSwapped == (std::endian::native == std::endian::little) ? "BigEndian" : "LittleEndian";
    xml += as.header == 8 ? "\" header_type=\"UInt64\"" : "\"";
    xml += as.isCompressed ? " compressor=\"vtkZLibDataCompressor\">" : ">";
    xml += "<UnstructuredGrid><Piece NumberOfPoints=\"5\" NumberOfCells=\"1\">";
    const auto add = [&](const char* section, const char* type, const char* name, const auto& numbers) {
      xml += std::string("<") + section + "><DataArray NumberOfComponents=\""
             + (name == cow_String("P") ? "3" : "1") + "\" type=\"" + type + "\" Name=\"" + name
             + "\" format=\"" + (isInline ? "binary\">\n " : "appended\" offset=\"");
      xml += isInline ? as.Array(numbers) : std::to_string(appended.size()) + "\">";
      if (!isInline) appended += as.Array(numbers);
      xml += std::string("\n</DataArray></") + section + ">";
    };
    const std::vector<double> xyz = {0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 3, 7, 7, 7};
    if (areSeparate)
      add("Points", "Float64", "P", xyz);
    else
      add("Points", "Float32", "P", std::vector<float>(xyz.begin(), xyz.end()));
    add("Cells", "UInt16", "connectivity", std::vector<std::uint16_t>{0, 1, 2, 3});
    add("Cells", "UInt64", "offsets", std::vector<std::uint64_t>{4});
    add("Cells", "Int32", "types", std::vector<int>{10});
    add("PointData", "Int16", "NodeLabel", std::vector<std::int16_t>{300, 2, 3, 4, 5});
    add("PointData", "UInt8", "ends", std::vector<std::uint8_t>{1, 0, 0, 1, 0});
    xml += "</Piece></UnstructuredGrid>";
    if (!isInline)
      xml += std::string("<AppendedData encoding=\"") + (as.isBase64 ? "base64" : "raw") + "\"> _" + appended
             + "</AppendedData>";
    const fmt_Import read = Text{folder, "a.vtu", xml + "</VTKFile>"}.Read();
    EXPECT_TRUE(std::ranges::equal(read.mesh->NodeData().Coordinates().Const(), xyz)) << bits;
    EXPECT_TRUE(
        std::ranges::equal(read.mesh->ElementData().GetClass(0).Connectivity(0), std::vector{0, 1, 2, 3}));
    EXPECT_EQ(read.mesh->NodeData().UserNodeLabels().ConstGet(0), 300) << bits;
    EXPECT_EQ(Items(read, "ends"), (std::vector<int>{0, 3})) << bits;
  }
}

TEST(vtu_Read, TakesWhatOthersWriteAndListsTheRest) {
  const TestFolder folder;
  const Text grid{folder, "a.vtu", kGrid}, legacy{folder, "a.vtk", kLegacy};
  const fmt_Import read = grid.Read();
  EXPECT_EQ(read.mesh->ElementData().NumClasses(), 2U);
  EXPECT_EQ(read.blocks[1].label, "S4");
  EXPECT_EQ(ElementLabels(*read.mesh), (std::vector<int>{1, 3, 2})) << "where the cells stand in the file";
  EXPECT_EQ(Items(read, "material 3"), (std::vector<int>{0, 1}));
  EXPECT_EQ(Items(read, "material -1"), std::vector<int>{2});
  EXPECT_EQ(Items(read, "ids 7"), std::vector<int>{2});

  const fmt_Import old = legacy.Read();
  EXPECT_EQ(old.title, "a title");
  EXPECT_EQ(ElementLabels(*old.mesh), ElementLabels(*read.mesh));
  EXPECT_EQ(Items(old, "some kind 3"), (std::vector<int>{0, 1}));
  EXPECT_EQ(Items(old, "mark"), std::vector<int>{2});
  EXPECT_TRUE(
      std::ranges::equal(old.mesh->NodeData().UserNodeLabels().Const(), std::vector{5, 6, 7, 8, 9, 10}));
  EXPECT_EQ(Listed(old, "arrays of the file"), "1 \"note\"");
  EXPECT_EQ(Listed(old, "arrays of cells"), "1 \"flow\"");
  const fmt_Import later = legacy
                               .With("CELLS 3 15\n4 0 1 2 4\n4 0 1 2 3\n4 0 2 3 4",
                                     "CELLS 4 12\nOFFSETS vtktypeint64\n0 4 8 12\nCONNECTIVITY "
                                     "vtktypeint64\n0 1 2 4 0 1 2 3 0 2 3 4")
                               .Read();
  for (const fmt_Import* other : {&old, &later}) {
    EXPECT_TRUE(std::ranges::equal(other->mesh->NodeData().Coordinates().Const(),
                                   read.mesh->NodeData().Coordinates().Const()));
    for (unsigned i = 0; i < 2; ++i)
      EXPECT_TRUE(std::ranges::equal(other->mesh->ElementData().GetClass(i).ElementConnectivity().Const(),
                                     read.mesh->ElementData().GetClass(i).ElementConnectivity().Const()));
  }

  const fmt_Import ids = grid.With("<PointData>", "<PointData GlobalIds=\"ids\">").Read();
  EXPECT_EQ(ids.mesh->NodeData().UserNodeLabels().ConstGet(5), 10);
  const fmt_Import twice =
      grid.With("<PointData>", "<PointData GlobalIds=\"ids\">").With("5 6 7 8", "5 6 7 7").Read();
  EXPECT_FALSE(twice.mesh->NodeData().HasUserNodeLabels());
  EXPECT_EQ(Listed(twice, "labels of nodes"), "6 array \"ids\": label 7 is given twice, to points 3 and 4");

  // polygons of four nodes, pixels, and what has no type here
  EXPECT_EQ(grid.With(">10 9 10<", ">10 7 10<").Read().blocks[1].type, "VTK_QUAD");
  const fmt_Import pixel = grid.With(">10 9 10<", ">10 8 10<").Read();
  EXPECT_TRUE(
      std::ranges::equal(pixel.mesh->ElementData().GetClass(1).Connectivity(0), std::vector{0, 1, 3, 2}));
  const fmt_Import some = grid.With(">10 9 10<", ">10 42 71<").Read();
  EXPECT_EQ(some.mesh->ElementData().NumElements(), 1U);
  EXPECT_EQ(Listed(some, "cells of type 42 (VTK_POLYHEDRON)"), "1 left out: no element type here");
  EXPECT_EQ(Listed(some, "cells of type 71 (VTK_LAGRANGE_TETRAHEDRON)"), "1 left out: no element type here");
  EXPECT_EQ(Items(some, "material 3"), std::vector<int>{0});

  const fmt_Import lines = grid.With(">4 8 12<", ">3 5 12<").With(">10 9 10<", ">4 4 4<").Read();
  EXPECT_EQ(lines.mesh->ElementData().NumElements(), 1U) << "a line of two nodes";

  // pieces, and a collection of files
  const std::size_t begin = kGrid.find("<Piece"), end = kGrid.find("</UnstructuredGrid>");
  const fmt_Import pieces =
      grid.With("</UnstructuredGrid>", kGrid.substr(begin, end - begin) + "</UnstructuredGrid>").Read();
  EXPECT_EQ(pieces.mesh->NodeData().NumNodes(), 12U);
  EXPECT_TRUE(
      std::ranges::equal(pieces.mesh->ElementData().GetClass(0).Connectivity(3), std::vector{6, 8, 9, 10}));
  EXPECT_EQ(Items(pieces, "material 3"), (std::vector<int>{0, 1, 2, 3}));
  EXPECT_EQ(Listed(pieces, "pieces"), "2 joined to one mesh; nodes at one place are not merged");
  const Text collection{folder, "a.pvd", R"(<VTKFile type="Collection"><Collection>
<DataSet timestep="0" part="0" file="a.vtu"/><DataSet timestep="0" part="1" file="a.vtu"/>
<DataSet timestep="1" file="b.vtu"/></Collection></VTKFile>)"};
  grid.Read();
  const fmt_Import steps = collection.Read();
  EXPECT_EQ(steps.mesh->NodeData().NumNodes(), 12U);
  EXPECT_EQ(Listed(steps, "time steps"), "1 besides the first one, \"0\"");
  for (const char* path : {"../a.vtu", "/a.vtu", "", "b.vtu", "x/../../a.vtu"})
    EXPECT_NE(ThrownBy([&] {
                collection.With("a.vtu", path).Read();
              }).find(std::string("line 2: file \"") + path + "\" is not"),
              cow_String::npos)
        << path;
}

TEST(vtu_Read, NamesThePlaceOfDamage) {
  const TestFolder folder;
  struct Case {
    const char *from, *to, *message;
  };
  const Text grid{folder, "a.vtu", kGrid}, legacy{folder, "a.vtk", kLegacy};
  for (const auto& [from, to, message] : {
           Case{"UnstructuredGrid\" v", "PolyData\" v",
                "line 2: VTKFile: type=\"PolyData\" is not read, UnstructuredGrid is"},
           {"LittleEndian", "Other", "line 2: VTKFile: byte_order=\"Other\" is neither"},
           {"header_type=", "compressor=\"vtkLZ4DataCompressor\" x=",
            "compressor=\"vtkLZ4DataCompressor\" is not read"},
           {"UInt64\">", "UInt16\">", "header_type=\"UInt16\" is neither UInt32 nor UInt64"},
           {"<?xml version=\"1.0\"?>", "<!DOCTYPE a [<!ENTITY b \"c\">]>",
            "line 1: document type \"a\" is not read"},
           {"</Cells>", "</Cell>", "line 16: mismatched tag"},
           {"NumberOfPoints=\"6\"", "NumberOfPoints=\"-6\"",
            "line 4: Piece: NumberOfPoints=\"-6\" is not a count"},
           {"NumberOfPoints=\"6\"", "NumberOfPoints=\"2147483647\"", "line 6, array \"Points\" has at most"},
           {"NumberOfPoints=\"6\"", "NumberOfPoints=\"7\"", "line 6, array \"Points\" ends after 18 numbers"},
           {"NumberOfPoints=\"6\"", "NumberOfPoints=\"5\"",
            "line 6, array \"Points\" has more than the 15 numbers"},
           {"NumberOfCells=\"3\"", "NumberOfCells=\"4\"",
            "line 14, array \"offsets\" has at most 3 numbers, and cells need 4"},
           {"NumberOfCells=\"3\"", "NumberOfCells=\"900\"",
            "line 15, array \"types\" has at most 4 numbers, and cells need 900"},
           {"NumberOfComponents=\"3\"", "NumberOfComponents=\"2\"",
            "line 6, array \"Points\" has 2 components, not 3"},
           {"1e0", "1f0", "line 6, array \"Points\", number 15: \"1f0\" is not a number"},
           {"1e0", "nan", "node 5: z = nan is not a number"},
           {"0 1 2 4", "0 1 2 6",
            "line 13, array \"connectivity\", number 4: cell 1: point 6 is outside 0..5"},
           {"0 1 2 4", "0 1 -2 4", "number 3: cell 1: point -2 is outside 0..5"},
           {"0 1 2 4", "0 1 2.5 4", "number 3: \"2.5\" is not an integer"},
           {"0 2 3 4<", "0 2 3<",
            "line 14, array \"offsets\", number 3: cell 3 of type 10 ends at 12, which is not in 8..11"},
           {"0 2 3 4<", "0 2 3 4 4<", "line 13, array \"connectivity\" has more than the 12 numbers"},
           {"4 8 12", "4 9 12",
            "line 15, array \"types\", number 2: cell 2 of type 9 (VTK_QUAD) has 5 nodes, not 4"},
           {"4 8 12", "4 2 12", "line 14, array \"offsets\", number 2: cell 2 of type 9 ends at 2"},
           {"4 8 12", "4 8 99", "line 14, array \"offsets\", number 3: cell 3 of type 10 ends at 99"},
           {"10 9 10", "10 -9 10", "line 15, array \"types\", number 2: -9 is no type of cells"},
           {"Name=\"offsets\"", "Name=\"other\"", "line 4: the piece has no array \"offsets\""},
           {"\"offsets\" format=\"ascii\"", "\"offsets\" format=\"binary\"",
            "array \"offsets\": the file ends within its header"},
           {"\"offsets\" format=\"ascii\"", "\"offsets\" format=\"other\"",
            "line 14: DataArray: format=\"other\" is none"},
           {"\"offsets\" format=\"ascii\"", "\"offsets\" format=\"appended\" offset=\"0\"",
            "there is no AppendedData"},
           {"type=\"UInt8\" Name=\"types\"", "type=\"Float32\" Name=\"types\"",
            "array \"types\" is of Float32, not of integers"},
           {"\"material\" format", "\"ElementLabel\" format",
            "array \"ElementLabel\": label -1 is not in 0..2147483647"},
       })
    EXPECT_NE(ThrownBy([&, from = from, to = to] { grid.With(from, to).Read(); }).find(message),
              cow_String::npos)
        << message << "\n"
        << ThrownBy([&, from = from, to = to] { grid.With(from, to).Read(); });
  for (const auto& [from, to, message] : {
           Case{"UNSTRUCTURED_GRID", "STRUCTURED_POINTS",
                "line 4: a dataset of the kind \"STRUCTURED_POINTS\" is not read"},
           {"ASCII", "OTHER", "line 3: \"OTHER\" is neither ASCII nor BINARY"},
           {"ASCII", "BINARY", "a text of 560888096 bytes"},
           {"POINTS 6", "POINTS x", "line 11: \"x\" is not the number of points"},
           {"POINTS 6", "POINTS 2147483647", "the file ends, and"},
           {"double", "half", "line 11: \"half\" is no type of data"},
           {"4 0 1 2 4", "4 0 1 2 9", "line 15, array \"CELLS\", number 5: cell 1: point 9 is outside 0..5"},
           {"4 0 1 2 4", "-4 0 1 2 4",
            "line 15, array \"CELLS\", number 1: cell 1 of type 10 cannot have -4 nodes"},
           {"CELL_TYPES 3", "CELL_TYPES 4", "line 18: 4 types for 3 cells"},
           {"10 9 10", "10 9 12", "cell 3 of type 12 (VTK_HEXAHEDRON) has 4 nodes, not 8"},
           {"LOOKUP_TABLE", "OTHER", "line 22: \"OTHER\" where LOOKUP_TABLE is needed"},
           {"FIELD more", "OTHER more", "\"OTHER\" is no section of an unstructured grid"},
           {"POINT_DATA 6", "POINT_DATA 5", "line 29: data for 5 items, and there are 6"},
       })
    EXPECT_NE(ThrownBy([&, from = from, to = to] { legacy.With(from, to).Read(); }).find(message),
              cow_String::npos)
        << message << "\n"
        << ThrownBy([&, from = from, to = to] { legacy.With(from, to).Read(); });
  // what is cut off anywhere is refused, or was behind the last number
  MeshMaker maker;
  const auto mesh = maker.Box(2, 2, 1).Make();
  for (const fmt_Encoding encoding : {fmt_Encoding::Default, fmt_Encoding::Compressed}) {
    uti_OutputFile output(folder / "whole.vtu", {.force = true});
    vtu_WriteMesh(output, *mesh, {}, exo_VtkWedges::Plain, encoding);
    std::ifstream in(folder / "whole.vtu", std::ios::binary);
    const std::string whole{std::istreambuf_iterator<char>(in), {}};
    for (std::size_t size = whole.find("<UnstructuredGrid>"); size + 60 < whole.size(); size += 7)
      EXPECT_NE(ThrownBy([&] {
                  Text{folder, "cut.vtu", whole.substr(0, size)}.Read();
                }),
                kNothingThrown)
          << size;
  }
}
