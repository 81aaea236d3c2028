#include <CoreGeometry/exo_Skin.h>

#include "exo_Write.h"

#include <CoreGeometry/bme_EntityWord.h>
#include <algorithm>
#include <map>

namespace {
class SkinWriter {
public:
  SkinWriter(const bme_Mesh& mesh, const bme_Outside& outside) : mesh_(mesh), outside_(outside) {}

  exo_SkinSummary Run(uti_OutputFile& output, bool edges) {
    for (const bme_OuterFace& face : outside_.faces) AddFace(face);
    if (edges)
      for (const bme_OuterEdge& edge : outside_.edges)
        if (edge.isFeature) AddEdge(edge);
    AddBlocks();
    UseNodes();
    out_.title = "outside of the mesh";
    exo_WriteFile(output, out_);
    const auto note = [&](const char* what, long long count, const char* detail) {
      if (count > 0) summary_.ledger.push_back({what, count, detail});
    };
    note("faces with more corners than a shell", numCut_, "cut into triangles");
    note("faces with middle nodes on some edges", numReduced_, "written with their corners");
    note("faces and lines with nodes that have no finite coordinates", outside_.notFinite, "left out");
    note("elements of types without a shape", outside_.withoutShape, "their faces are not known");
    note("line elements", static_cast<long long>(outside_.lines.size()), "they have no faces");
    summary_.nodes = static_cast<long long>(xyz_.size() / 3);
    return std::move(summary_);
  }

private:
  /// Elements of one kind while they are gathered.
  struct Group {
    std::vector<int> nodes, elements, faces;
  };
  static constexpr int kBeams = 1 << 30; ///< after every group of faces

  void Add(int group, std::span<const int> nodes, unsigned word) {
    Group& to = groups_[{group, static_cast<int>(nodes.size())}];
    to.nodes.insert(to.nodes.end(), nodes.begin(), nodes.end());
    to.elements.push_back(LabelOf(bme_ElementOf(word)));
    to.faces.push_back(static_cast<int>(bme_FaceOf(word)) + 1);
  }

  void AddFace(const bme_OuterFace& face) {
    ++summary_.faces;
    const std::span<const int> corners = face.nodes.Corners();
    if (corners.size() > 4) {
      ++numCut_;
      for (std::size_t k = 2; k < corners.size(); ++k) {
        const int triangle[] = {corners[0], corners[k - 1], corners[k]};
        Add(face.group, triangle, face.word);
        ++summary_.shells;
      }
      return;
    }
    ++summary_.shells;
    const bool isKnown = face.nodes.count == 2 * corners.size() || face.nodes.count == 9;
    const bool isWhole = face.nodes.count == corners.size() || (face.HasMidNodes() && isKnown);
    if (!isWhole) ++numReduced_;
    const std::size_t numNodes = isWhole              ? face.nodes.count
                                 : face.HasMidNodes() ? 2 * corners.size()
                                                      : corners.size();
    Add(face.group, face.nodes.Nodes().first(numNodes), face.word);
  }

  void AddEdge(const bme_OuterEdge& edge) {
    const int nodes[] = {edge.ends[0], edge.ends[1], edge.middle};
    Add(kBeams, std::span(nodes).first(edge.middle < 0 ? 2 : 3), outside_.faces[edge.face].word);
    ++summary_.edges;
  }

  int LabelOf(unsigned element) const {
    const bme_ElementData& elements = mesh_.ElementData();
    unsigned classIndex = 0, inClass = 0;
    elements.GetClassAndElemIndex(element, classIndex, inClass);
    return elements.HasUserElementLabels() ? elements.GetClass(classIndex).UserElementLabels()[inClass]
                                           : static_cast<int>(element) + 1;
  }

  void AddBlocks() {
    exo_OutMap elements{"source_element", {}}, faces{"source_face", {}};
    for (auto& [key, group] : groups_) {
      const auto [index, numNodes] = key;
      exo_OutBlock& block = out_.blocks.emplace_back();
      block.id = static_cast<std::int64_t>(out_.blocks.size());
      const bool isTriangle = numNodes == 3 || numNodes == 6;
      block.type = index == kBeams ? "BEAM" : isTriangle ? "TRI" : "SHELL";
      block.name =
          index == kBeams ? cow_String("feature edges") : outside_.groups[static_cast<std::size_t>(index)];
      std::ranges::replace(block.name, '"', '\'');
      block.name += ", " + std::to_string(numNodes) + " nodes";
      block.nodesPerElement = numNodes;
      block.numElements = static_cast<std::int64_t>(group.elements.size());
      block.nodes = std::move(group.nodes);
      elements.numbers.insert(elements.numbers.end(), group.elements.begin(), group.elements.end());
      faces.numbers.insert(faces.numbers.end(), group.faces.begin(), group.faces.end());
    }
    out_.elementMaps = {std::move(elements), std::move(faces)};
  }

  /// Nodes that nothing uses are left out; the others are numbered anew from 1.
  void UseNodes() {
    const bme_NodeData& nodes = mesh_.NodeData();
    std::vector<int> number(nodes.NumNodes(), 0);
    for (const exo_OutBlock& block : out_.blocks)
      for (const int node : block.nodes) number[static_cast<std::size_t>(node)] = 1;
    const std::span<const float> xyz = nodes.Coordinates().Const();
    int count = 0;
    for (std::size_t i = 0; i < number.size(); ++i) {
      if (number[i] == 0) continue;
      number[i] = ++count;
      xyz_.insert(xyz_.end(), {xyz[3 * i], xyz[3 * i + 1], xyz[3 * i + 2]});
      const bool isLabelled = nodes.HasUserNodeLabels();
      labels_.push_back(isLabelled ? nodes.UserNodeLabels().ConstGet(static_cast<unsigned>(i))
                                   : static_cast<int>(i) + 1);
    }
    for (exo_OutBlock& block : out_.blocks)
      for (int& node : block.nodes) node = number[static_cast<std::size_t>(node)];
    out_.xyz = xyz_;
    out_.placement = bme_Placement(mesh_);
    out_.nodeLabels = labels_;
  }

  const bme_Mesh& mesh_;
  const bme_Outside& outside_;
  std::map<std::pair<int, int>, Group> groups_; ///< by group and node count
  std::vector<float> xyz_;
  std::vector<int> labels_;
  exo_OutMesh out_;
  exo_SkinSummary summary_;
  long long numCut_ = 0, numReduced_ = 0;
};
} // namespace

exo_SkinSummary exo_WriteSkin(uti_OutputFile& output, const bme_Mesh& mesh, const bme_Outside& outside,
                              bool edges) {
  if (!outside.points.empty())
    throw nex_TextException("\"" + outside.groups[static_cast<std::size_t>(outside.points.front().group)]
                            + "\" is a set of nodes, which have no outside");
  return SkinWriter(mesh, outside).Run(output, edges);
}
