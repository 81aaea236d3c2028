// Files of surfaces: what is written of a mesh, and STL files as others write them.
#include "ExodusWriter.h"

#include <CoreGeometry/bme_Measures.h>
#include <CoreGeometry/fmt_Format.h>
#include <ThrownBy.h>
#include <cstring>
#include <fstream>
#include <gtest/gtest.h>
#include <mesh/EntityMeshes.h>
#include <nlohmann/json.hpp>
#include <sstream>

namespace {
void WriteBytes(const std::string& file, const std::string& bytes) {
  std::ofstream(file, std::ios::binary) << bytes;
}
std::string BytesOf(const std::string& file) {
  std::ostringstream bytes;
  bytes << std::ifstream(file, std::ios::binary).rdbuf();
  return bytes.str();
}

double AreaOf(const bme_Mesh& mesh) { return bme_CalculateMeasures(mesh).area.Total(); }

/// The enclosed volume, by the theorem of Gauss over triangles.
double VolumeIn(const bme_Mesh& mesh) {
  const std::span<const float> xyz = mesh.NodeData().Coordinates().Const();
  double sum = 0;
  for (int e = 0; e < static_cast<int>(mesh.ElementData().NumElements()); ++e) {
    const std::span<const int> row = mesh.ElementData().GetClass(0).Connectivity(e);
    const auto at = [&](int k, int axis) {
      return double{xyz[static_cast<std::size_t>(3 * row[static_cast<std::size_t>(k)] + axis)]};
    };
    for (int i = 0; i < 3; ++i)
      sum +=
          at(0, i) * (at(1, (i + 1) % 3) * at(2, (i + 2) % 3) - at(1, (i + 2) % 3) * at(2, (i + 1) % 3)) / 6;
  }
  return sum;
}

std::string Facet(const char* normal, const char* corners) {
  std::istringstream in(corners);
  std::string text = "facet normal ", x, y, z;
  text.append(normal).append("\n outer loop\n");
  while (in >> x >> y >> z)
    text.append("  vertex ").append(x).append(" ").append(y).append(" ").append(z).append("\n");
  return text.append(" endloop\nendfacet\n");
}

std::string LedgerOf(const fmt_Ledger& ledger) {
  std::ostringstream text;
  for (const fmt_LedgerEntry& entry : ledger) text << entry.count << ' ' << entry.what << "; ";
  return text.str();
}

/// A box of cubes far out, and a quadratic hexahedron beside it.
std::unique_ptr<bme_Mesh> TwoKinds() {
  MeshMaker maker;
  maker.Box(2, 1, 1);
  const std::size_t first = maker.xyz.size() / 3;
  const char* const nodes[] = {"000", "200", "220", "020", "002", "202", "222", "022", "100", "210",
                               "120", "010", "102", "212", "122", "012", "001", "201", "221", "021"};
  std::vector<int> row;
  for (const char* node : nodes) {
    row.push_back(static_cast<int>(first + row.size()));
    for (int axis = 0; axis < 3; ++axis) maker.xyz.push_back(static_cast<float>(node[axis] - '0') / 2 + 4);
  }
  maker.Class("C3D20", 20, row);
  for (std::size_t i = 0; i < maker.xyz.size(); i += 3) maker.xyz[i] += 1000;
  return maker.Make();
}
} // namespace

TEST(Surfaces, OfSolidsAreClosedInStl) {
  const auto mesh = TwoKinds();
  const TestFolder folder;
  for (const fmt_Encoding encoding : {fmt_Encoding::Ascii, fmt_Encoding::Binary}) {
    uti_OutputFile output(folder / "a.stl", {.force = true});
    const fmt_Ledger lost = fmt_WriteMesh(output, fmt_Find("stl"), *mesh, {}, {.encoding = encoding});
    EXPECT_NE(LedgerOf(lost).find("3 elements; 6 faces with middle nodes; "), std::string::npos)
        << LedgerOf(lost);
    const fmt_Import read = fmt_ReadMesh(folder / "a.stl");
    EXPECT_EQ(LedgerOf(read.ledger), "");
    EXPECT_EQ(read.mesh->NodeData().NumNodes(), 12U + 20U);
    EXPECT_EQ(read.mesh->ElementData().NumElements(), 2U * 10U + 6U * 6U);
    EXPECT_NEAR(AreaOf(*read.mesh), 10 + 6, 1e-3);
    EXPECT_NEAR(VolumeIn(*read.mesh), 2 + 1, 1e-2);
    EXPECT_EQ(read.sets.size(), encoding == fmt_Encoding::Ascii ? 2U : 0U); // solids of the classes
    EXPECT_EQ(read.rounding.change, 0);
  }
}

TEST(Surfaces, AreOfOneSetWhenOneIsNamed) {
  MeshMaker maker;
  const auto mesh = maker.Box(2, 1, 1).Make(0);
  bme_NamedSet side{"side", rgnC_MESH_SURFACE, {}}, nodes{"nodes", rgnC_NODE_SET, {}};
  side.data.AppendSubset({0, 0, 0, 1, res_SURFACE_FACET, false, rgnC_SubsetData::Ids(std::vector{0, 1}),
                          rgnC_SubsetData::Ids(std::vector{0, 0})});
  nodes.data.AppendSubset({0, -1, 0, 1, res_NODE_SET, false, rgnC_SubsetData::Ids(std::vector{0}), {}});
  const bme_NamedSet sets[] = {side, nodes};
  const TestFolder folder;
  const auto write = [&](const char* format, const char* name) {
    uti_OutputFile output(folder / "a", {.force = true});
    const fmt_Encoding ascii = fmt_Find(format).hasEncodings ? fmt_Encoding::Ascii : fmt_Encoding::Default;
    fmt_WriteMesh(output, fmt_Find(format), *mesh, sets, {.encoding = ascii, .surface = name});
    return BytesOf(folder / "a");
  };
  EXPECT_EQ(write("obj", "side"),
            "v 0 0 0\nv 1 0 0\nv 2 0 0\nv 0 1 0\nv 1 1 0\nv 2 1 0\ng side\nf 1 4 5 2\nf 2 5 6 3\n");
  EXPECT_EQ(write("ply", "side").substr(write("ply", "side").find("end_header")),
            "end_header\n0 0 0\n1 0 0\n2 0 0\n0 1 0\n1 1 0\n2 1 0\n4 0 3 4 1\n4 1 4 5 2\n");
  EXPECT_NE(ThrownBy([&] { write("stl", "nodes"); }).find("is a set of nodes, no surface"), cow_String::npos);
  EXPECT_NE(ThrownBy([&] { write("stl", "sidee"); }).find("no set \"sidee\""), cow_String::npos);
  EXPECT_NE(ThrownBy([&] { write("gmsh", "side"); }).find("there is no surface \"side\" to choose"),
            cow_String::npos);
}

TEST(Surfaces, InGlbHaveNormalsBoundsAndTheirPlace) {
  const auto mesh = TwoKinds();
  const TestFolder folder;
  uti_OutputFile output(folder / "a.glb");
  fmt_WriteMesh(output, fmt_Find("glb"), *mesh, {});
  const std::string bytes = BytesOf(folder / "a.glb");
  const auto word = [&](std::size_t at) {
    std::uint32_t value = 0;
    std::memcpy(&value, bytes.data() + at, 4);
    return value;
  };
  EXPECT_EQ(bytes.substr(0, 4), "glTF");
  EXPECT_EQ(word(8), bytes.size());
  const std::size_t json = word(12), start = 20 + json + 8;
  EXPECT_EQ(json % 4, 0U);
  const auto file = nlohmann::json::parse(bytes.substr(20, json));
  EXPECT_EQ(word(20 + json), bytes.size() - start);
  EXPECT_EQ(file["buffers"][0]["byteLength"], bytes.size() - start);
  const std::vector<double> origin = file["nodes"][0]["translation"];
  EXPECT_EQ(origin, (std::vector<double>{1002.5, 2.5, 2.5}));
  const auto& parts = file["meshes"][0]["primitives"];
  ASSERT_EQ(parts.size(), 2U);
  for (std::size_t p = 0; p < 2; ++p) {
    const auto accessor = [&](int index) { return file["accessors"][static_cast<std::size_t>(index)]; };
    const auto bytesAt = [&](int index) {
      const auto& view = file["bufferViews"][accessor(index)["bufferView"].get<std::size_t>()];
      EXPECT_EQ(view["byteOffset"].get<std::size_t>() % 4, 0U);
      return bytes.data() + start + view["byteOffset"].get<std::size_t>();
    };
    const int place = parts[p]["attributes"]["POSITION"], normal = parts[p]["attributes"]["NORMAL"],
              index = parts[p]["indices"];
    const auto numVertices = accessor(place)["count"].get<std::size_t>(),
               numIndices = accessor(index)["count"].get<std::size_t>();
    std::vector<float> xyz(3 * numVertices), normals(3 * numVertices);
    std::vector<std::uint32_t> corners(numIndices);
    std::memcpy(xyz.data(), bytesAt(place), 4 * xyz.size());
    std::memcpy(normals.data(), bytesAt(normal), 4 * normals.size());
    std::memcpy(corners.data(), bytesAt(index), 4 * corners.size());
    for (std::size_t i = 0; i < xyz.size(); ++i) {
      EXPECT_GE(xyz[i], accessor(place)["min"][i % 3].get<float>());
      EXPECT_LE(xyz[i], accessor(place)["max"][i % 3].get<float>());
    }
    double volume = 0, area = 0; // both from corners, and the area along the normals
    for (std::size_t t = 0; t < numIndices; t += 3) {
      const auto at = [&](std::size_t k, std::size_t axis) {
        return double{xyz[3 * corners[t + k] + axis % 3]};
      };
      for (std::size_t i = 0; i < 3; ++i) {
        volume += at(0, i) * (at(1, i + 1) * at(2, i + 2) - at(1, i + 2) * at(2, i + 1)) / 6;
        const double cross = (at(1, i + 1) - at(0, i + 1)) * (at(2, i + 2) - at(0, i + 2))
                             - (at(1, i + 2) - at(0, i + 2)) * (at(2, i + 1) - at(0, i + 1));
        area += cross / 2 * double{normals[3 * corners[t] + i]};
      }
    }
    EXPECT_NEAR(volume, p == 0 ? 2 : 1, 1e-4);
    EXPECT_NEAR(area, p == 0 ? 10 : 6, 1e-4);
  }
}

TEST(Stl, SolidsBecomeSetsAndFaultsAreCounted) {
  const std::string text = "solid one part\n" + Facet("0 0 1", "0 0 0  1 0 0  0 1 0")
                           + Facet("0 0 -1", "1 0 0  1 1 0  -0 1 -0") + "endsolid one part\nsolid\n"
                           + Facet("nan nan nan", "0 0 0  1 0 0  1 0 0")
                           + Facet("0 0 0", "+1e0 1 0  2 1 0  1 2 0") + "endsolid\n";
  const TestFolder folder;
  WriteBytes(folder / "a.stl", text);
  fmt_ReadOptions options;
  options.types.Override("TRI3=CPS3");
  const fmt_Import read = fmt_ReadMesh(folder / "a.stl", options);
  EXPECT_EQ(read.mesh->ElementData().GetClass(0).ElemTypeLabel(), "CPS3");
  EXPECT_EQ(read.mesh->NodeData().NumNodes(), 6U);
  EXPECT_EQ(read.mesh->ElementData().NumElements(), 3U);
  EXPECT_EQ(LedgerOf(read.ledger),
            "1 triangles with two corners at one place; 1 normals against the order of the corners; ");
  ASSERT_EQ(read.sets.size(), 2U);
  EXPECT_EQ(read.sets[0].name + ", " + read.sets[1].name, "one part, solid 2");
  EXPECT_EQ(read.sets[0].data.SubSet(0).NumItems(), 2);
}

TEST(Stl, BinaryFilesMayBeginLikeAsciiOnes) {
  std::string bytes = "solid facet";
  bytes.resize(80, ' ');
  bytes.append("\1\0\0\0", 4);
  const float numbers[] = {0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 1, 0};
  bytes.append(reinterpret_cast<const char*>(numbers), sizeof numbers).append("\7\0", 2);
  const TestFolder folder;
  WriteBytes(folder / "a.bin", bytes);
  const fmt_Import read = fmt_ReadMesh(folder / "a.bin");
  EXPECT_EQ(read.mesh->ElementData().NumElements(), 1U);
  EXPECT_EQ(LedgerOf(read.ledger), "1 attributes of triangles; ");
  for (std::size_t size = 0; size < bytes.size(); ++size) {
    WriteBytes(folder / "cut.stl", bytes.substr(0, size));
    EXPECT_NE(ThrownBy([&] { fmt_ReadMesh(folder / "cut.stl"); }), kNothingThrown) << size;
  }
}

TEST(Stl, SaysWhatIsWrongAndWhere) {
  struct Case {
    const char *before, *after, *message;
  };
  const Case cases[] = {
      {"vertex 1", "vertex one", "line 5: \"one\" is not a coordinate"},
      {"vertex 1", "vertex inf", "triangle 1: inf is no coordinate in single precision"},
      {"vertex 1", "vertex 1e39", "is no coordinate in single precision"},
      {"vertex 1", "vertx 1", "line 5: there is no \"vertex\" where it should be"},
      {"endfacet", "", "there is no \"endfacet\" where it should be"},
      {"endsolid", "", "the file ends where \"facet\" should be"},
      {"solid", "salid", "is neither ascii, which begins with \"solid\", nor binary, which would have"},
  };
  const TestFolder folder;
  for (const Case& one : cases) {
    std::string text = "solid\n" + Facet("0 0 1", "0 0 0  1 0 0  0 1 0") + "endsolid\n";
    text.replace(text.find(one.before), std::strlen(one.before), one.after);
    WriteBytes(folder / "a.stl", text);
    const cow_String message = ThrownBy<nex_TextException>([&] { fmt_ReadMesh(folder / "a.stl"); });
    EXPECT_NE(message.find(one.message), cow_String::npos) << one.after << ": " << message;
  }
}
