#include "msh_Gmsh.h"

#include "fmt_Sets.h"
#include "msh_Parts.h"

#include <BasicUtils/wip_Poll.h>
#include <CoreGeometry/bme_Pyramids.h>
#include <algorithm>
#include <numeric>
#include <set>

namespace {
/// Parts that become one element class, in the order of the file.
struct Class {
  std::vector<msh_Part*> parts;
  cow_String name;
};

/// The elements of a part in the mesh.
struct Range {
  const msh_Part* part;
  int classIndex, first, count;
};

class Builder {
public:
  Builder(msh_Contents contents, const fmt_ReadOptions& options)
      : in_(std::move(contents)), types_(options.types), meshId_(options.meshId) {}

  fmt_Import Run() {
    for (const msh_GroupName& group : in_.names) nameOf_.try_emplace({group.dims, group.tag}, group.name);
    auto nodes = std::make_unique<bme_NodeData>(in_.coordinates->Take());
    result_.rounding = in_.coordinates->Rounding(in_.nodeLabels.Const());
    if (!in_.nodeLabels.IsEmpty()) nodes->SetUserNodeLabels(std::move(in_.nodeLabels));
    std::vector<std::unique_ptr<bme_ElementClass>> classes;
    for (const Class& one : Classes()) classes.push_back(MakeClass(one, static_cast<int>(classes.size())));
    if (areLabelsCounting_)
      for (auto& one : classes) one->SetUserElementLabels(cls_xp1DArrayListInt());
    std::vector<bme_ElementClass*> handedOver;
    handedOver.reserve(classes.size());
    for (auto& one : classes) handedOver.push_back(one.release());
    auto* elements = new bme_ElementData(handedOver.data(), static_cast<unsigned>(handedOver.size()));
    result_.mesh = std::make_unique<bme_Mesh>(meshId_, nodes.release(), elements, bme_ORPHAN_MESH,
                                              in_.coordinates ? in_.coordinates->Transform() : nullptr);
    AddSets();
    result_.ledger = std::move(in_.ledger);
    return std::move(result_);
  }

private:
  using Key = std::pair<int, int>; ///< dimension and tag of a group

  cow_String NameOf(Key group) const {
    const auto at = nameOf_.find(group);
    if (at != nameOf_.end() && !at->second.empty()) return at->second;
    return "physical " + std::to_string(group.first) + " " + std::to_string(group.second);
  }

  /// One for each part while these are few, else one for each type and combination of groups.
  std::vector<Class> Classes() {
    constexpr std::size_t kMostParts = 100;
    std::vector<msh_Part*> parts;
    for (msh_Part& part : in_.parts)
      if (!part.AreSetOfNodes() && part.labels.Size() > 0) parts.push_back(&part);
    const bool areFew = parts.size() <= kMostParts;
    std::vector<Class> classes;
    std::map<std::pair<const msh_Type*, std::vector<int>>, std::size_t> classOf;
    for (msh_Part* part : parts) {
      const cow_String dims = std::to_string(part->type->NumDims());
      const cow_String name = !part->groups.empty() ? NameOf({part->type->NumDims(), part->groups[0]})
                              : areFew              ? "entity " + dims + " " + std::to_string(part->entity)
                                                    : "entities of dimension " + dims;
      const auto [at, isNew] = classOf.try_emplace({part->type, part->groups}, classes.size());
      if (isNew || areFew) classes.push_back({{}, name});
      (areFew ? classes.back() : classes[at->second]).parts.push_back(part);
    }
    return classes;
  }

  std::unique_ptr<bme_ElementClass> MakeClass(const Class& from, int classIndex) {
    const msh_Type& type = *from.parts[0]->type;
    const exo_ElementType found = msh_LabelOf(type, types_);
    const std::size_t theirs = static_cast<std::size_t>(type.numNodes);
    const std::size_t columns = found.order.empty() ? theirs : found.order.size();
    std::size_t count = 0;
    for (const msh_Part* part : from.parts) count += part->labels.Size();
    cow_ArrayCOW<int> rows, labels;
    rows.ResizeUninitialised(count * columns);
    labels.ResizeUninitialised(count);
    int* node = rows.Modify().data();
    std::span<int> label = labels.Modify();
    for (msh_Part* part : from.parts) {
      ranges_.push_back({part, classIndex, numElements_, static_cast<int>(part->labels.Size())});
      numElements_ += static_cast<int>(part->labels.Size());
      part->rows.Drain([&](std::span<const int> piece) {
        wip_Poll::Now();
        if (found.order.empty()) node = std::ranges::copy(piece, node).out;
        for (std::size_t row = 0; !found.order.empty() && row < piece.size(); row += theirs)
          for (const int from : found.order) *node++ = piece[row + static_cast<std::size_t>(from)];
      });
      label = part->labels.DrainTo(label);
    }
    for (const int one : labels.Const()) areLabelsCounting_ &= one == ++lastLabel_;
    auto made = std::make_unique<bme_ElementClass>(found.label, cls_xp2DArrayInt(columns, std::move(rows)));
    made->SetUserElementLabels(cls_xp1DArrayListInt(std::move(labels)));
    made->SetMeshIndex(static_cast<int>(meshId_));
    made->SetCategoryLabel(found.arePyramids ? bme_PyramidCategory({}, from.name, type.numNodes) : from.name);
    result_.blocks.push_back(
        {classIndex + 1, type.Name(), found.label, found.supported, static_cast<std::int64_t>(count)});
    return made;
  }

  /// Groups in the order of their names, then those without a name.
  std::vector<Key> Groups() const {
    std::vector<Key> groups;
    std::set<Key> known;
    const auto add = [&](Key group) {
      if (known.insert(group).second) groups.push_back(group);
    };
    for (const msh_GroupName& group : in_.names) add({group.dims, group.tag});
    for (const msh_Part& part : in_.parts)
      for (const int tag : part.groups) add({part.type->NumDims(), tag});
    return groups;
  }

  /// Groups of elements with one name are one set, whatever their dimensions.
  void AddSets() {
    std::map<Key, std::vector<const Range*>> elementsOf;
    for (const Range& range : ranges_)
      for (const int tag : range.part->groups)
        elementsOf[{range.part->type->NumDims(), tag}].push_back(&range);
    std::map<Key, std::vector<const msh_Part*>> nodesOf;
    for (const msh_Part& part : in_.parts)
      if (part.AreSetOfNodes())
        for (const int tag : part.groups) nodesOf[{0, tag}].push_back(&part);
    std::map<cow_String, std::vector<Key>> keysOf;
    const std::vector<Key> groups = Groups();
    for (const Key& group : groups)
      if (group.first > 0) keysOf[NameOf(group)].push_back(group);
    for (const Key& group : groups) {
      const cow_String name = NameOf(group);
      if (group.first == 0) {
        cow_String root = name;
        if (keysOf.contains(name) || !names_.insert(name).second)
          names_.insert(root += " (physical 0 " + std::to_string(group.second) + ")");
        AddNodes(name, group.second, nodesOf[group]);
        result_.sets.back().root = root;
      } else if (names_.insert(name).second) {
        std::vector<const Range*> ranges;
        for (const Key& key : keysOf[name])
          ranges.insert(ranges.end(), elementsOf[key].begin(), elementsOf[key].end());
        AddElements(name, group.second, std::move(ranges));
      }
    }
  }

  void AddNodes(const cow_String& name, int tag, std::span<const msh_Part* const> parts) {
    fmt_SetPart all;
    for (const msh_Part* part : parts)
      part->rows.ForEach(
          [&](std::span<const int> piece) { all.ids.insert(all.ids.end(), piece.begin(), piece.end()); });
    std::ranges::sort(all.ids);
    all.ids.erase(std::unique(all.ids.begin(), all.ids.end()), all.ids.end());
    result_.sets.push_back(fmt_MakeSet(name, true, tag, static_cast<int>(meshId_), {&all, 1}));
  }

  void AddElements(const cow_String& name, int tag, std::vector<const Range*> ranges) {
    std::ranges::sort(ranges, {}, &Range::first);
    ranges.erase(std::unique(ranges.begin(), ranges.end()), ranges.end());
    std::vector<fmt_SetPart> parts;
    for (const Range* range : ranges) {
      if (parts.empty() || parts.back().classIndex != range->classIndex) parts.push_back({range->classIndex});
      std::vector<int>& ids = parts.back().ids;
      const std::size_t before = ids.size();
      ids.resize(before + static_cast<std::size_t>(range->count));
      std::iota(ids.begin() + static_cast<std::ptrdiff_t>(before), ids.end(), range->first);
    }
    result_.sets.push_back(fmt_MakeSet(name, false, tag, static_cast<int>(meshId_), parts));
  }

  msh_Contents in_;
  const exo_TypeMap& types_;
  unsigned meshId_;
  fmt_Import result_;
  std::map<Key, cow_String> nameOf_;
  std::set<cow_String> names_;
  std::vector<Range> ranges_;
  int numElements_ = 0, lastLabel_ = 0;
  bool areLabelsCounting_ = true;
};
} // namespace

fmt_Import msh_Build(msh_Contents contents, const fmt_ReadOptions& options) {
  return Builder(std::move(contents), options).Run();
}

bool msh_Recognises(std::string_view start) {
  const std::size_t first = start.find_first_not_of(" \t\r\n");
  return first != std::string_view::npos && start.substr(first).starts_with("$MeshFormat");
}

fmt_Import msh_ReadMesh(const cow_String& file, const fmt_ReadOptions& options) {
  msh_Contents contents = msh_ReadContents(file, options);
  msh_MergeRepeated(contents);
  return msh_Build(std::move(contents), options);
}
