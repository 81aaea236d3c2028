#include "msh_Parts.h"

#include <BasicUtils/wip_Poll.h>
#include <CoreUtils/omi_Duplicates.h>
#include <algorithm>
#include <set>

namespace {
void AddGroups(std::vector<int>& groups, std::span<const int> more) {
  groups.insert(groups.end(), more.begin(), more.end());
  std::ranges::sort(groups);
  groups.erase(std::unique(groups.begin(), groups.end()), groups.end());
}

void AddAll(const fmt_Chunks<int>& chunks, std::vector<int>& all) {
  chunks.ForEach([&](std::span<const int> piece) {
    wip_Poll::Now();
    all.insert(all.end(), piece.begin(), piece.end());
  });
}

std::vector<int> Flat(const fmt_Chunks<int>& chunks) {
  std::vector<int> all;
  all.reserve(chunks.Size());
  AddAll(chunks, all);
  return all;
}

/// A part of the same entity and type in other groups that has just the same rows goes into the first one.
void MergeWholeParts(std::deque<msh_Part>& parts) {
  std::map<std::tuple<const msh_Type*, int, std::size_t>, std::vector<msh_Part*>> alike;
  for (msh_Part& part : parts)
    if (!part.groups.empty() && !part.AreSetOfNodes())
      alike[{part.type, part.entity, part.rows.Size()}].push_back(&part);
  std::set<const msh_Part*> merged;
  for (const auto& [key, candidates] : alike) {
    if (candidates.size() < 2) continue;
    const std::vector<int> first = Flat(candidates[0]->rows);
    for (std::size_t i = 1; i < candidates.size(); ++i) {
      if (Flat(candidates[i]->rows) != first) continue;
      AddGroups(candidates[0]->groups, candidates[i]->groups);
      merged.insert(candidates[i]);
    }
  }
  if (!merged.empty()) std::erase_if(parts, [&](const msh_Part& part) { return merged.contains(&part); });
}

bool HasRepeatedLabels(const std::deque<msh_Part>& parts) {
  std::vector<std::span<const int>> all;
  for (const msh_Part& part : parts)
    if (!part.AreSetOfNodes()) part.labels.ForEach([&](std::span<const int> piece) { all.push_back(piece); });
  return omi_FindDuplicate(all).has_value();
}

/// An element that is given several times.
struct Repeated {
  const msh_Type* type = nullptr;
  std::vector<int> row{}, groups{};
  int times = 0;
};

class Merger {
public:
  explicit Merger(msh_Contents& contents) : contents_(contents) {}

  void Run() {
    std::vector<int> labels;
    for (const msh_Part& part : contents_.parts)
      if (!part.AreSetOfNodes()) AddAll(part.labels, labels);
    std::ranges::sort(labels);
    for (std::size_t i = 1; i < labels.size(); ++i)
      if (labels[i] == labels[i - 1]) repeated_.try_emplace(labels[i]);
    for (const msh_Part& part : contents_.parts)
      if (!part.AreSetOfNodes())
        ForEachElement(part, [&](int label, std::span<const int> row) { Note(part, label, row); });
    std::deque<msh_Part> old;
    old.swap(contents_.parts);
    for (msh_Part& part : old) {
      if (part.AreSetOfNodes())
        contents_.parts.push_back(std::move(part));
      else
        ForEachElement(part, [&](int label, std::span<const int> row) { Keep(part, label, row); });
    }
  }

private:
  template<class Each> static void ForEachElement(const msh_Part& part, Each each) {
    const std::vector<int> labels = Flat(part.labels), rows = Flat(part.rows);
    const auto columns = static_cast<std::size_t>(part.type->numNodes);
    wip_Poll poll(1U << 14U);
    for (std::size_t i = 0; i < labels.size(); ++i, poll.Advance())
      each(labels[i], std::span<const int>(rows).subspan(i * columns, columns));
  }

  void Note(const msh_Part& part, int label, std::span<const int> row) {
    const auto at = repeated_.find(label);
    if (at == repeated_.end()) return;
    Repeated& element = at->second;
    if (element.times++ == 0) {
      element.type = part.type;
      element.row.assign(row.begin(), row.end());
    } else if (element.type != part.type || !std::ranges::equal(element.row, row)) {
      throw nex_TextException(contents_.fileName + ": $Elements: tag " + std::to_string(label)
                              + " is given to two elements that differ, " + element.type->Name() + " and "
                              + part.type->Name());
    }
    AddGroups(element.groups, part.groups);
  }

  void Keep(const msh_Part& part, int label, std::span<const int> row) {
    const auto at = repeated_.find(label);
    if (at != repeated_.end() && std::exchange(at->second.times, 0) == 0) return;
    const std::vector<int>& groups = at == repeated_.end() ? part.groups : at->second.groups;
    msh_Part*& kept = kept_[{part.type, part.entity, groups}];
    if (!kept) {
      contents_.parts.push_back({part.type, part.entity, groups});
      kept = &contents_.parts.back();
    }
    kept->labels.Add(1)[0] = label;
    kept->rows.Add(row);
  }

  msh_Contents& contents_;
  std::map<int, Repeated> repeated_; ///< by label
  std::map<std::tuple<const msh_Type*, int, std::vector<int>>, msh_Part*> kept_;
};
} // namespace

void msh_MergeRepeated(msh_Contents& contents) {
  MergeWholeParts(contents.parts);
  if (HasRepeatedLabels(contents.parts)) Merger(contents).Run();
}
