#include "dst_PartWriter.h"
#include "dst_Runs.h"
#include "dst_SourceWithSets.h"

#include <BasicUtils/cls_CreateModel.h>
#include <BasicUtils/thr_ThreadSingleton.h>
#include <BasicUtils/wip_WIP.h>
#include <CoreGeometry/bme_MeshNotes.h>
#include <CoreGeometry/bme_StoredSets.h>
#include <CoreUtils/atr_Near.h>
#include <algorithm>
#include <bit>
#include <numeric>
#include <optional>

namespace {
/// What is known of the whole without its nodes and elements, which nobody asks for.
class WithoutMesh : public dst_SourceWithSets {
public:
  WithoutMesh(const dst_SplitFolder& split, const bme_Mesh& shell)
      : dst_SourceWithSets(dst_JoinSets(split), {}, {}) {
    facts_.mesh = split.Index().MeshName();
    facts_.shell = shell;
    for (unsigned i = 0; i < split.Index().NumClasses(); ++i)
      facts_.classes.push_back(split.Index().Class(i));
  }
  void ReadCoordinates(std::uint64_t, std::span<float>) const override { Refuse(); }
  void ReadNodeLabels(std::uint64_t, std::span<int>) const override { Refuse(); }
  void ReadConnectivity(unsigned, std::uint64_t, std::span<unsigned>) const override { Refuse(); }
  void ReadElementLabels(unsigned, std::uint64_t, std::span<int>) const override { Refuse(); }

private:
  [[noreturn]] static void Refuse() { throw nex_AssertionException("only sets are known"); }
};

/// Records of different length, each with its number in front, in ascending order and each once.
class Records {
public:
  void Begin(unsigned number) {
    starts_.emplace_back(number, words_.size());
    words_.push_back(number);
  }
  void Add(unsigned word) { words_.push_back(word); }
  std::vector<unsigned> Take() {
    const std::size_t size = words_.size();
    std::vector<std::size_t> ends(starts_.size(), size), order(starts_.size());
    for (std::size_t i = 0; i + 1 < starts_.size(); ++i) ends[i] = starts_[i + 1].second;
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::ranges::stable_sort(order, {}, [&](std::size_t i) { return starts_[i].first; });
    std::vector<unsigned> made;
    for (std::size_t i = 0; i < order.size(); ++i) {
      const std::size_t at = order[i];
      if (i > 0 && starts_[order[i - 1]].first == starts_[at].first) continue;
      made.insert(made.end(), words_.begin() + static_cast<std::ptrdiff_t>(starts_[at].second),
                  words_.begin() + static_cast<std::ptrdiff_t>(ends[at]));
    }
    return made;
  }

private:
  std::vector<unsigned> words_;
  std::vector<std::pair<unsigned, std::size_t>> starts_;
};

class SetJoiner {
public:
  SetJoiner(const dst_SplitFolder& split, std::span<const cow_String> roots) : split_(split), roots_(roots) {}

  void Add(unsigned number) {
    const cls_Database model = split_.OpenPartFile(number);
    std::optional<dst_OpenPart> open; // only when it has something: else the mesh is not even read
    if (number == 0) shell_ = dst_ShellOf(*open.emplace(split_.OpenPart(number)).mesh);
    for (const cow_String& root : roots_) {
      const auto set = model.Get<rgnC_SetData>(root);
      for (int i = 0; i < set->NumSubset(); ++i) {
        if (set->SubSet(i).IdArray().empty()) continue;
        if (!open) open = split_.OpenPart(number);
        AddSubset(*open, root, set->SubSet(i));
      }
    }
  }

  dst_PartRecords Take() { return {elements_.Take(), nodes_.Take(), {}}; }
  const bme_Mesh& Shell() const noexcept { return shell_; }

private:
  void AddSubset(const dst_OpenPart& open, const cow_String& root, const rgnC_SubsetData& subset) {
    const bool isOfNodes = dst_SetFacts::IsOfNodes(subset);
    for (const int id : subset.IdArray()) {
      if (static_cast<unsigned>(id) >= (isOfNodes ? open.part->NumNodes() : open.part->NumElements()))
        throw nex_TextException(open.model.File() + ": the set \"" + root + "\" has entry "
                                + std::to_string(id) + ", which the part does not have");
      if (isOfNodes)
        AddNode(open, static_cast<unsigned>(id));
      else
        AddElement(open, static_cast<unsigned>(id));
    }
  }

  void AddNode(const dst_OpenPart& open, unsigned node) {
    const std::span<const float> xyz =
        open.mesh->NodeData().Coordinates().Const().subspan(std::size_t{3} * node, 3);
    nodes_.Begin(open.part->NodeNumbers()[node]);
    for (const float one : xyz) nodes_.Add(std::bit_cast<unsigned>(one));
    nodes_.Add(static_cast<unsigned>(open.mesh->NodeData().UserNodeLabels().Const()[node]));
    nodes_.Add(0); // other holders
  }

  void AddElement(const dst_OpenPart& open, unsigned element) {
    const bme_ElementClass& type = open.mesh->ElementData().GetElemClass(element);
    const int local = static_cast<int>(element) - type.FirstElementIndex();
    elements_.Begin(open.part->ElementNumbers()[element]);
    elements_.Add(static_cast<unsigned>(type.UserElementLabels()[static_cast<std::size_t>(local)]));
    for (const int node : type.ElementConnectivity().Row(static_cast<unsigned>(local))) {
      if (node >= 0 && static_cast<unsigned>(node) >= open.part->NumNodes())
        throw nex_TextException(open.model.File() + ": element index " + std::to_string(element)
                                + " has node index " + std::to_string(node)
                                + ", which the part does not have");
      elements_.Add(node < 0 ? dst_Source::kNoNode
                             : open.part->NodeNumbers()[static_cast<std::size_t>(node)]);
      if (node >= 0) AddNode(open, static_cast<unsigned>(node));
    }
  }

  const dst_SplitFolder& split_;
  std::span<const cow_String> roots_;
  bme_Mesh shell_;
  Records elements_, nodes_;
};

/// Adds the entries of all sets that are among the nodes and elements.
void AddEntries(const dst_Source& source, const dst_SplitFolder& split, dst_PartRecords& records) {
  std::vector<unsigned> nodes, elements;
  for (std::size_t at = 0; at < records.nodes.size(); at += 6) nodes.push_back(records.nodes[at]);
  for (std::size_t at = 0; at < records.elements.size();) {
    elements.push_back(records.elements[at]);
    at += 2
          + static_cast<std::size_t>(
              split.Index().Class(split.Index().ClassOf(elements.back())).NodesPerElement());
  }
  const std::vector<dst_SetFacts>& sets = source.Facts().sets;
  unsigned flat = 0;
  for (unsigned set = 0; set < sets.size(); ++set)
    for (unsigned i = 0; i < sets[set].subsets.size(); ++i, ++flat) {
      const dst_SetFacts::Subset& subset = sets[set].subsets[i];
      std::vector<unsigned> numbers(subset.numEntries);
      std::vector<int> facets(subset.hasFacets ? numbers.size() : 0);
      source.ReadEntries(set, i, 0, numbers, facets);
      const std::vector<unsigned>& held =
          dst_SetFacts::IsOfNodes(sets[set].shell.SubSet(static_cast<int>(i))) ? nodes : elements;
      for (std::size_t k = 0; k < numbers.size(); ++k)
        if (std::ranges::binary_search(held, numbers[k]))
          records.entries.insert(records.entries.end(),
                                 {flat, static_cast<unsigned>(k), numbers[k],
                                  facets.empty() ? 0U : static_cast<unsigned>(facets[k])});
    }
}
} // namespace

cow_String dst_FindSet(const dst_SplitFolder& split, const cow_String& name) {
  const cow_String folder = bme_kSetFolder + split.Index().MeshName() + "/";
  std::vector<cow_String> names;
  for (unsigned set = 0; set < split.Index().NumSets(); ++set) {
    const cow_String& root = split.Index().SetRoot(set);
    if (root == name || root == folder + name) return root;
    names.push_back(root.starts_with(folder) ? root.substr(folder.size()) : root);
  }
  throw nex_TextException(split.Folder() + ": no set \"" + name + "\"" + atr_Alternatives(name, names));
}

bme_Mesh dst_JoinSet(const dst_SplitFolder& split, const cow_String& root, const cow_String& file) {
  return dst_JoinSet(split, std::span(&root, 1), file);
}

bme_Mesh dst_JoinSet(const dst_SplitFolder& split, std::span<const cow_String> roots,
                     const cow_String& file) {
  SetJoiner joiner(split, roots);
  for (unsigned part = 0; part < split.NumParts(); ++part) {
    thr_ThreadSingleton<wip_WIP>::Instance().CheckCancelled();
    joiner.Add(part);
  }
  const WithoutMesh source(split, joiner.Shell());
  dst_PartRecords records = joiner.Take();
  AddEntries(source, split, records);
  const std::size_t numSubsets = split.Index().FirstSubset(split.Index().NumSets());
  const dst_MadePart made =
      dst_MakePart({source, split.Index(), 1, std::vector<bool>(numSubsets)}, 0, records);
  const cls_Database beside = split.OpenIndexFile();
  cls_CreateModel(file, {}, [&](const cls_Database&, cls_WritePass& pass) {
    pass.Put(split.MeshRoot(), made.mesh);
    const std::vector<dst_SetFacts>& sets = source.Facts().sets;
    for (std::size_t i = 0; i < sets.size(); ++i) pass.Put(sets[i].root, made.sets[i]);
    for (const cow_String& one : beside.Roots())
      if (!one.starts_with(dst_kSplitFolder) && !std::ranges::count(sets, one, &dst_SetFacts::root)
          && !one.starts_with(bme_kNotesFolder)) // notes have rows of the whole
        pass.Copy(beside, one);
  });
  return made.mesh;
}
