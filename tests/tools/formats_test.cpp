// Every element type through every format that is read and written: what comes back is what went out.
#include "ExodusWriter.h"

#include <BasicUtils/thr_ThreadSingleton.h>
#include <CoreGeometry/bme_ExternalFaces.h>
#include <CoreGeometry/bme_Measures.h>
#include <CoreGeometry/bme_MeshBuilder.h>
#include <CoreGeometry/bme_Pyramids.h>
#include <CoreGeometry/exo_NodeOrder.h>
#include <CoreGeometry/fmt_Format.h>
#include <CoreGeometry/shp_Shape.h>
#include <CoreGeometry/shp_ShapeDictionary.h>
#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <sstream>

namespace {
/// A way to write files that hold whole meshes; another format adds a row.
struct Way {
  const char *format, *file;
  fmt_Encoding encoding = fmt_Encoding::Default;
  bool doSetsOverlap = true; ///< an element may be in several sets
  std::vector<std::string> onlyLabels{};
  bool hasLabels = true, hasSets = true;
  bool hasNumbers = true; ///< of sets; and categories of classes
};
std::vector<Way> Ways() {
  return {
      {"exodus", "a.exo"},
      {"gmsh", "a.msh", fmt_Encoding::Ascii},
      {"gmsh", "b.msh", fmt_Encoding::Binary},
      {"gmsh22", "c.msh", fmt_Encoding::Ascii, false},
      {"gmsh22", "d.msh", fmt_Encoding::Binary, false},
      {"vtu", "a.vtu", fmt_Encoding::Ascii, true, {}, true, true, false},
      {"vtu", "b.vtu", fmt_Encoding::Binary, true, {}, true, true, false},
      {"vtu", "c.vtu", fmt_Encoding::Compressed, true, {}, true, true, false},
      {"stl", "a.stl", fmt_Encoding::Ascii, true, {"S3"}, false, false},
      {"stl", "b.stl", fmt_Encoding::Binary, true, {"S3"}, false, false},
  };
}

const char* const kLabels[] = {"C3D4",  "C3D10", "C3D6",     "C3D15",     "C3D15V", "C3D8",
                               "C3D20", "C3D27", "PYRAMID5", "PYRAMID13", "S3",     "STRI65",
                               "S4",    "S8R",   "S9R5",     "B31",       "B32",    "MASS"};

/// Two elements of a type: solids meet in a face, others do not meet. No two directions look alike.
struct Pair {
  std::string label;
  int pyramidNodes = 0;
  std::vector<float> xyz;
  std::vector<int> nodeLabels, rows;
  std::vector<bme_NamedSet> sets;

  explicit Pair(const std::string& name, bool doSetsOverlap) {
    pyramidNodes = name == "PYRAMID5" ? 5 : name == "PYRAMID13" ? 13 : 0;
    label = pyramidNodes == 5 ? "C3D8" : pyramidNodes == 13 ? "C3D20" : name;
    const shp_Shape& shape = *thr_ThreadSingleton<shp_ShapeDictionary>::Instance().GetShape(label);
    std::vector<shp_IsoPoint> nodes(shape.NodeCoordinates().begin(), shape.NodeCoordinates().end());
    if (pyramidNodes > 0) nodes = exo_Collapsed(nodes);
    if (nodes.empty()) nodes.push_back({0, 0, 0});
    for (const shp_IsoPoint& node : nodes) rows.push_back(Add(node));
    const auto first = rows.size();
    for (const shp_IsoPoint& node : nodes)
      rows.push_back(Add(shape.NumGeomDims() == 3 ? Mirrored(node, nodes, shape.FaceNodes(0))
                                                  : shp_IsoPoint{node[0] + 5, node[1], node[2] + 1}));
    if (shape.NumGeomDims() == 3) shape.ReverseElemConnectivity(std::span(rows).subspan(first));
    if (pyramidNodes > 0) CheckApex(first);
    for (std::size_t i = 0; i < xyz.size() / 3; ++i) nodeLabels.push_back(static_cast<int>(1000 - 7 * i));
    sets = {SetOf("first", rgnC_ELEMENT_SET, 5, 0, {0}), SetOf("some nodes", rgnC_NODE_SET, 2, -1, {0}),
            SetOf("more", rgnC_ELEMENT_SET, 9, 0, doSetsOverlap ? std::vector{0, 1} : std::vector{1})};
  }

  bme_Mesh Build() const {
    bme_MeshBuilder builder(xyz, nodeLabels);
    const cow_String category =
        pyramidNodes > 0 ? bme_PyramidCategory("", "part", pyramidNodes) : cow_String("part");
    builder.Add({label, rows, {7, 3}, category});
    return builder.Build();
  }

private:
  static bme_NamedSet SetOf(const char* name, rgnC_SetType kind, int index, int classIndex,
                            const std::vector<int>& ids) {
    bme_NamedSet set{name, kind, {}};
    const res_SetTypeEnm type = kind == rgnC_NODE_SET ? res_NODE_SET : res_ELEMENT_SET;
    set.data.SetIndex(index);
    set.data.SetType(type);
    set.data.AppendSubset({0, classIndex, 0, index, type, false, rgnC_SubsetData::Ids(ids), {}});
    return set;
  }

  /// Straight in the iso coordinates, then bent: the index of the node there.
  int Add(const shp_IsoPoint& iso) {
    const auto [x, y, z] = iso;
    const double bent[] = {2 * x + 0.3 * y + 0.1 * z * z, 3 * y + 0.2 * z + 0.05 * x * x,
                           4 * z + 0.1 * x * y};
    std::vector<float> at(bent, bent + 3);
    for (std::size_t i = 0; i < xyz.size(); i += 3)
      if (std::equal(at.begin(), at.end(), xyz.begin() + static_cast<std::ptrdiff_t>(i),
                     [](float a, float b) { return std::abs(a - b) < 1e-5F; }))
        return static_cast<int>(i / 3);
    xyz.insert(xyz.end(), at.begin(), at.end());
    return static_cast<int>(xyz.size() / 3) - 1;
  }

  /// In the plane of a face.
  static shp_IsoPoint Mirrored(const shp_IsoPoint& node, const std::vector<shp_IsoPoint>& nodes,
                               std::span<const int> face) {
    const auto at = [&](int k) { return nodes[static_cast<std::size_t>(face[static_cast<std::size_t>(k)])]; };
    const shp_IsoPoint a = at(0), b = at(1), c = at(2);
    double normal[3], square = 0, distance = 0;
    for (int i = 0; i < 3; ++i) {
      const int j = (i + 1) % 3, k = (i + 2) % 3;
      normal[i] = (b[j] - a[j]) * (c[k] - a[k]) - (b[k] - a[k]) * (c[j] - a[j]);
      square += normal[i] * normal[i];
      distance += normal[i] * (node[i] - a[i]);
    }
    shp_IsoPoint mirrored = node;
    for (int i = 0; i < 3; ++i) mirrored[i] -= 2 * distance / square * normal[i];
    return mirrored;
  }

  /// Reversing a collapsed hexahedron keeps its apex on the opposite face.
  void CheckApex(std::size_t first) const {
    const std::span<const int> row = std::span(rows).subspan(first);
    for (const int corner : {5, 6, 7}) EXPECT_EQ(row[static_cast<std::size_t>(corner)], row[4]);
  }
};

/// Node labels of an element by its label.
std::vector<int> RowOf(const bme_Mesh& mesh, int label) {
  unsigned classIndex = 0, inClass = 0;
  mesh.ElementData().GetClassAndElemIndex(
      mesh.ElementData().GetMeshElemIndexFromLabel(static_cast<unsigned>(label)), classIndex, inClass);
  std::vector<int> row;
  for (const int node : mesh.ElementData().GetClass(classIndex).Connectivity(static_cast<int>(inClass)))
    row.push_back(mesh.NodeData().UserNodeLabels().ConstGet(node));
  return row;
}

/// Name, kind, index, and the labels of what is in a set.
std::string Describe(const bme_Mesh& mesh, const bme_NamedSet& set, bool hasNumber) {
  std::vector<int> labels;
  for (int i = 0; i < set.data.NumSubset(); ++i)
    for (const int id : set.data.SubSet(i).IdArray()) {
      if (set.kind == rgnC_NODE_SET) {
        labels.push_back(mesh.NodeData().UserNodeLabels().ConstGet(id));
        continue;
      }
      unsigned classIndex = 0, inClass = 0;
      mesh.ElementData().GetClassAndElemIndex(static_cast<unsigned>(id), classIndex, inClass);
      labels.push_back(mesh.ElementData().GetClass(classIndex).UserElementLabels()[inClass]);
    }
  std::ranges::sort(labels);
  std::ostringstream text;
  text << set.name << ", " << set.kind << ", " << (hasNumber ? set.data.GetSetIndex() : 0);
  for (const int label : labels) text << ' ' << label;
  return text.str();
}

std::string TextOf(const fmt_Ledger& ledger) {
  std::string text;
  for (const fmt_LedgerEntry& entry : ledger) text += std::to_string(entry.count) + " " + entry.what + "; ";
  return text;
}
} // namespace

TEST(Formats, GiveBackEveryElementTypeWithLabelsAndSets) {
  const TestFolder folder;
  for (const fmt_Format& format : fmt_Formats()) // a PVD file is a list of VTU files
    EXPECT_EQ(std::ranges::count(Ways(), format.name, &Way::format) > 0,
              format.read && format.write && std::string_view(format.name) != "pvd")
        << format.name;
  for (const Way& way : Ways())
    for (const char* name : kLabels) {
      if (!way.onlyLabels.empty() && std::ranges::find(way.onlyLabels, name) == way.onlyLabels.end())
        continue;
      SCOPED_TRACE(std::string(name) + " in " + way.format + ", " + way.file);
      const Pair pair(name, way.doSetsOverlap);
      const bme_Mesh mesh = pair.Build();
      const bool isPoint =
          std::string(name) == "MASS"; // sets of elements that are points are none everywhere
      const std::span<const bme_NamedSet> sets =
          std::span(pair.sets).subspan(isPoint ? 1 : 0, isPoint ? 1 : pair.sets.size());
      uti_OutputFile output(folder / way.file, {.force = true});
      const fmt_Ledger lost =
          fmt_WriteMesh(output, fmt_Find(way.format), mesh,
                        way.hasSets ? sets : std::span<const bme_NamedSet>(), {.encoding = way.encoding});
      if (way.hasNumbers)
        EXPECT_EQ(TextOf(lost).empty(), way.hasLabels) << TextOf(lost);
      else
        EXPECT_EQ(TextOf(lost), "1 element types and categories of classes; ");
      const fmt_Import read = fmt_ReadMesh(folder / way.file);
      const bme_ElementData& elements = read.mesh->ElementData();
      ASSERT_EQ(elements.NumElements(), 2U);
      ASSERT_EQ(read.mesh->NodeData().NumNodes(), mesh.NodeData().NumNodes());
      for (unsigned i = 0; i < elements.NumClasses(); ++i) {
        EXPECT_EQ(elements.GetClass(i).ElemTypeLabel(), pair.label);
        EXPECT_EQ(bme_PyramidNodes(elements.GetClass(i)), pair.pyramidNodes);
      }
      if (way.hasLabels) {
        for (const int label : {7, 3}) EXPECT_EQ(RowOf(*read.mesh, label), RowOf(mesh, label));
        for (const int label : pair.nodeLabels)
          EXPECT_EQ(read.mesh->NodeData()[read.mesh->NodeData().GetMeshNodeIndex(label)],
                    mesh.NodeData()[mesh.NodeData().GetMeshNodeIndex(label)]);
      }
      const bme_Moments before = bme_CalculateMeasures(mesh).volume,
                        after = bme_CalculateMeasures(*read.mesh).volume;
      EXPECT_NEAR(after.SignedTotal(), before.Total(), 1e-12 * before.Total());
      const auto faces = [](const bme_Mesh& of) {
        return bme_ComputeFaces(bme_FEMElemList::All(of))->external.Count();
      };
      EXPECT_EQ(faces(*read.mesh), faces(mesh));
      std::vector<std::string> wanted, found;
      for (const bme_NamedSet& set : way.hasSets ? sets : std::span<const bme_NamedSet>())
        wanted.push_back(Describe(mesh, set, way.hasNumbers));
      for (const bme_NamedSet& set : read.sets)
        if (!set.name.starts_with("part") && !set.name.starts_with("block"))
          found.push_back(Describe(*read.mesh, set, way.hasNumbers));
      std::ranges::sort(wanted);
      std::ranges::sort(found);
      EXPECT_EQ(found, wanted);
    }
}
