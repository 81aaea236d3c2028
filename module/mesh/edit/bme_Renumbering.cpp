#include <CoreGeometry/bme_Renumbering.h>

#include "bme_Pieces.h"

#include <BasicUtils/wip_Poll.h>
#include <CoreGeometry/bme_Turned.h>
#include <CoreGeometry/rgnC_Facet.h>
#include <CoreGeometry/shp_Shape.h>
#include <algorithm>
#include <compare>
#include <map>
#include <numeric>

bme_IndexMap bme_IndexMap::Identity(std::size_t count) {
  bme_IndexMap map;
  map.to.resize(count);
  std::iota(map.to.begin(), map.to.end(), 0);
  map.from = map.to;
  return map;
}

bme_IndexMap bme_IndexMap::OfOrder(std::vector<int> order, std::size_t numOld) {
  bme_IndexMap map;
  map.to.assign(numOld, -1);
  map.from = std::move(order);
  for (std::size_t i = 0; i < map.from.size(); ++i) {
    const auto old = static_cast<std::size_t>(static_cast<unsigned>(map.from[i]));
    if (old >= numOld || map.to[old] >= 0)
      throw nex_AssertionException("an order of " + std::to_string(numOld) + " has "
                                   + std::to_string(map.from[i]) + (old >= numOld ? "" : " twice"));
    map.to[old] = static_cast<int>(i);
  }
  return map;
}

bme_IndexMap bme_IndexMap::OfKept(std::span<const unsigned char> marks) {
  bme_IndexMap map;
  map.to.assign(marks.size(), -1);
  map.from.reserve(
      static_cast<std::size_t>(std::ranges::count_if(marks, [](unsigned char m) { return m != 0; })));
  for (std::size_t i = 0; i < marks.size(); ++i) {
    if (marks[i] == 0) continue;
    map.to[i] = static_cast<int>(map.from.size());
    map.from.push_back(static_cast<int>(i));
  }
  return map;
}

bool bme_IndexMap::IsIdentity() const noexcept {
  if (to.size() != from.size()) return false;
  for (std::size_t i = 0; i < to.size(); ++i)
    if (to[i] != static_cast<int>(i) || from[i] != static_cast<int>(i)) return false;
  return true;
}

std::size_t bme_IndexMap::NumGone() const noexcept {
  return static_cast<std::size_t>(std::ranges::count(to, -1));
}

bme_IndexMap bme_IndexMap::Then(const bme_IndexMap& next) const {
  next.CheckRows(from.size(), 1);
  bme_IndexMap both{to, next.from};
  for (int& index : both.to)
    if (index >= 0) index = next.to[static_cast<std::size_t>(index)];
  for (int& index : both.from)
    if (index >= 0) index = from[static_cast<std::size_t>(index)];
  return both;
}

std::vector<unsigned> bme_IndexMap::Send(std::span<const unsigned> indices) const {
  std::vector<unsigned> sent;
  sent.reserve(indices.size());
  for (const unsigned index : indices) {
    if (index >= to.size()) throw nex_OutOfRangeException(index, static_cast<long long>(to.size()));
    if (to[index] >= 0) sent.push_back(static_cast<unsigned>(to[index]));
  }
  if (!std::ranges::is_sorted(sent)) std::ranges::sort(sent);
  sent.erase(std::unique(sent.begin(), sent.end()), sent.end());
  return sent;
}

void bme_IndexMap::CheckRows(std::size_t numValues, std::size_t columns) const {
  if (numValues != to.size() * columns)
    throw nex_AssertionException(std::to_string(numValues) + " values are not " + std::to_string(columns)
                                 + " for each of " + std::to_string(to.size()) + " entities");
}

bme_Renumbering bme_Renumbering::Identity(const bme_Mesh& mesh) {
  return {bme_IndexMap::Identity(mesh.NodeData().NumNodes()),
          bme_IndexMap::Identity(mesh.ElementData().NumElements()),
          bme_IndexMap::Identity(mesh.ElementData().NumClasses())};
}

namespace {
/// What one edit after the other made, as sums of the nodes before both.
bme_MadeNodes MadeBy(const bme_Renumbering& first, const bme_Renumbering& next) {
  bme_MadeNodes both;
  if (first.made.IsEmpty() && next.made.IsEmpty()) return both;
  std::vector<int> madeAt(first.nodes.from.size(), -1); // in the first edit
  int count = 0;
  for (std::size_t i = 0; i < madeAt.size(); ++i)
    if (first.nodes.from[i] < 0) madeAt[i] = count++;
  std::map<unsigned, double> sum;
  const auto add = [&](std::size_t node, double weight) {
    if (first.nodes.from[node] >= 0) {
      sum[static_cast<unsigned>(first.nodes.from[node])] += weight;
      return;
    }
    const auto made = static_cast<std::size_t>(madeAt[node]);
    if (made + 1 >= first.made.starts.size()) return;
    for (std::size_t k = first.made.starts[made]; k < first.made.starts[made + 1]; ++k)
      sum[first.made.parents[k]] += weight * first.made.weights[k];
  };
  std::size_t own = 0; // made by the next edit
  for (const int node : next.nodes.from) {
    sum.clear();
    if (node >= 0 && first.nodes.from[static_cast<std::size_t>(node)] >= 0) continue;
    if (node >= 0) {
      add(static_cast<std::size_t>(node), 1);
    } else if (own + 1 < next.made.starts.size()) {
      for (std::size_t k = next.made.starts[own]; k < next.made.starts[own + 1]; ++k)
        add(next.made.parents[k], next.made.weights[k]);
      ++own;
    }
    for (const auto& [parent, weight] : sum) {
      both.parents.push_back(parent);
      both.weights.push_back(weight);
    }
    both.starts.push_back(static_cast<unsigned>(both.parents.size()));
  }
  return both;
}
} // namespace

bme_Renumbering bme_Renumbering::Then(const bme_Renumbering& next) const {
  bme_Renumbering both{nodes.Then(next.nodes), elements.Then(next.elements), classes.Then(next.classes),
                       turns, MadeBy(*this, next)};
  if (next.turns.empty()) return both;
  both.turns.resize(elements.to.size(), 0);
  for (std::size_t i = 0; i < both.turns.size(); ++i)
    if (elements.to[i] >= 0) both.turns[i] ^= next.turns[static_cast<std::size_t>(elements.to[i])];
  return both;
}

namespace {
/// Calls visit(number of the made node, its index, nodes that it lies between).
template<class Visit> void ForEachMade(const bme_Renumbering& renumbering, Visit visit) {
  const bme_MadeNodes& made = renumbering.made;
  std::size_t number = 0;
  for (std::size_t node = 0; node < renumbering.nodes.from.size() && number + 1 < made.starts.size();
       ++node) {
    if (renumbering.nodes.from[node] >= 0) continue;
    visit(
        static_cast<int>(node),
        std::span(made.parents).subspan(made.starts[number], made.starts[number + 1] - made.starts[number]));
    ++number;
  }
}

unsigned SentElement(const bme_Renumbering& renumbering, unsigned element) {
  if (element >= renumbering.elements.to.size())
    throw nex_OutOfRangeException(element, static_cast<long long>(renumbering.elements.to.size()));
  return static_cast<unsigned>(renumbering.elements.to[element]);
}
} // namespace

bme_FEMNodeList bme_Send(const bme_FEMNodeList& nodes, const bme_Renumbering& renumbering,
                         bme_LastingMesh newMesh) {
  std::vector<unsigned> sent = renumbering.nodes.Send(nodes.Words());
  ForEachMade(renumbering, [&](int node, std::span<const unsigned> parents) {
    if (std::ranges::all_of(parents, [&](unsigned parent) { return nodes.Contains(parent); }))
      sent.push_back(static_cast<unsigned>(node));
  });
  return {newMesh, std::move(sent)};
}

bme_FEMElemList bme_Send(const bme_FEMElemList& elements, const bme_Renumbering& renumbering,
                         bme_LastingMesh newMesh) {
  const bme_Pieces pieces(elements.Mesh(), renumbering, newMesh);
  if (!pieces.AreThere()) return {newMesh, renumbering.elements.Send(elements.Words())};
  std::vector<unsigned> sent;
  for (const unsigned element : elements) {
    const std::span<const unsigned> own = pieces.Of(element);
    sent.insert(sent.end(), own.begin(), own.end());
  }
  return {newMesh, std::move(sent)};
}

bme_Adjacency bme_SendFaces(const bme_Mesh& oldMesh, std::span<const unsigned> faces,
                            const bme_Renumbering& renumbering, const bme_Mesh& newMesh) {
  bme_Adjacency rows;
  rows.first.reserve(faces.size() + 1);
  rows.items.reserve(faces.size());
  bme_TurnedFaces turned(oldMesh, renumbering);
  bme_Pieces pieces(oldMesh, renumbering, newMesh);
  wip_Poll poll(65536);
  for (const unsigned word : faces) {
    poll.Advance();
    const unsigned element = bme_ElementOf(word), sent = SentElement(renumbering, element);
    const rgnC_Facet before{static_cast<int>(bme_FaceOf(word)), bme_IsBack(word)};
    if (pieces.AreThere()) {
      const bool isOtherSide = (turned.TurnOf(element) & bme_Renumbering::kSidesExchanged) != 0;
      pieces.ForEachOnFace(element, before, [&](unsigned piece, int face) {
        rows.items.push_back(bme_FaceWord(piece, static_cast<unsigned>(face), before.isBack != isOtherSide));
      });
    } else if (sent != bme_kNotFound) {
      const rgnC_Facet facet = turned.Send(element, before);
      rows.items.push_back(bme_FaceWord(sent, static_cast<unsigned>(facet.face), facet.isBack));
    }
    rows.first.push_back(static_cast<unsigned>(rows.items.size()));
  }
  return rows;
}

bme_FEMFaceList bme_Send(const bme_FEMFaceList& faces, const bme_Renumbering& renumbering,
                         bme_LastingMesh newMesh) {
  const bme_Adjacency sent = bme_SendFaces(faces.Mesh(), faces.Words(), renumbering, newMesh);
  return {newMesh, {sent.items.begin(), sent.items.end()}};
}

bme_FEMEdgeList bme_Send(const bme_FEMEdgeList& edges, const bme_Renumbering& renumbering,
                         bme_LastingMesh newMesh) {
  std::vector<unsigned> words;
  words.reserve(edges.Count());
  bme_TurnedFaces turned(edges.Mesh(), renumbering);
  bme_Pieces pieces(edges.Mesh(), renumbering, newMesh);
  const auto add = [&](unsigned element, const rgnC_EdgeFacet& edge) {
    words.push_back(
        bme_EdgeWord(element, static_cast<unsigned>(edge.face), static_cast<unsigned>(edge.edge)));
  };
  for (const unsigned word : edges) {
    const unsigned element = bme_ElementOf(word), sent = SentElement(renumbering, element);
    const rgnC_EdgeFacet before{static_cast<int>(bme_FaceOf(word)), static_cast<int>(bme_EdgeOf(word))};
    if (pieces.AreThere())
      pieces.ForEachOnEdge(element, before, add);
    else if (sent != bme_kNotFound)
      add(sent, turned.Send(element, before));
  }
  return {newMesh, std::move(words)};
}

namespace {
struct Entry {
  int id, facet, old;
  auto operator<=>(const Entry&) const = default;
  bool IsSame(const Entry& other) const { return id == other.id && facet == other.facet; }
};

/// Leaves the first of several entries for the same thing; ascending when it was before, else in the order that it was.
void LeaveOutRepeated(std::vector<Entry>& entries, bool isAscending) {
  const auto isSame = [](const Entry& a, const Entry& b) { return a.IsSame(b); };
  if (!std::ranges::is_sorted(entries)) std::ranges::sort(entries);
  entries.erase(std::unique(entries.begin(), entries.end(), isSame), entries.end());
  if (!isAscending) std::ranges::sort(entries, {}, &Entry::old);
}

class SetSender {
public:
  SetSender(const bme_Renumbering& renumbering, const bme_Mesh& oldMesh, const bme_Mesh& newMesh)
      : renumbering_(renumbering), old_(oldMesh), new_(newMesh), turned_(oldMesh, renumbering),
        pieces_(oldMesh, renumbering, newMesh) {}

  bme_SentSet Send(const rgnC_SetData& set) {
    bme_SentSet sent;
    sent.data.SetIndex(set.GetSetIndex());
    sent.data.SetLabel(set.GetSetLabel());
    sent.data.SetType(set.GetSetType());
    sent.data.SetInternal(set.IsInternal());
    sent.data.SetUnsorted(set.IsUnsorted());
    sent.data.SetConstructionOk(set.IsConstructionOk());
    int first = 0;
    for (int i = 0; i < set.NumSubset(); ++i) {
      const rgnC_SubsetData& subset = set.SubSet(i);
      if (subset.MeshIndex() == old_.Id())
        SendSubset(subset, first, sent);
      else
        Add(subset, sent, Numbered(first, subset.NumItems()));
      first += subset.NumItems();
    }
    return sent;
  }

private:
  static std::vector<int> Numbered(int first, int count) {
    std::vector<int> numbers(static_cast<std::size_t>(count));
    std::iota(numbers.begin(), numbers.end(), first);
    return numbers;
  }
  static void Add(const rgnC_SubsetData& subset, bme_SentSet& sent, const std::vector<int>& entries) {
    sent.data.AppendSubset(subset);
    sent.entries.insert(sent.entries.end(), entries.begin(), entries.end());
  }

  void SendSubset(const rgnC_SubsetData& subset, int first, bme_SentSet& sent) {
    const std::span<const int> ids = subset.IdArray(), facets = subset.FacetIdArray();
    const bool areNodes = subset.SubsetType() == res_NODE_SET || subset.SubsetType() == res_SURFACE_NODE;
    if (subset.SubsetType() == res_SURFACE_ANALYTICAL)
      return Add(subset, sent, Numbered(first, subset.NumItems()));
    const std::vector<int>& to = areNodes ? renumbering_.nodes.to : renumbering_.elements.to;
    std::vector<Entry> entries;
    entries.reserve(ids.size());
    wip_Poll poll(65536);
    const bool arePieces = !areNodes && pieces_.AreThere();
    for (std::size_t i = 0; i < ids.size() && arePieces; ++i) {
      poll.Advance();
      SendPieces(subset.SubsetType(), ids[i], facets.empty() ? -1 : facets[i], first + static_cast<int>(i),
                 entries);
    }
    for (std::size_t i = 0; i < ids.size() && !arePieces; ++i) {
      poll.Advance();
      const auto id = static_cast<std::size_t>(static_cast<unsigned>(ids[i]));
      if (id >= to.size() || to[id] < 0) continue;
      entries.push_back({to[id], facets.empty() ? -1 : SendFacet(subset.SubsetType(), ids[i], facets[i]),
                         first + static_cast<int>(i)});
    }
    if (areNodes) JoinMade(ids, first, entries);
    LeaveOutRepeated(entries, std::ranges::is_sorted(ids));
    if (areNodes) return AddSome(subset, rgnC_SubsetData::kNoClass, entries, sent);
    // subset by subset as classes come, each once
    const bme_ElementData& elements = new_.ElementData();
    while (!entries.empty()) {
      const bme_ElementClass& type = elements.GetElemClass(static_cast<unsigned>(entries.front().id));
      const auto end = std::stable_partition(entries.begin(), entries.end(), [&](const Entry& entry) {
        return entry.id >= type.FirstElementIndex()
               && entry.id < type.FirstElementIndex() + type.NumElements();
      });
      AddSome(subset, type.ClassIndex(), std::span(entries.begin(), end), sent);
      entries.erase(entries.begin(), end);
    }
  }

  void AddSome(const rgnC_SubsetData& subset, int classIndex, std::span<const Entry> entries,
               bme_SentSet& sent) {
    if (entries.empty()) return;
    std::vector<int> ids, facets, old;
    for (const Entry& entry : entries) {
      ids.push_back(entry.id);
      old.push_back(entry.old);
      if (!subset.FacetIdArray().empty()) facets.push_back(entry.facet);
    }
    Add(rgnC_SubsetData(new_.Id(), classIndex, sent.data.NumSubset(), subset.GetSetIndex(),
                        subset.SubsetType(), subset.IsUnsorted(), rgnC_SubsetData::Ids(ids),
                        rgnC_SubsetData::Ids(facets)),
        sent, old);
  }

  /// Nodes that were made between nodes of the set; what is noted of one is that of the first one that it lies between.
  void JoinMade(std::span<const int> ids, int first, std::vector<Entry>& entries) const {
    const bme_MadeNodes& made = renumbering_.made;
    if (made.IsEmpty()) return;
    std::vector<int> at(renumbering_.nodes.to.size(), -1);
    for (std::size_t i = 0; i < ids.size(); ++i)
      if (static_cast<std::size_t>(static_cast<unsigned>(ids[i])) < at.size())
        at[static_cast<std::size_t>(ids[i])] = static_cast<int>(i);
    ForEachMade(renumbering_, [&](int node, std::span<const unsigned> parents) {
      if (std::ranges::all_of(parents, [&](unsigned parent) { return at[parent] >= 0; }))
        entries.push_back({node, -1, first + at[parents[0]]});
    });
  }

  void SendPieces(res_SetTypeEnm type, int element, int facet, int old, std::vector<Entry>& entries) {
    const auto index = static_cast<unsigned>(element);
    const bool isEdge = type == res_SURFACE_EDGE;
    if (facet < 0 || (!isEdge && type != res_SURFACE_SET && type != res_SURFACE_FACET)) {
      for (const unsigned piece : pieces_.Of(index)) entries.push_back({static_cast<int>(piece), facet, old});
      return;
    }
    const shp_Shape* shape = turned_.ShapeOf(index);
    if (!shape) return;
    if (isEdge)
      return pieces_.ForEachOnEdge(
          index, rgnC_EdgeFacetOf(facet), [&](unsigned piece, const rgnC_EdgeFacet& edge) {
            entries.push_back({static_cast<int>(piece), rgnC_EdgeFacetId(edge), old});
          });
    const rgnC_Facet before = rgnC_FacetOf(*shape, facet);
    pieces_.ForEachOnFace(index, before, [&](unsigned piece, int face) {
      const shp_Shape& own = *new_.ElementData().GetElemClass(piece).Shape();
      entries.push_back({static_cast<int>(piece), rgnC_FacetId(own, {face, before.isBack}), old});
    });
  }

  int SendFacet(res_SetTypeEnm type, int element, int facet) {
    const auto index = static_cast<unsigned>(element);
    const shp_Shape* shape = turned_.ShapeOf(index);
    if (!shape || renumbering_.turns.empty()) return facet;
    if (type == res_SURFACE_EDGE) return rgnC_EdgeFacetId(turned_.Send(index, rgnC_EdgeFacetOf(facet)));
    if (type == res_SURFACE_SET || type == res_SURFACE_FACET)
      return rgnC_FacetId(*shape, turned_.Send(index, rgnC_FacetOf(*shape, facet)));
    return facet;
  }

  const bme_Renumbering& renumbering_;
  const bme_Mesh &old_, &new_;
  bme_TurnedFaces turned_;
  bme_Pieces pieces_;
};

bool KeepsEverything(const bme_Renumbering& renumbering, const bme_Mesh& oldMesh, const bme_Mesh& newMesh) {
  return renumbering.turns.empty() && renumbering.made.IsEmpty() && oldMesh.Id() == newMesh.Id()
         && renumbering.nodes.IsIdentity() && renumbering.elements.IsIdentity()
         && renumbering.classes.IsIdentity();
}

/// The rows of an annotation for the entries that are left; false when it did not fit them before.
bool SendAnnotation(bme_Annotation& note, std::span<const int> entries, std::size_t numOld) {
  if (!note.Misfit(numOld).empty()) return false;
  const auto at = [](std::span<const int> values, int i) { return values[static_cast<std::size_t>(i)]; };
  const std::span<const int> oldCounts = note.counts.Const(), oldOrder = note.order.Const();
  std::vector<std::size_t> starts(numOld + 1, 0);
  for (std::size_t i = 0; i < numOld; ++i)
    starts[i + 1] = starts[i] + (oldCounts.empty() ? 1 : static_cast<std::size_t>(oldCounts[i]));
  cls_xp1DArrayListInt counts;
  cow_ArrayCOW<double> values;
  std::vector<int> order;
  for (const int entry : entries) {
    const auto e = static_cast<std::size_t>(entry);
    if (!oldCounts.empty()) counts.Append(oldCounts[e]);
    if (!oldOrder.empty()) order.push_back(at(oldOrder, entry));
    for (std::size_t row = starts[e]; row < starts[e + 1] && row < note.values.NumRows(); ++row)
      values.Append(note.values.Row(row));
  }
  // positions without gaps
  std::vector<int> sorted = order;
  std::ranges::sort(sorted);
  for (int& position : order)
    position = static_cast<int>(std::ranges::lower_bound(sorted, position) - sorted.begin());
  note.values = cls_xp2DArrayDouble(note.values.NumColumns(), std::move(values));
  note.counts = std::move(counts);
  note.order = cls_xp1DArrayListInt(std::ranges::is_sorted(order) ? std::vector<int>() : order);
  return true;
}

bme_NotedEnm NotedOf(const bme_NamedSet& set) {
  return set.kind == rgnC_NODE_SET      ? bme_NODES_NOTED
         : set.kind == rgnC_ELEMENT_SET ? bme_ELEMENTS_NOTED
                                        : bme_SURFACE_NOTED;
}

int NumEntries(const rgnC_SetData& set) {
  int count = 0;
  for (int i = 0; i < set.NumSubset(); ++i) count += set.SubSet(i).NumItems();
  return count;
}

bool IsAnyTurned(const bme_Renumbering& renumbering) {
  return std::ranges::any_of(renumbering.turns, [](unsigned char turn) { return turn != 0; });
}
} // namespace

bme_SentSet bme_Send(const rgnC_SetData& set, const bme_Renumbering& renumbering, const bme_Mesh& oldMesh,
                     const bme_Mesh& newMesh) {
  return SetSender(renumbering, oldMesh, newMesh).Send(set);
}

void bme_SendSets(const bme_MeshAndSets& old, bme_Edited& edited) {
  const bme_Renumbering& renumbering = edited.renumbering;
  bme_MeshAndSets& made = edited.result;
  made.sets = old.sets;
  made.notes = old.notes;
  if (KeepsEverything(renumbering, old.mesh, made.mesh)) return;
  std::vector<std::vector<int>> entries; // of each set
  SetSender sender(renumbering, old.mesh, made.mesh);
  for (bme_NamedSet& set : made.sets) {
    const bool wasEmpty = NumEntries(set.data) == 0;
    bme_SentSet sent = sender.Send(set.data);
    set.data = sent.data;
    entries.push_back(std::move(sent.entries));
    if (!wasEmpty && entries.back().empty())
      edited.remarks.push_back(bme_KindWord(set.kind) + (" set \"" + set.name) + "\" is empty now");
  }
  cow_List<bme_Annotation>& notes = made.notes.annotations.ListToModify();
  notes = {};
  for (bme_Annotation note : old.notes.annotations.List()) {
    bool isSent = false;
    if (note.noted == bme_CLASS_NOTED) {
      const auto number = static_cast<std::size_t>(static_cast<unsigned>(note.number));
      if (number >= renumbering.classes.to.size() || renumbering.classes.to[number] < 0) continue;
      const bme_ElementClass& before = old.mesh.ElementData().GetClass(static_cast<unsigned>(note.number));
      note.number = renumbering.classes.to[number];
      const bme_ElementClass& after = made.mesh.ElementData().GetClass(static_cast<unsigned>(note.number));
      std::vector<int> rows(static_cast<std::size_t>(after.NumElements()));
      const auto first = static_cast<std::size_t>(before.FirstElementIndex());
      const auto begin = static_cast<std::size_t>(after.FirstElementIndex());
      for (int i = 0; i < before.NumElements(); ++i)
        if (const int sent = renumbering.elements.to[first + static_cast<std::size_t>(i)];
            sent >= after.FirstElementIndex() && static_cast<std::size_t>(sent) - begin < rows.size())
          rows[static_cast<std::size_t>(sent) - begin] = i;
      // those made of elements that became several; meshes that are combined do not say where others come from
      const std::vector<int>& from = renumbering.elements.from;
      for (std::size_t i = 0; i < rows.size() && begin + i < from.size(); ++i)
        if (from[begin + i] >= before.FirstElementIndex()
            && from[begin + i] < before.FirstElementIndex() + before.NumElements())
          rows[i] = from[begin + i] - before.FirstElementIndex();
      isSent = SendAnnotation(note, rows, static_cast<std::size_t>(before.NumElements()));
    } else {
      for (std::size_t i = 0; i < made.sets.size() && !isSent; ++i) {
        const bme_NamedSet& set = old.sets[i];
        if (set.data.GetSetIndex() != note.number || NotedOf(set) != note.noted) continue;
        const bool areByNode = !note.counts.IsEmpty() && IsAnyTurned(renumbering);
        isSent =
            !areByNode && SendAnnotation(note, entries[i], static_cast<std::size_t>(NumEntries(set.data)));
      }
    }
    if (isSent)
      notes.Append(note);
    else
      edited.remarks.push_back("the notes of " + cow_String(omu_PrimEnum<bme_NotedEnm>(note.noted).Text())
                               + " " + std::to_string(note.number) + " are left out, since they do not fit");
  }
}
