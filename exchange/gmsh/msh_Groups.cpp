#include "msh_Groups.h"

#include <algorithm>
#include <numeric>

namespace {
void CheckIndex(const bme_NamedSet& set, int index, unsigned most) {
  if (static_cast<unsigned>(index) >= most)
    throw nex_TextException("set \"" + set.name + "\": index " + std::to_string(index) + " is outside the "
                            + std::to_string(most) + " of the mesh");
}

/// What may stand between quotes in one line.
cow_String Quotable(cow_String name) {
  for (char& c : name)
    if (c == '"' || static_cast<unsigned char>(c) < ' ') c = c == '"' ? '\'' : ' ';
  return name;
}
} // namespace

msh_Groups::msh_Groups(const bme_Mesh& mesh, std::span<const bme_NamedSet> sets, bool isAlone)
    : mesh_(mesh), isAlone_(isAlone), combinationOf_(mesh.ElementData().NumElements()) {
  for (const bme_NamedSet& set : sets) {
    std::vector<int> nodes;
    const auto count = static_cast<int>(groups_.size());
    bool isOfNodes = set.data.NumSubset() == 0 && set.data.GetSetType() == res_NODE_SET;
    bool isOfElements = set.data.NumSubset() == 0 && set.data.GetSetType() == res_ELEMENT_SET;
    for (int i = 0; i < set.data.NumSubset(); ++i) {
      const rgnC_SubsetData& subset = set.data.SubSet(i);
      const bool areNodes = subset.SubsetType() == res_NODE_SET;
      if (!areNodes && subset.SubsetType() != res_ELEMENT_SET) {
        numSides_ += subset.NumItems();
        continue;
      }
      (areNodes ? isOfNodes : isOfElements) = true;
      if (subset.MeshIndex() != mesh.Id()) {
        numElsewhere_ += subset.NumItems();
        continue;
      }
      const unsigned most = areNodes ? mesh.NodeData().NumNodes() : mesh.ElementData().NumElements();
      for (const int id : subset.IdArray()) CheckIndex(set, id, most);
      if (areNodes) nodes.insert(nodes.end(), subset.IdArray().begin(), subset.IdArray().end());
    }
    if (isOfElements) {
      groups_.push_back({&set, false, set.data.GetSetIndex()});
      for (int i = 0; i < set.data.NumSubset(); ++i)
        if (const rgnC_SubsetData& subset = set.data.SubSet(i);
            subset.SubsetType() == res_ELEMENT_SET && subset.MeshIndex() == mesh.Id())
          AddElements(subset, count);
    }
    if (!isOfNodes) continue;
    groups_.push_back({&set, true, set.data.GetSetIndex()});
    std::ranges::sort(nodes);
    nodes.erase(std::unique(nodes.begin(), nodes.end()), nodes.end());
    numNodes_ += static_cast<std::int64_t>(nodes.size());
    lists_.push_back(std::move(nodes));
    nodes_.push_back({0, lists_.back()});
  }
  ChooseTags();
}

void msh_Groups::AddElements(const rgnC_SubsetData& subset, int group) {
  for (const int id : subset.IdArray()) {
    int& combination = combinationOf_[static_cast<std::size_t>(id)];
    const std::vector<int>& before = combinations_[static_cast<std::size_t>(combination)];
    if (!before.empty() && before.back() == group) continue; // named twice
    if (isAlone_ && !before.empty()) {
      ++numRest_;
      continue;
    }
    const auto [at, isNew] = next_.try_emplace({combination, group}, static_cast<int>(combinations_.size()));
    if (isNew) {
      std::vector<int> more = before;
      more.push_back(group);
      combinations_.push_back(std::move(more));
    }
    combination = at->second;
  }
}

/// Wanted tags first, then the others the next free ones; nodes and elements apart.
void msh_Groups::ChooseTags() {
  for (const bool areNodes : {false, true}) {
    std::set<int> taken;
    std::vector<Group*> others;
    for (Group& group : groups_)
      if (group.isOfNodes == areNodes && (group.tag < 1 || !taken.insert(group.tag).second))
        others.push_back(&group);
    int next = 1;
    for (Group* group : others) {
      while (!taken.insert(next).second) ++next;
      group->tag = next;
    }
  }
  auto nodes = nodes_.begin();
  for (const Group& group : groups_)
    if (group.isOfNodes) nodes++->tag = group.tag;
}

void msh_Groups::ForEachCombination(
    const bme_ElementClass& elements, int dims,
    const std::function<void(std::span<const int>, std::span<const int>)>& each) {
  const auto count = static_cast<std::size_t>(elements.NumElements());
  const std::span<const int> own =
      std::span(combinationOf_).subspan(static_cast<std::size_t>(elements.FirstElementIndex()), count);
  std::vector<int> order; // combinations by their first elements
  std::map<int, std::size_t> countOf;
  int last = -1;
  std::size_t* counter = nullptr;
  for (const int combination : own) {
    if (combination != last) {
      const auto [at, isNew] = countOf.try_emplace(combination, 0);
      if (isNew) order.push_back(combination);
      counter = &at->second;
      last = combination;
    }
    ++*counter;
  }
  std::vector<int>& picked = lists_.emplace_back(count);
  std::map<int, std::size_t> startOf;
  std::size_t start = 0;
  for (const int combination : order) {
    startOf[combination] = start;
    start += countOf[combination];
  }
  std::map<int, std::size_t> nextOf = startOf;
  for (std::size_t i = 0; i < count; ++i) {
    if (i == 0 || own[i] != own[i - 1]) counter = &nextOf[own[i]];
    picked[(*counter)++] = static_cast<int>(i);
  }
  for (const int combination : order) {
    std::vector<int> tags;
    for (const int index : combinations_[static_cast<std::size_t>(combination)]) {
      Group& group = groups_[static_cast<std::size_t>(index)];
      if (dims == 0) { // groups of points are sets of nodes
        numPoints_ += static_cast<long long>(countOf[combination]);
        continue;
      }
      tags.push_back(group.tag);
      group.dims.insert(dims);
    }
    each(tags, std::span<const int>(picked).subspan(startOf[combination], countOf[combination]));
  }
}

std::vector<msh_GroupName> msh_Groups::Names(int dimsOfMesh) const {
  std::vector<msh_GroupName> names;
  for (const Group& group : groups_) {
    std::set<int> dims = group.dims;
    if (dims.empty()) dims.insert(group.isOfNodes ? 0 : dimsOfMesh);
    for (const int one : dims) names.push_back({one, group.tag, Quotable(group.set->name)});
  }
  return names;
}

void msh_Groups::List(fmt_Ledger& ledger) const {
  const auto note = [&](const char* what, long long count, const cow_String& detail = {}) {
    if (count > 0) ledger.push_back({what, count, detail});
  };
  note("entries of surfaces", numSides_);
  note("entries of sets in other meshes", numElsewhere_);
  note("entries of sets of elements that are in an earlier one", numRest_,
       "version 2.2 has one for each element");
  note("entries of sets that are points", numPoints_, "groups of points are sets of nodes");
  long long numRenumbered = 0, numRenamed = 0;
  cow_String renumbered;
  for (const Group& group : groups_) {
    numRenamed += Quotable(group.set->name) != group.set->name;
    const int index = group.set->data.GetSetIndex();
    if (index == group.tag) continue;
    ++numRenumbered;
    renumbered += (renumbered.empty() ? "\"" : ", \"") + group.set->name + "\" from " + std::to_string(index)
                  + " to " + std::to_string(group.tag);
  }
  note("numbers of sets", numRenumbered, renumbered);
  note("names of sets", numRenamed, "quotes and control characters are replaced");
}
