#include <CoreGeometry/bme_SweepMesh.h>

#include "bme_ClassWalk.h"
#include "bme_NodeNormals.h"
#include "bme_PieceMaker.h"
#include "bme_SweptType.h"
#include "bme_Vectors.h"

#include <CoreGeometry/rgnC_Facet.h>
#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>
#include <optional>

namespace {
using Vector = bme_Vector;

void CheckFinite(const Vector& vector, const char* what) {
  if (!std::isfinite(vector[0] + vector[1] + vector[2]))
    throw nex_TextException(cow_String(what) + " is not finite");
}

/// Twice the area of the loop of corners, along its normal.
Vector AreaVector(const bme_NodeData& nodes, const shp_Shape& shape, std::span<const int> row) {
  const std::span<const int> loop = bme_Corners(shape, 0);
  const auto at = [&](std::size_t k) { return bme_PlaceOf(nodes, row[static_cast<std::size_t>(loop[k])]); };
  Vector area{};
  for (std::size_t k = 1; k + 1 < loop.size(); ++k)
    area = bme_Sum(area, 1, bme_Cross(bme_Sum(at(k), -1, at(0)), bme_Sum(at(k + 1), -1, at(0))));
  return area;
}

/// How nodes move: `place` gives where a node is after a share of the way, `motion` where it goes from its old place.
struct Way {
  unsigned layers = 1;
  bool isClosed = false, movesOld = false, beginsAtTop = false;
  std::function<Vector(int node, double share)> place;
  std::function<Vector(int node)> motion;
  std::function<bool(int node)> isOnAxis = [](int) { return false; };
};

class Sweeper {
public:
  Sweeper(const bme_MeshAndSets& source, const Way& way, const bme_TypeChoice& types)
      : source_(source), mesh_(source.mesh), nodes_(mesh_.NodeData()), way_(way), types_(types),
        pieces_(source), kinds_(mesh_.ElementData().NumElements(), -1) {
    if (way.layers == 0) throw nex_TextException("a sweep needs at least one layer");
  }

  bme_Swept Sweep() {
    FindTypes();
    NumberNodes();
    MakeElements();
    bme_Swept swept{pieces_.Make(MakeNodes(), {}), std::move(baseNodes_)};
    SendSets(swept);
    swept.remarks = std::move(remarks_);
    return swept;
  }

private:
  struct Used {
    int classIndex, edgeOnAxis;
    bool isAgainst;
    bme_SweptType type;
  };

  [[noreturn]] void Refuse(const bme_ElementClass& type, int position, const char* why) const {
    throw nex_TextException(bme_Describe(type) + ": element "
                            + std::to_string(pieces_.LabelOf(type, position)) + ' ' + why);
  }

  void FindTypes() {
    const bme_ElementData& elements = mesh_.ElementData();
    bool areThere = false;
    for (unsigned c = 0; c < elements.NumClasses(); ++c) {
      const bme_ElementClass& type = elements.GetClass(c);
      if (!bme_CanBeSwept(type)) {
        if (type.NumElements() > 0)
          remarks_.push_back(bme_Describe(type) + " is left out: its elements are no surfaces");
        continue;
      }
      areThere = true;
      wip_Poll poll(8192);
      for (int i = 0; i < type.NumElements(); ++i) {
        poll.Advance();
        kinds_[static_cast<std::size_t>(type.FirstElementIndex()) + static_cast<std::size_t>(i)] =
            TypeFor(type, i);
      }
    }
    if (!areThere) throw nex_TextException("the mesh has no surface elements to sweep");
  }

  int TypeFor(const bme_ElementClass& type, int position) {
    const shp_Shape& shape = *type.Shape();
    const std::span<const int> row = type.Connectivity(position), loop = bme_Corners(shape, 0);
    const Vector area = AreaVector(nodes_, shape, row);
    std::vector<int>& onAxis = scratch_; // positions in the loop
    onAxis.clear();
    double least = std::numeric_limits<double>::max(), greatest = -least;
    for (std::size_t k = 0; k < loop.size(); ++k) {
      const int node = row[static_cast<std::size_t>(loop[k])];
      if (way_.isOnAxis(node)) {
        onAxis.push_back(static_cast<int>(k));
        continue;
      }
      const Vector motion = way_.motion(node);
      const double share =
          bme_Dot(area, motion) / (bme_Length(area) * bme_Length(motion)); // not a number without area
      least = std::min(least, std::isfinite(share) ? share : 0);
      greatest = std::max(greatest, std::isfinite(share) ? share : 0);
    }
    constexpr double kParallel = 1e-6;
    if (onAxis.size() == loop.size() || (std::abs(least) <= kParallel && std::abs(greatest) <= kParallel))
      Refuse(type, position, "would become a solid without volume");
    if (least * greatest <= 0 || std::min(std::abs(least), std::abs(greatest)) <= kParallel)
      Refuse(type, position, "would be swept to both of its sides");
    int edge = -1;
    const auto count = static_cast<int>(loop.size());
    if (onAxis.size() == 2) {
      if (onAxis[1] == onAxis[0] + 1) edge = onAxis[0];
      if (onAxis[0] == 0 && onAxis[1] == count - 1) edge = count - 1;
    }
    if (onAxis.size() > 2 || (onAxis.size() == 2 && edge < 0))
      Refuse(type, position, "has corners on the axis that are no edge");
    return NumberOf(type, position, edge, least < 0);
  }

  int NumberOf(const bme_ElementClass& type, int position, int edge, bool isAgainst) {
    const auto known = std::ranges::find_if(used_, [&](const Used& one) {
      return one.classIndex == type.ClassIndex() && one.edgeOnAxis == edge && one.isAgainst == isAgainst;
    });
    if (known != used_.end()) return static_cast<int>(known - used_.begin());
    auto made = bme_SweptType::Of(*type.Shape(), types_, isAgainst, edge);
    if (!made)
      Refuse(type, position, edge < 0 ? "has nodes of which no solid is known" : "has an edge on the axis");
    used_.push_back({type.ClassIndex(), edge, isAgainst, std::move(*made)});
    return static_cast<int>(used_.size()) - 1;
  }

  template<class Visit> void ForEachElement(Visit visit) const {
    const bme_ElementData& elements = mesh_.ElementData();
    for (unsigned c = 0; c < elements.NumClasses(); ++c) {
      const bme_ElementClass& type = elements.GetClass(c);
      wip_Poll poll(8192);
      for (int i = 0; i < type.NumElements(); ++i) {
        poll.Advance();
        const int kind =
            kinds_[static_cast<std::size_t>(type.FirstElementIndex()) + static_cast<std::size_t>(i)];
        if (kind >= 0) visit(type, i, used_[static_cast<std::size_t>(kind)]);
      }
    }
  }

  /// Which nodes are at the ends of layers, and which half way through them.
  void NumberNodes() {
    ranks_[0].assign(nodes_.NumNodes(), -1);
    ranks_[1] = ranks_[0];
    isSwept_.assign(nodes_.NumNodes(), 0);
    ForEachElement([&](const bme_ElementClass& type, int position, const Used& used) {
      const std::span<const int> row = type.Connectivity(position);
      for (const int node : row) isSwept_[static_cast<std::size_t>(node)] = 1;
      for (const bme_SweptType::Node& node : used.type.nodes) {
        const int base = row[static_cast<std::size_t>(node.local)];
        if (!node.isOnAxis && !way_.isOnAxis(base))
          ranks_[static_cast<std::size_t>(node.level % 2)][static_cast<std::size_t>(base)] = 0;
      }
    });
    for (std::size_t half = 0; half < 2; ++half)
      for (int& rank : ranks_[half])
        if (rank == 0) rank = counts_[half]++;
    const long long levels = way_.isClosed ? way_.layers - 1 : way_.layers;
    const long long made = levels * counts_[0] + static_cast<long long>(way_.layers) * counts_[1];
    if (made + nodes_.NumNodes() > std::numeric_limits<int>::max())
      throw nex_TextException("there would be more than 2147483647 nodes");
    baseNodes_.resize(nodes_.NumNodes() + static_cast<std::size_t>(made));
  }

  /// Level 2 k is the end of layer k, from 1.
  int NodeAt(int base, int level) const {
    const bool isOld = level == 0 || (way_.isClosed && level == 2 * static_cast<int>(way_.layers));
    if (isOld || way_.isOnAxis(base)) return base;
    const int layer = (level - 1) / 2, first = static_cast<int>(nodes_.NumNodes());
    const bool isHalf = level % 2 != 0;
    return first + layer * (counts_[0] + counts_[1]) + (isHalf ? 0 : counts_[1])
           + ranks_[isHalf ? 1 : 0][static_cast<std::size_t>(base)];
  }

  void MakeElements() {
    const bme_ElementData& elements = mesh_.ElementData();
    std::vector<int> made;
    for (unsigned c = 0; c < elements.NumClasses(); ++c)
      for (const bool isAtAxis : {false, true}) {
        const bme_ElementClass& type = elements.GetClass(c);
        const bme_SweptType* last = nullptr;
        wip_Poll poll(8192);
        for (int i = 0; i < type.NumElements(); ++i) {
          poll.Advance();
          const int kind =
              kinds_[static_cast<std::size_t>(type.FirstElementIndex()) + static_cast<std::size_t>(i)];
          if (kind < 0 || (used_[static_cast<std::size_t>(kind)].edgeOnAxis >= 0) != isAtAxis) continue;
          if (!last) pieces_.Begin(type);
          last = &used_[static_cast<std::size_t>(kind)].type;
          const std::span<const int> row = type.Connectivity(i);
          for (int layer = 0; layer < static_cast<int>(way_.layers); ++layer) {
            made.clear();
            for (const bme_SweptType::Node& node : last->nodes)
              made.push_back(NodeAt(row[static_cast<std::size_t>(node.local)], 2 * layer + node.level));
            pieces_.Add(type, i, made);
          }
        }
        if (last) pieces_.End(type, last->label, last->nodes.size(), false);
      }
  }

  bme_NodeData MakeNodes() {
    cow_ArrayCOW<float> xyz(nodes_.Coordinates().Const());
    const std::size_t numOld = nodes_.NumNodes();
    xyz.Resize(3 * baseNodes_.size());
    const std::span<float> all = xyz.Modify();
    const auto put = [&](std::size_t at, int base, double share) {
      const Vector place = way_.place(base, share);
      for (std::size_t axis = 0; axis < 3; ++axis) {
        all[3 * at + axis] = static_cast<float>(place[axis]);
        if (!std::isfinite(all[3 * at + axis]))
          throw nex_TextException("node "
                                  + std::to_string(bme_LabelOfNode(nodes_, static_cast<unsigned>(base)))
                                  + " is swept beyond what single precision can hold");
      }
      baseNodes_[at] = static_cast<unsigned>(base);
    };
    const int levels = 2 * static_cast<int>(way_.layers);
    wip_Poll poll(65536);
    for (int base = 0; base < static_cast<int>(numOld); ++base) {
      const auto b = static_cast<std::size_t>(base);
      baseNodes_[b] = static_cast<unsigned>(base);
      if (way_.movesOld && isSwept_[b] != 0) put(b, base, 0);
      for (int level = 1; level <= levels; ++level) {
        poll.Advance();
        if (ranks_[static_cast<std::size_t>(level % 2)][b] < 0) continue;
        const int node = NodeAt(base, level);
        if (node != base) put(static_cast<std::size_t>(node), base, static_cast<double>(level) / levels);
      }
    }
    bme_NodeData made(uti_CoordCont3D(std::move(xyz)), 3);
    if (!nodes_.HasUserNodeLabels()) return made;
    std::vector<int> labels = bme_NodeLabels(nodes_);
    const long long largest = labels.empty() ? 0 : *std::ranges::max_element(labels);
    const auto numMade = static_cast<long long>(baseNodes_.size() - numOld);
    if (largest + numMade > std::numeric_limits<int>::max())
      throw nex_TextException("node labels from " + std::to_string(largest + 1) + " on for "
                              + std::to_string(numMade) + " new nodes are above 2147483647");
    labels.reserve(baseNodes_.size());
    for (long long i = 1; i <= numMade; ++i) labels.push_back(static_cast<int>(largest + i));
    made.SetUserNodeLabels(cls_xp1DArrayListInt(labels));
    return made;
  }

  // sets
  struct Items {
    std::vector<unsigned> nodes, elements, faces;
  };

  const Used* UsedBy(unsigned element) const {
    if (element >= kinds_.size() || kinds_[element] < 0) return nullptr;
    return &used_[static_cast<std::size_t>(kinds_[element])];
  }

  /// Faces where the sweep of an element begins or ends; none when it is closed.
  void AddEnd(const bme_Swept& swept, unsigned element, bool isStart, std::vector<unsigned>& faces) const {
    const Used* used = UsedBy(element);
    if (!used || way_.isClosed) return;
    const auto first = static_cast<unsigned>(swept.renumbering.elements.to[element]);
    const int face = isStart ? used->type.startFace : used->type.endFace;
    faces.push_back(bme_FaceWord(isStart ? first : first + way_.layers - 1, static_cast<unsigned>(face)));
  }

  void AddItem(const bme_Swept& swept, res_SetTypeEnm type, int id, int facet, Items& items) const {
    const auto element = static_cast<unsigned>(id);
    const Used* used = UsedBy(element);
    if (!used) return;
    const auto first = static_cast<unsigned>(swept.renumbering.elements.to[element]);
    if (type == res_SURFACE_EDGE) {
      const auto edge = static_cast<std::size_t>(static_cast<unsigned>(rgnC_EdgeFacetOf(facet).edge));
      const int face = edge < used->type.sideFaces.size() ? used->type.sideFaces[edge] : -1;
      for (unsigned layer = 0; layer < way_.layers && face >= 0; ++layer)
        items.faces.push_back(bme_FaceWord(first + layer, static_cast<unsigned>(face)));
    } else if (type == res_SURFACE_SET || type == res_SURFACE_FACET) {
      const shp_Shape& shape = *mesh_.ElementData().GetElemClass(element).Shape();
      const bool isBack = facet >= 0 && rgnC_FacetOf(shape, facet).isBack;
      AddEnd(swept, element, isBack != used->isAgainst, items.faces);
    } else {
      for (unsigned layer = 0; layer < way_.layers; ++layer) items.elements.push_back(first + layer);
    }
  }

  rgnC_SetData SendSet(const rgnC_SetData& set, const bme_Swept& swept) const {
    rgnC_SetData sent;
    sent.SetType(set.GetSetType());
    Items items;
    for (int i = 0; i < set.NumSubset(); ++i) {
      const rgnC_SubsetData& subset = set.SubSet(i);
      const res_SetTypeEnm type = subset.SubsetType();
      if (subset.MeshIndex() != mesh_.Id() || type == res_SURFACE_ANALYTICAL) {
        sent.AppendSubset(subset);
      } else if (type == res_NODE_SET || type == res_SURFACE_NODE) {
        std::vector<unsigned char> marks(nodes_.NumNodes(), 0);
        for (const int node : subset.IdArray())
          if (static_cast<unsigned>(node) < marks.size()) marks[static_cast<std::size_t>(node)] = 1;
        for (unsigned node = 0; node < swept.baseNodes.size(); ++node)
          if (marks[swept.baseNodes[node]] != 0) items.nodes.push_back(node);
      } else {
        const std::span<const int> ids = subset.IdArray(), facets = subset.FacetIdArray();
        for (std::size_t k = 0; k < ids.size(); ++k)
          AddItem(swept, type, ids[k], facets.empty() ? -1 : facets[k], items);
      }
    }
    const bme_Mesh& made = swept.result.mesh;
    for (const rgnC_SetData& part :
         {bme_FEMNodeList(made, items.nodes).ToSet(), bme_FEMElemList(made, items.elements).ToSet(),
          bme_FEMFaceList(made, items.faces).ToSet()}) {
      for (int i = 0; i < part.NumSubset(); ++i) sent.AppendSubset(part.SubSet(i));
      if (part.NumSubset() > 0) sent.SetType(part.GetSetType());
    }
    sent.SetIndex(set.GetSetIndex());
    sent.SetLabel(set.GetSetLabel());
    sent.SetInternal(set.IsInternal());
    return sent;
  }

  void SendSets(bme_Swept& swept) {
    bme_MeshAndSets& result = swept.result;
    result.sets = source_.sets;
    result.notes = source_.notes;
    if (!source_.notes.annotations.List().IsEmpty()) {
      result.notes.annotations.ListToModify() = {};
      remarks_.push_back("the notes of sets and classes are left out, since they do not fit");
    }
    for (std::size_t i = 0; i < result.sets.size(); ++i) {
      result.sets[i].data = SendSet(source_.sets[i].data, swept);
      if (source_.sets[i].data.NumSubset() > 0 && result.sets[i].data.NumSubset() == 0)
        remarks_.push_back(bme_KindWord(result.sets[i].kind) + (" set \"" + result.sets[i].name)
                           + "\" is empty now");
    }
    if (way_.isClosed) return;
    AddEnds(swept, "bottom", !way_.beginsAtTop);
    AddEnds(swept, "top", way_.beginsAtTop);
  }

  void AddEnds(bme_Swept& swept, const cow_String& wanted, bool areStarts) const {
    std::vector<unsigned> words;
    for (unsigned element = 0; element < kinds_.size(); ++element) AddEnd(swept, element, areStarts, words);
    cow_String name = wanted;
    int index = 1;
    for (const bme_NamedSet& set : swept.result.sets) index = std::max(index, set.data.GetSetIndex() + 1);
    const auto isTaken = [&](const cow_String& text) {
      return std::ranges::any_of(
          swept.result.sets, [&](const bme_NamedSet& set) { return set.name == text || set.Root() == text; });
    };
    for (int number = 2; isTaken(name); ++number) name = wanted + "-" + std::to_string(number);
    rgnC_SetData data = bme_FEMFaceList(swept.result.mesh, words).ToSet();
    data.SetIndex(index);
    data.SetLabel(name);
    swept.result.sets.push_back({name, bme_KindOf(data), data});
  }

  const bme_MeshAndSets& source_;
  const bme_Mesh& mesh_;
  const bme_NodeData& nodes_;
  const Way& way_;
  const bme_TypeChoice& types_;
  bme_PieceMaker pieces_;
  std::vector<int> kinds_; ///< of each old element its type in used_, -1 for none
  std::vector<Used> used_;
  std::vector<int>
      ranks_[2]; ///< of old nodes at the ends of layers and half way, -1 for those that are not there
  int counts_[2] = {0, 0};
  std::vector<unsigned char> isSwept_;
  std::vector<unsigned> baseNodes_;
  std::vector<int> scratch_;
  std::vector<cow_String> remarks_;
};
} // namespace

bme_Swept bme_ExtrudeMesh(const bme_MeshAndSets& source, const std::array<double, 3>& vector, unsigned layers,
                          const bme_TypeChoice& types) {
  CheckFinite(vector, "the vector of an extrusion");
  if (bme_Length(vector) == 0) throw nex_TextException("0, 0, 0 is no vector to extrude along");
  const bme_NodeData& nodes = source.mesh.NodeData();
  Way way{.layers = layers, .place = {}, .motion = {}};
  way.place = [&](int node, double share) { return bme_Sum(bme_PlaceOf(nodes, node), share, vector); };
  way.motion = [&](int) { return vector; };
  return Sweeper(source, way, types).Sweep();
}

bme_Swept bme_RevolveMesh(const bme_MeshAndSets& source, const std::array<double, 3>& point,
                          const std::array<double, 3>& axis, double angle, unsigned layers,
                          const bme_TypeChoice& types) {
  CheckFinite(point, "the point of a revolution");
  CheckFinite(axis, "the axis of a revolution");
  constexpr double kTurn = 2 * std::numbers::pi, kRounding = 1e-9;
  if (bme_Length(axis) == 0) throw nex_TextException("0, 0, 0 is no axis to revolve about");
  if (angle == 0 || !(std::abs(angle) <= kTurn * (1 + kRounding)))
    throw nex_TextException("an angle of " + std::to_string(angle) + " radians is none of a revolution");
  Way way{.layers = layers, .place = {}, .motion = {}};
  way.isClosed = std::abs(angle) >= kTurn * (1 - kRounding);
  if (layers > 0 && std::abs(angle) / layers > std::numbers::pi * (1 - kRounding))
    throw nex_TextException("layers of half a turn or more have no shape: more than " + std::to_string(layers)
                            + " are needed");
  const bme_NodeData& nodes = source.mesh.NodeData();
  const Vector unit = bme_Sum({}, 1 / bme_Length(axis), axis);
  const auto across = [&](int node) { // from the axis
    const Vector from = bme_Sum(bme_PlaceOf(nodes, node), -1, point);
    return bme_Sum(from, -bme_Dot(from, unit), unit);
  };
  double largest = 0;
  for (int node = 0; node < static_cast<int>(nodes.NumNodes()); ++node)
    if (const double length = bme_Length(bme_Sum(bme_PlaceOf(nodes, node), -1, point)); std::isfinite(length))
      largest = std::max(largest, length);
  constexpr double kShare = 1e-6;
  way.isOnAxis = [&, within = kShare * largest](int node) { return !(bme_Length(across(node)) > within); };
  way.place = [&](int node, double share) {
    const Vector radius = across(node), foot = bme_Sum(bme_PlaceOf(nodes, node), -1, radius);
    const Vector there = bme_Sum(foot, std::cos(share * angle), radius);
    return bme_Sum(there, std::sin(share * angle), bme_Cross(unit, radius));
  };
  way.motion = [&](int node) { return bme_Sum({}, angle < 0 ? -1 : 1, bme_Cross(unit, across(node))); };
  return Sweeper(source, way, types).Sweep();
}

bme_Swept bme_OffsetMesh(const bme_MeshAndSets& source, double thickness, bme_OffsetSide side,
                         unsigned layers, const bme_TypeChoice& types) {
  if (!(thickness > 0) || !std::isfinite(thickness))
    throw nex_TextException("a thickness of " + std::to_string(thickness) + " is not above 0");
  bme_CheckNodes(source.mesh);
  const bme_NodeData& nodes = source.mesh.NodeData();
  const std::vector<Vector> normals = bme_NodeNormals(source.mesh);
  const double way0 = side == bme_OffsetSide::Both ? -thickness / 2 : 0,
               length = side == bme_OffsetSide::Bottom ? -thickness : thickness;
  Way way{.layers = layers, .place = {}, .motion = {}};
  way.movesOld = side == bme_OffsetSide::Both;
  way.beginsAtTop = side == bme_OffsetSide::Bottom;
  way.place = [&](int node, double share) {
    return bme_Sum(bme_PlaceOf(nodes, node), way0 + share * length, normals[static_cast<std::size_t>(node)]);
  };
  way.motion = [&](int node) { return bme_Sum({}, length, normals[static_cast<std::size_t>(node)]); };
  return Sweeper(source, way, types).Sweep();
}
