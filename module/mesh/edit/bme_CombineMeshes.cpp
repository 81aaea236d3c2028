#include <CoreGeometry/bme_CombineMeshes.h>

#include "bme_Making.h"

#include <BasicUtils/wip_Poll.h>
#include <CoreGeometry/bme_Placement.h>
#include <CoreUtils/omi_Duplicates.h>
#include <algorithm>
#include <limits>
#include <map>
#include <numeric>
#include <set>

namespace {
/// Without `from`, which would be as long as all meshes together for each of them.
bme_IndexMap Shifted(unsigned first, unsigned count) {
  bme_IndexMap map;
  map.to.resize(count);
  std::iota(map.to.begin(), map.to.end(), static_cast<int>(first));
  return map;
}

bme_Renumbering Shifted(const bme_Combined::Part& part) {
  return {Shifted(part.firstNode, part.numNodes), Shifted(part.firstElement, part.numElements),
          Shifted(part.firstClass, part.numClasses)};
}

using Lists = std::vector<std::vector<int>>;

/// Labels of nodes or of elements, mesh by mesh, none above the largest that there is.
void SettleLabels(std::span<const bme_MeshToCombine> meshes, Lists& labels, bme_Labels mode,
                  const char* what) {
  if (mode == bme_Labels::Offset) {
    long long largest = 0;
    for (std::size_t m = 0; m < labels.size(); ++m) {
      const long long offset = m == 0 ? 0 : largest;
      for (int& label : labels[m]) {
        if (label + offset > std::numeric_limits<int>::max())
          throw nex_TextException(meshes[m].name + ": " + what + " " + std::to_string(label)
                                  + " and an offset of " + std::to_string(offset) + " is above 2147483647");
        label = static_cast<int>(label + offset);
        largest = std::max<long long>(largest, label);
      }
    }
    return;
  }
  std::vector<std::span<const int>> all(labels.begin(), labels.end());
  const auto twice = omi_FindDuplicate(all);
  if (!twice) return;
  const auto nameOf = [&](std::size_t position) {
    std::size_t m = 0;
    while (position >= all[m].size()) position -= all[m++].size();
    return meshes[m].name;
  };
  throw nex_TextException(cow_String(what) + " " + std::to_string(twice->label) + " is in "
                          + nameOf(twice->first) + " and in " + nameOf(twice->second));
}

bme_NodeData CombineNodes(std::span<const bme_MeshToCombine> meshes, bme_Labels mode) {
  const bme_NodeData& first = meshes[0].mesh->mesh.NodeData();
  if (meshes.size() == 1) return first;
  const bme_Placement placement(meshes[0].mesh->mesh);
  cow_ArrayCOW<float> xyz;
  Lists labels;
  bool areLabelled = false;
  unsigned dimension = 2;
  std::size_t total = 0;
  for (const bme_MeshToCombine& one : meshes) total += one.mesh->mesh.NodeData().Coordinates().Const().size();
  xyz.Reserve(total);
  for (const bme_MeshToCombine& one : meshes) {
    wip_Poll::Now();
    const bme_NodeData& nodes = one.mesh->mesh.NodeData();
    const std::size_t before = xyz.Size();
    xyz.Append(nodes.Coordinates().Const());
    gsl_Matrix into = bme_Placement(one.mesh->mesh).Into(placement);
    if (!into.IsIdentity()) into.Transform(xyz.Modify().subspan(before));
    labels.push_back(bme_NodeLabels(nodes));
    areLabelled |= nodes.HasUserNodeLabels();
    dimension = std::max(dimension, nodes.Dimension());
  }
  bme_NodeData made(uti_CoordCont3D(std::move(xyz)), dimension);
  if (!areLabelled && mode == bme_Labels::Offset) return made; // 1 to n, which is what the offsets give
  SettleLabels(meshes, labels, mode, "node label");
  std::vector<int> all;
  for (const std::vector<int>& some : labels) all.insert(all.end(), some.begin(), some.end());
  made.SetUserNodeLabels(cls_xp1DArrayListInt(all));
  return made;
}

bme_Classes CombineClasses(std::span<const bme_MeshToCombine> meshes,
                           std::span<const bme_Combined::Part> parts, bme_Labels mode) {
  Lists labels;
  bool areLabelled = mode == bme_Labels::Keep && meshes.size() > 1;
  for (const bme_MeshToCombine& one : meshes) {
    labels.push_back(bme_AllElementLabels(one.mesh->mesh.ElementData()));
    areLabelled |= one.mesh->mesh.ElementData().HasUserElementLabels();
  }
  if (areLabelled) SettleLabels(meshes, labels, mode, "element label");
  bme_Classes classes;
  for (std::size_t m = 0; m < meshes.size(); ++m) {
    const bme_ElementData& elements = meshes[m].mesh->mesh.ElementData();
    for (unsigned c = 0; c < elements.NumClasses(); ++c) {
      wip_Poll::Now();
      const bme_ElementClass& type = elements.GetClass(c);
      if (m == 0) {
        classes.push_back(std::make_unique<bme_ElementClass>(type));
      } else {
        std::vector<int> positions(static_cast<std::size_t>(type.NumElements()));
        std::iota(positions.begin(), positions.end(), 0);
        cow_ArrayCOW<int> rows(type.ElementConnectivity().Const());
        for (int& node : rows.Modify())
          if (node >= 0) node += static_cast<int>(parts[m].firstNode);
        classes.push_back(bme_ClassLike(type, positions, std::move(rows)));
        classes.back()->SetMeshIndex(meshes[0].mesh->mesh.Id());
      }
      if (areLabelled && (m > 0 || !elements.HasUserElementLabels()))
        classes.back()->SetUserElementLabels(
            std::span<const int>(labels[m]).subspan(static_cast<std::size_t>(type.FirstElementIndex()),
                                                    static_cast<std::size_t>(type.NumElements())));
    }
  }
  return classes;
}

/// Gives the sets of one mesh after the other names, roots and indices that no other one has.
class Naming {
public:
  explicit Naming(std::span<const bme_MeshToCombine> meshes) {
    for (const bme_MeshToCombine& one : meshes) {
      std::set<cow_String> own;
      for (const bme_NamedSet& set : one.mesh->sets) own.insert(set.name);
      for (const cow_String& name : own) ++numMeshes_[name];
    }
  }

  /// Returns what was added to the indices of sets.
  int Name(const cow_String& mesh, std::vector<bme_NamedSet>& sets) {
    bool doClash = false;
    int largest = largest_;
    for (bme_NamedSet& set : sets) {
      doClash |= !indices_.emplace(set.kind, set.data.GetSetIndex()).second;
      if (numMeshes_[set.name] > 1) {
        set.root = mesh + "." + set.Root();
        set.name = mesh + "." + set.name;
      }
      const cow_String root = set.Root();
      for (int i = 2; !roots_.insert(set.Root()).second; ++i) set.root = root + "-" + std::to_string(i);
    }
    const int offset = doClash ? largest_ + 1 : 0;
    for (bme_NamedSet& set : sets) {
      const int index = set.data.GetSetIndex() + offset;
      set.data.SetIndex(index);
      indices_.emplace(set.kind, index);
      largest = std::max(largest, index);
    }
    largest_ = largest;
    return offset;
  }

private:
  std::map<cow_String, int> numMeshes_; ///< that have a set of that name
  std::set<cow_String> roots_;
  std::set<std::pair<int, int>> indices_;
  int largest_ = -1;
};

/// Indices within one mesh may repeat; only those of meshes before count.
void Append(bme_MeshNotes& notes, const bme_MeshNotes& added, int setOffset, bool isFirst) {
  if (isFirst) {
    notes = added;
    return;
  }
  for (const cow_String& line : added.information.List()) notes.information.ListToModify().Append(line);
  for (const cow_String& text : added.programs.List()) notes.programs.ListToModify().Append(text);
  for (bme_Annotation note : added.annotations.List()) {
    if (note.noted != bme_CLASS_NOTED) note.number += setOffset;
    notes.annotations.ListToModify().Append(note);
  }
}
} // namespace

bme_Renumbering bme_Combined::RenumberingOf(std::size_t part) const {
  bme_Renumbering renumbering = Shifted(parts.at(part));
  const auto invert = [](bme_IndexMap& map, unsigned total) {
    map.from.assign(total, -1);
    for (std::size_t i = 0; i < map.to.size(); ++i)
      map.from[static_cast<std::size_t>(map.to[i])] = static_cast<int>(i);
  };
  invert(renumbering.nodes, result.mesh.NodeData().NumNodes());
  invert(renumbering.elements, result.mesh.ElementData().NumElements());
  invert(renumbering.classes, result.mesh.ElementData().NumClasses());
  if (part < turns.size()) renumbering.turns = turns[part];
  return renumbering;
}

bme_Combined bme_CombineMeshes(std::span<const bme_MeshToCombine> meshes, bme_Labels labels) {
  if (meshes.empty()) throw nex_TextException("no mesh to combine");
  std::vector<bme_Combined::Part> parts;
  bme_Combined::Part next{};
  for (const bme_MeshToCombine& one : meshes) {
    const bme_ElementData& elements = one.mesh->mesh.ElementData();
    next = {next.firstNode + next.numNodes,       one.mesh->mesh.NodeData().NumNodes(),
            next.firstElement + next.numElements, elements.NumElements(),
            next.firstClass + next.numClasses,    elements.NumClasses()};
    const long long numNodes = static_cast<long long>(next.firstNode) + next.numNodes,
                    numElements = static_cast<long long>(next.firstElement) + next.numElements;
    if (std::max(numNodes, numElements) > std::numeric_limits<int>::max())
      throw nex_TextException(one.name + ": " + std::to_string(numNodes) + " nodes and "
                              + std::to_string(numElements) + " elements in all are more than 2147483647");
    parts.push_back(next);
  }
  const bme_NodeData nodes = CombineNodes(meshes, labels);
  bme_Combined combined{{bme_MeshLike(meshes[0].mesh->mesh, nodes, CombineClasses(meshes, parts, labels))},
                        parts};
  Naming naming(meshes);
  for (std::size_t m = 0; m < meshes.size(); ++m) {
    bme_Edited one{{combined.result.mesh}, Shifted(parts[m])};
    bme_SendSets(*meshes[m].mesh, one);
    const int offset = naming.Name(meshes[m].name, one.result.sets);
    std::ranges::move(one.result.sets, std::back_inserter(combined.result.sets));
    std::ranges::move(one.remarks, std::back_inserter(combined.remarks));
    Append(combined.result.notes, one.result.notes, offset, m == 0);
  }
  return combined;
}
