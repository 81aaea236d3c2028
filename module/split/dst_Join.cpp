#include <CoreGeometry/dst_Join.h>

#include "dst_Runs.h"

#include <BasicUtils/cls_CreateModel.h>
#include <CoreGeometry/dst_Source.h>
#include <algorithm>
#include <limits>
#include <optional>

namespace {
template<class T> cow_ArrayCOW<T> Filled(std::uint64_t size, T value) {
  cow_ArrayCOW<T> made;
  made.ResizeUninitialised(size);
  std::ranges::fill(made.Modify(), value);
  return made;
}

/// Throws when a model cannot hold as many numbers as this.
void CheckLimit(const dst_SplitFolder& split, std::uint64_t count, const cow_String& what) {
  if (count > static_cast<std::uint64_t>(std::numeric_limits<int>::max()))
    throw nex_TextException(split.Folder() + ": " + std::to_string(count) + " " + what
                            + " are above the limit of one model, "
                            + std::to_string(std::numeric_limits<int>::max()));
}

/// The arrays of the whole mesh, which the parts fill.
class Whole {
public:
  explicit Whole(const dst_SplitFolder& split) : index_(split.Index()) {
    CheckLimit(split, index_.NumNodes(), "nodes");
    CheckLimit(split, index_.NumElements(), "elements");
    coordinates_ = Filled(3 * index_.NumNodes(), 0.0F);
    if (index_.HasNodeLabels()) labels_ = Filled(index_.NumNodes(), 0);
    for (unsigned i = 0; i < index_.NumClasses(); ++i) {
      const dst_ClassRange& range = index_.Class(i);
      const std::uint64_t entries = range.NumElements() * static_cast<std::uint64_t>(range.NodesPerElement());
      CheckLimit(split, entries, "nodes of elements in class " + std::to_string(i));
      rows_.push_back(Filled(entries, -1));
      elementLabels_.push_back(range.HasLabels() ? Filled(range.NumElements(), 0) : cow_ArrayCOW<int>());
    }
  }

  void Add(const dst_OpenPart& open) {
    const dst_Part& part = *open.part;
    AddNodes(open.mesh->NodeData(), part);
    std::span<const unsigned> numbers = part.ElementNumbers();
    for (unsigned i = 0; i < index_.NumClasses(); ++i) {
      const bme_ElementClass& elements = open.mesh->ElementData().GetClass(i);
      const auto count = static_cast<std::size_t>(elements.NumElements());
      AddElements(open.model.File(), elements, i, numbers.first(count), part.NodeNumbers());
      numbers = numbers.subspan(count);
    }
    numElements_ += part.NumElements();
    numNodes_ += part.NumNodes() - part.NumShared();
    for (unsigned shared = 0; shared < part.NumShared(); ++shared)
      numNodes_ += part.OwnerOfShared(shared) == part.Number() ? 1 : 0;
    if (!shell_) shell_ = *open.mesh;
  }

  bme_Mesh Take(const cow_String& folder) {
    if (numElements_ != index_.NumElements() || numNodes_ != index_.NumNodes())
      throw nex_TextException(folder + ": the parts hold " + std::to_string(numNodes_) + " nodes and "
                              + std::to_string(numElements_) + " elements, not "
                              + std::to_string(index_.NumNodes()) + " and "
                              + std::to_string(index_.NumElements()));
    std::vector<bme_ElementClass*> classes;
    for (unsigned i = 0; i < index_.NumClasses(); ++i)
      classes.push_back(index_.Class(i).MakeClass(std::move(rows_[i]), std::move(elementLabels_[i])));
    auto elements = std::make_unique<bme_ElementData>(classes.data(), static_cast<unsigned>(classes.size()));
    auto nodes = std::make_unique<bme_NodeData>(uti_CoordCont3D(std::move(coordinates_)),
                                                shell_->NodeData().Dimension());
    if (index_.HasNodeLabels()) nodes->SetUserNodeLabels(cls_xp1DArrayListInt(std::move(labels_)));
    bme_Mesh mesh(static_cast<unsigned>(shell_->Id()), nodes.release(), elements.release(),
                  shell_->MeshType(), shell_->Transform());
    mesh.SetTimeStamp(shell_->TimeStamp());
    return mesh;
  }

private:
  void AddNodes(const bme_NodeData& nodes, const dst_Part& part) {
    const std::span<float> xyz = coordinates_.Modify();
    const std::span<int> labels = labels_.Modify();
    const std::span<const float> own = nodes.Coordinates().Const();
    for (unsigned i = 0; i < part.NumNodes(); ++i) {
      const std::uint64_t number = part.NodeNumber(i);
      Expect(number < index_.NumNodes(), "node", number);
      std::ranges::copy(own.subspan(std::size_t{3} * i, 3),
                        xyz.begin() + static_cast<std::ptrdiff_t>(3 * number));
      if (!labels.empty()) labels[number] = nodes.UserNodeLabels().Const()[i];
    }
  }

  void AddElements(const cow_String& file, const bme_ElementClass& elements, unsigned classIndex,
                   std::span<const unsigned> numbers, std::span<const unsigned> nodes) {
    const dst_ClassRange& range = index_.Class(classIndex);
    const auto width = static_cast<std::size_t>(range.NodesPerElement());
    if (elements.ElemTypeLabel() != range.ElemTypeLabel()
        || (!numbers.empty() && elements.ElementConnectivity().NumColumns() != width))
      throw nex_TextException(file + ": class " + std::to_string(classIndex) + " is "
                              + elements.ElemTypeLabel() + ", not " + range.ElemTypeLabel());
    const std::span<int> rows = rows_[classIndex].Modify(), labels = elementLabels_[classIndex].Modify();
    const std::span<const int> own = elements.ElementConnectivity().Const();
    for (std::size_t i = 0; i < numbers.size(); ++i) {
      Expect(numbers[i] >= range.FirstElement() && numbers[i] < range.EndElement(), "element", numbers[i]);
      const std::size_t at = numbers[i] - range.FirstElement();
      for (std::size_t k = 0; k < width; ++k) {
        const int node = own[i * width + k];
        Expect(node == -1 || static_cast<std::size_t>(node) < nodes.size(), "node",
               static_cast<unsigned>(node));
        rows[at * width + k] = node == -1 ? -1 : static_cast<int>(nodes[static_cast<std::size_t>(node)]);
      }
      if (!labels.empty()) labels[at] = elements.UserElementLabels()[i];
    }
  }

  static void Expect(bool isTrue, const char* what, std::uint64_t number) {
    if (!isTrue)
      throw nex_TextException(cow_String("a part has ") + what + " " + std::to_string(number)
                              + ", which the whole does not have");
  }

  const dst_Index& index_;
  cow_ArrayCOW<float> coordinates_;
  cow_ArrayCOW<int> labels_;
  std::vector<cow_ArrayCOW<int>> rows_, elementLabels_;
  std::optional<bme_Mesh> shell_;
  std::uint64_t numElements_ = 0, numNodes_ = 0;
};

/// A subset of the whole, from the entries of the parts.
class Subset {
public:
  void Add(const rgnC_SubsetData& own, const dst_Part& part, std::span<const unsigned> positions) {
    const bool isOfNodes = dst_SetFacts::IsOfNodes(own);
    const std::span<const int> ids = own.IdArray(), facets = own.FacetIdArray();
    if (!positions.empty() && positions.size() != ids.size())
      throw nex_TextException("part " + std::to_string(part.Number()) + ": a set was changed: it has "
                              + std::to_string(ids.size()) + " entries and "
                              + std::to_string(positions.size()) + " positions");
    hasFacets_ = hasFacets_ || !facets.empty();
    for (std::size_t i = 0; i < ids.size(); ++i) {
      const auto id = static_cast<unsigned>(ids[i]);
      if (id >= (isOfNodes ? part.NumNodes() : part.NumElements()))
        throw nex_TextException("part " + std::to_string(part.Number()) + ": a set has entry "
                                + std::to_string(ids[i]) + ", which the part does not have");
      if (isOfNodes && part.OwnerOfNode(id) != part.Number()) continue;
      const std::uint64_t number = isOfNodes ? part.NodeNumber(id) : part.ElementNumber(id);
      entries_.push_back({positions.empty() ? number : positions[i], static_cast<int>(number),
                          facets.empty() ? 0 : facets[i]});
    }
  }

  std::uint64_t Size() const noexcept { return entries_.size(); }

  rgnC_SubsetData Take(const rgnC_SubsetData& shell) {
    std::ranges::stable_sort(entries_, {}, &Entry::order); // several entries of one number stay as they are
    std::vector<int> ids, facets;
    ids.reserve(entries_.size());
    facets.reserve(hasFacets_ ? entries_.size() : 0);
    for (const Entry& entry : entries_) {
      ids.push_back(entry.number);
      if (hasFacets_) facets.push_back(entry.facet);
    }
    return shell.WithItems(rgnC_SubsetData::Ids(ids), rgnC_SubsetData::Ids(facets));
  }

private:
  struct Entry {
    std::uint64_t order;
    int number, facet;
  };
  std::vector<Entry> entries_;
  bool hasFacets_ = false;
};
} // namespace

bme_Mesh dst_JoinMesh(const dst_SplitFolder& split) {
  Whole whole(split);
  for (unsigned part = 0; part < split.NumParts(); ++part) whole.Add(split.OpenPart(part));
  return whole.Take(split.Folder());
}

std::vector<dst_JoinedSet> dst_JoinSets(const dst_SplitFolder& split) {
  const dst_Index& index = split.Index();
  std::vector<dst_JoinedSet> sets;
  std::vector<rgnC_SetData> shells;
  std::vector<Subset> subsets;
  for (unsigned part = 0; part < split.NumParts(); ++part) {
    const cls_Database model = split.OpenPartFile(part);
    const cow_CountedHld<dst_Part> facts = model.Get<dst_Part>(dst_kPartRoot);
    for (unsigned set = 0; set < index.NumSets(); ++set) {
      const rgnC_SetData own = *split.SetOf(model, set);
      for (unsigned i = 0; i < index.NumSubsets(set); ++i) {
        const unsigned flat = index.FirstSubset(set) + i;
        if (part == 0) subsets.emplace_back();
        subsets[flat].Add(own.SubSet(static_cast<int>(i)), *facts, facts->PositionsOf(flat));
      }
      if (part == 0) shells.push_back(own);
    }
  }
  for (unsigned set = 0; set < index.NumSets(); ++set) {
    dst_JoinedSet& joined =
        sets.emplace_back(dst_JoinedSet{index.SetRoot(set), shells[set].WithoutSubsets()});
    for (unsigned i = 0; i < index.NumSubsets(set); ++i) {
      Subset& subset = subsets[index.FirstSubset(set) + i];
      if (subset.Size() != index.NumEntries(set, i))
        throw nex_TextException(split.Folder() + ": the parts hold " + std::to_string(subset.Size())
                                + " entries of the set \"" + index.SetRoot(set) + "\", not "
                                + std::to_string(index.NumEntries(set, i)));
      joined.data.AppendSubset(subset.Take(shells[set].SubSet(static_cast<int>(i))));
    }
  }
  return sets;
}

void dst_Join(const dst_SplitFolder& split, const cow_String& file) {
  const bme_Mesh mesh = dst_JoinMesh(split);
  const std::vector<dst_JoinedSet> sets = dst_JoinSets(split);
  const cls_Database beside = split.OpenIndexFile();
  cls_CreateModel(file, {}, [&](const cls_Database&, cls_WritePass& pass) {
    pass.Put(split.MeshRoot(), mesh);
    for (const dst_JoinedSet& set : sets) pass.Put(set.root, set.data);
    for (const cow_String& root : beside.Roots())
      if (!root.starts_with(dst_kSplitFolder) && !std::ranges::count(sets, root, &dst_JoinedSet::root))
        pass.Copy(beside, root);
    dst_JoinRuns(split, pass);
  });
}
