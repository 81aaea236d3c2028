#include "bme_ClassWalk.h"

#include <CoreGeometry/bme_Outside.h>

#include <BasicUtils/nex_Exception.h>
#include <BasicUtils/wip_Sort.h>
#include <CoreGeometry/bme_ExternalFaces.h>
#include <CoreGeometry/bme_FEMNodeList.h>
#include <CoreGeometry/shp_Shape.h>
#include <CoreUtils/atr_Near.h>
#include <algorithm>
#include <cmath>

namespace {
using Vector = std::array<double, 3>;
constexpr double kCosOfFeature = 0.8660254037844386; // of 30 degrees

double Dot(const Vector& a, const Vector& b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }

/// Half the sum of the cross products of successive corners: for a flat polygon its area along the normal.
Vector AreaVector(std::span<const int> corners, std::span<const float> xyz) {
  Vector sum{};
  const auto at = [&](std::size_t k, std::size_t axis) {
    const auto node = static_cast<std::size_t>(corners[k % corners.size()]);
    return static_cast<double>(xyz[3 * node + axis])
           - static_cast<double>(xyz[3 * static_cast<std::size_t>(corners[0]) + axis]);
  };
  for (std::size_t k = 0; k < corners.size(); ++k)
    for (std::size_t axis = 0; axis < 3; ++axis) {
      const std::size_t b = (axis + 1) % 3, c = (axis + 2) % 3;
      sum[axis] += (at(k, b) * at(k + 1, c) - at(k, c) * at(k + 1, b)) / 2;
    }
  return sum;
}

/// The group of an element is its class.
struct GroupByClass {
  const bme_ElementData& elements;
  int operator()(unsigned element) const { return static_cast<int>(elements.GetClassIndex(element)); }
};

class Finder {
public:
  Finder(const bme_Mesh& mesh, cow_String place) : mesh_(mesh), place_(std::move(place)) {}

  bme_Outside Run(std::span<const bme_NamedSet> sets, std::span<const std::string> names) {
    if (names.empty())
      AddClasses();
    else
      AddSets(sets, names);
    if (result_.faces.empty() && result_.lines.empty())
      throw nex_TextException(place_ + ": nothing to see, no surface, solid or line element"
                              + cow_String(result_.notFinite > 0 ? " with finite coordinates" : ""));
    FindEdges();
    return std::move(result_);
  }

  bme_Outside Of(const bme_FEMFaceList& faces, const bme_FEMElemList& elements) {
    AddGroupsOfClasses();
    CountWithoutShape(elements);
    AddFaces(faces, GroupByClass{mesh_.ElementData()});
    AddLines(elements, GroupByClass{mesh_.ElementData()});
    FindEdges();
    return std::move(result_);
  }

private:
  void AddGroupsOfClasses() {
    const bme_ElementData& elements = mesh_.ElementData();
    for (unsigned i = 0; i < elements.NumClasses(); ++i)
      result_.groups.push_back(elements.GetClass(i).ElemTypeLabel() + " \""
                               + elements.GetClass(i).CategoryLabel() + '"');
  }

  void AddClasses() {
    AddGroupsOfClasses();
    const bme_FEMElemList all = bme_FEMElemList::All(mesh_);
    AddFaces(External(all), GroupByClass{mesh_.ElementData()});
    AddLines(all, GroupByClass{mesh_.ElementData()});
  }

  void AddSets(std::span<const bme_NamedSet> sets, std::span<const std::string> names) {
    std::vector<const bme_NamedSet*> chosen;
    for (const std::string& name : names) chosen.push_back(&Choose(sets, name));
    const auto isOfNodes = [](const bme_NamedSet* set) { return set->kind == rgnC_NODE_SET; };
    if (std::ranges::all_of(chosen, isOfNodes)) {
      const auto groupOf = [](unsigned) { return 0; };
      result_.groups.push_back("mesh");
      const bme_FEMElemList all = bme_FEMElemList::All(mesh_);
      AddFaces(External(all), groupOf);
      AddLines(all, groupOf);
    }
    for (std::size_t i = 0; i < chosen.size(); ++i) {
      result_.groups.push_back(names[i]);
      AddSet(*chosen[i]);
    }
  }

  void AddPoints(const bme_FEMNodeList& nodes, int group) {
    for (const unsigned node : nodes) {
      float x = 0, y = 0, z = 0;
      const bool isFinite = mesh_.NodeData().GetNodalCoord(node, x, y, z) && std::isfinite(x)
                            && std::isfinite(y) && std::isfinite(z);
      if (isFinite)
        result_.points.push_back({node, group});
      else
        ++result_.notFinite;
    }
  }

  void AddSet(const bme_NamedSet& set) {
    const int group = static_cast<int>(result_.groups.size()) - 1;
    const auto groupOf = [&](unsigned) { return group; };
    if (set.kind == rgnC_NODE_SET) return AddPoints(bme_FEMNodeList::FromSet(mesh_, set.data), group);
    if (set.kind == rgnC_MESH_SURFACE) return AddFaces(bme_FEMFaceList::FromSet(mesh_, set.data), groupOf);
    const bme_FEMElemList elements = bme_FEMElemList::FromSet(mesh_, set.data);
    AddFaces(External(elements), groupOf);
    AddLines(elements, groupOf);
  }

  const bme_NamedSet& Choose(std::span<const bme_NamedSet> sets, const cow_String& name) const {
    if (const bme_NamedSet* found = bme_FindSet(sets, name, place_)) return *found;
    std::vector<cow_String> names;
    for (const bme_NamedSet& set : sets) names.push_back(set.name);
    throw nex_TextException(place_ + ": no set \"" + name + '"' + atr_Alternatives(name, names));
  }

  void CountWithoutShape(const bme_FEMElemList& elements) {
    bme_ForEachClassOfElements(
        mesh_, elements.Words(),
        [&](const bme_ElementClass&, const shp_Shape* shape, std::span<const unsigned> words) {
          if (!shape) result_.withoutShape += static_cast<long long>(words.size());
        });
  }

  bme_FEMFaceList External(const bme_FEMElemList& elements) {
    CountWithoutShape(elements);
    bme_FaceOptions options;
    options.exclude = bme_EXCLUDE_UNSUPPORTED;
    const std::optional<bme_FaceSets> faces = bme_ComputeFaces(elements, options);
    if (!faces)
      throw nex_TextException(place_ + ": the elements cannot be worked on; \"coregeometry check\" says why");
    return faces->external.Union(faces->shared);
  }

  void AddFaces(const bme_FEMFaceList& faces, auto groupOf) {
    const std::span<const float> xyz = mesh_.NodeData().Coordinates().Const();
    for (std::size_t i = 0; i < faces.Count(); ++i) {
      poll_.Advance();
      bme_OuterFace face{faces[i], groupOf(bme_ElementOf(faces[i])), faces.FaceNodes(i), {}};
      DropRepeated(face.nodes);
      if (face.nodes.corners < 3 || !IsFinite(face.nodes)) continue;
      face.normal = AreaVector(face.nodes.Corners(), xyz);
      result_.faces.push_back(face);
    }
  }

  /// Leaves out each corner that is the one before it, with the middle node between them, and the centre.
  static void DropRepeated(bme_LocalNodes& nodes) {
    const bme_LocalNodes old = nodes;
    const bool hasMids = old.count >= 2 * old.corners;
    std::array<int, bme_LocalNodes::kMost> mids{};
    nodes.corners = 0;
    for (unsigned k = 0; k < old.corners; ++k) {
      if (old.nodes[k] == old.nodes[(k + 1) % old.corners]) continue;
      if (hasMids) mids[nodes.corners] = old.nodes[old.corners + k];
      nodes.nodes[nodes.corners++] = old.nodes[k];
    }
    if (nodes.corners == old.corners) {
      nodes = old;
      return;
    }
    nodes.count = nodes.corners;
    for (unsigned k = 0; hasMids && k < nodes.corners; ++k) nodes.nodes[nodes.count++] = mids[k];
  }

  /// Counts those that are not.
  bool IsFinite(const bme_LocalNodes& nodes) {
    const std::span<const float> xyz = mesh_.NodeData().Coordinates().Const();
    const bool isFinite = std::ranges::all_of(nodes.Nodes(), [&](int node) {
      const float* at = &xyz[3 * static_cast<std::size_t>(node)];
      return std::isfinite(at[0]) && std::isfinite(at[1]) && std::isfinite(at[2]);
    });
    result_.notFinite += !isFinite;
    return isFinite;
  }

  void AddLines(const bme_FEMElemList& elements, auto groupOf) {
    for (const unsigned element : elements) {
      poll_.Advance();
      unsigned classIndex = 0, inClass = 0;
      mesh_.ElementData().GetClassAndElemIndex(element, classIndex, inClass);
      const bme_ElementClass& type = mesh_.ElementData().GetClass(classIndex);
      const shp_Shape* shape = type.Shape();
      if (!shape || shape->NumGeomDims() != 1) continue;
      const std::span<const int> row = type.Connectivity(static_cast<int>(inClass));
      bme_OuterLine line{element, groupOf(element), {}};
      for (const int node : shape->EdgeNodes(0, 0)) {
        const int index = row[static_cast<std::size_t>(node)];
        if (static_cast<unsigned>(index) >= mesh_.NodeData().NumNodes())
          throw nex_TextException(place_ + ": element index " + std::to_string(element) + " has node index "
                                  + std::to_string(index) + ", the mesh "
                                  + std::to_string(mesh_.NodeData().NumNodes()) + " nodes");
        line.nodes.nodes[line.nodes.count++] = index;
      }
      if (line.nodes.count >= 2 && IsFinite(line.nodes)) result_.lines.push_back(line);
    }
  }

  struct Side {
    std::array<int, 2> ends; ///< the smaller index first
    unsigned face;
    int middle;
    bool isForward;
    auto operator<=>(const Side&) const = default;
  };

  void FindEdges() {
    std::vector<Side> sides;
    for (unsigned f = 0; f < result_.faces.size(); ++f) {
      poll_.Advance();
      const bme_OuterFace& face = result_.faces[f];
      for (unsigned k = 0; k < face.nodes.corners; ++k) {
        const int a = face.nodes.nodes[k], b = face.nodes.nodes[(k + 1) % face.nodes.corners];
        const int middle = face.HasMidNodes() ? face.nodes.nodes[face.nodes.corners + k] : -1;
        if (a != b) sides.push_back({{std::min(a, b), std::max(a, b)}, f, middle, a < b});
      }
    }
    wip_Sort(sides, std::less());
    for (auto first = sides.begin(); first != sides.end();) {
      poll_.Advance();
      const auto next =
          std::find_if(first, sides.end(), [&](const Side& s) { return s.ends != first->ends; });
      const bool isFeature = next - first != 2 || Differ(first[0], first[1]);
      result_.edges.push_back({first->ends, first->middle, first->face, isFeature});
      first = next;
    }
  }

  bool Differ(const Side& a, const Side& b) const {
    const bme_OuterFace &first = result_.faces[a.face], &second = result_.faces[b.face];
    if (first.group != second.group) return true;
    const double lengths = std::sqrt(Dot(first.normal, first.normal) * Dot(second.normal, second.normal));
    const double cosine = Dot(first.normal, second.normal) * (a.isForward == b.isForward ? -1 : 1);
    return cosine < kCosOfFeature * lengths;
  }

  const bme_Mesh& mesh_;
  cow_String place_;
  wip_Poll poll_{1U << 15U};
  bme_Outside result_;
};
} // namespace

bme_Outside bme_FindOutside(const bme_Mesh& mesh, std::span<const bme_NamedSet> sets,
                            std::span<const std::string> names, const cow_String& place) {
  return Finder(mesh, place).Run(sets, names);
}

bme_Outside bme_OutsideOf(const bme_FEMFaceList& faces, const bme_FEMElemList& elements) {
  return Finder(faces.Mesh(), "").Of(faces, elements);
}
