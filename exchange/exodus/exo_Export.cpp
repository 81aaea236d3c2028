#include <CoreGeometry/exo_Export.h>

#include "exo_ExportResults.h"
#include "exo_OutNotes.h"
#include <CoreGeometry/exo_Types.h>

#include <BasicUtils/nex_Exception.h>
#include <CoreGeometry/bme_EntityWord.h>
#include <CoreGeometry/bme_Pyramids.h>
#include <CoreGeometry/rgnC_Facet.h>
#include <algorithm>
#include <limits>
#include <map>
#include <numeric>
#include <set>
#include <utility>

namespace {
struct Kind {
  exo_SetKind kind;
  const char* name;
  res_SetTypeEnm whole; ///< the type of a set that has nothing in it
  std::span<const res_SetTypeEnm> items;
  bme_NotedEnm noted;
};
constexpr res_SetTypeEnm kNodes[] = {res_NODE_SET}, kElements[] = {res_ELEMENT_SET},
                         kSides[] = {res_SURFACE_FACET, res_SURFACE_EDGE, res_SURFACE_ELEMENT};
constexpr Kind kKinds[] = {
    {exo_SetKind::Nodes, "node set", res_NODE_SET, kNodes, bme_NODES_NOTED},
    {exo_SetKind::Sides, "side set", res_SURFACE_SET, kSides, bme_SURFACE_NOTED},
    {exo_SetKind::Elements, "element set", res_ELEMENT_SET, kElements, bme_ELEMENTS_NOTED}};

/// Numbers for blocks, or for sets of one kind, none of them twice: those that are wanted first, then the others the
/// next free ones. Lists what a number had to be changed from and to.
constexpr std::int64_t kAnyNumber = std::numeric_limits<std::int64_t>::min();
template<class Item> cow_String Number(std::span<Item> items, long long& changed) {
  std::set<std::int64_t> taken;
  std::vector<Item*> others;
  for (Item& item : items)
    if (item.id < 0 || !taken.insert(item.id).second) others.push_back(&item);
  std::int64_t next = 1;
  cow_String detail;
  for (Item* item : others) {
    while (!taken.insert(next).second) ++next;
    if (item->id != kAnyNumber) {
      detail += (detail.empty() ? "\"" : ", \"") + item->name + "\" from " + std::to_string(item->id) + " to "
                + std::to_string(next);
      ++changed;
    }
    item->id = next;
  }
  return detail;
}

/// Everything before the last slash that all categories have in common; the title of the file they came from.
cow_String CommonTitle(std::span<const cow_String> categories) {
  if (categories.empty()) return {};
  cow_String title = categories[0];
  for (std::size_t slash; (slash = title.rfind('/')) != cow_String::npos;) {
    title.resize(slash);
    bool isCommon = title.size() <= exo_kLongestTitle;
    for (const cow_String& category : categories) isCommon = isCommon && category.starts_with(title + "/");
    if (isCommon) return title;
  }
  return {};
}

class Exporter {
public:
  Exporter(const bme_Mesh& mesh, std::span<const bme_NamedSet> sets, const bme_MeshNotes* notes,
           const exo_Part* part = nullptr)
      : mesh_(mesh), sets_(sets), part_(part), notes_(notes, out_) {}

  fmt_Ledger Run(uti_OutputFile& output, const odiC_Run* run, bool atNodes) {
    AddNodes();
    std::vector<cow_String> categories;
    for (unsigned i = 0; i < mesh_.ElementData().NumClasses(); ++i)
      categories.push_back(bme_PlainCategory(mesh_.ElementData().GetClass(i)));
    title_ = TitleOf(categories);
    out_.title = title_;
    isBlock_.resize(sets_.size());
    AddBlocks(output.Name(), categories);
    AddLabels();
    for (const Kind& kind : kKinds) {
      const std::size_t first = out_.sets.size();
      for (std::size_t i = 0; i < sets_.size(); ++i)
        if (!isBlock_[i]) AddSet(kind, sets_[i]);
      const cow_String changes =
          Number(std::span(out_.sets).subspan(first), CountOfEveryPart("numbers of sets"));
      if (!changes.empty())
        CountOfEveryPart("numbers of sets",
                         Joined("numbers of sets", cow_String(kind.name) + "s " + changes));
      for (std::size_t i = first; i < out_.sets.size(); ++i) entries_[i].id = out_.sets[i].id;
    }
    DropMadeNames();
    CheckLengths();
    fmt_Ledger notWritten;
    notes_.Finish(notWritten);
    fmt_Ledger ledger;
    std::unique_ptr<exo_OutResults> results;
    if (run) results = exo_ResultsOf(*run, atNodes, out_, entries_, ledger);
    out_.results = results.get();
    if (part_) AddPart(output.Name());
    exo_WriteFile(output, out_);
    for (const auto& [what, count] : counts_)
      if (count > 0) ledger.push_back({what, count, details_[what], ofEveryPart_.contains(what)});
    exo_ListNotMesh(mesh_, ledger);
    ledger.insert(ledger.end(), notWritten.begin(), notWritten.end());
    return ledger;
  }

private:
  long long& Count(const cow_String& what, const cow_String& detail = {}) {
    if (!detail.empty()) details_[what] = detail;
    return counts_[what];
  }
  /// Of classes, sets or their names.
  long long& CountOfEveryPart(const cow_String& what, const cow_String& detail = {}) {
    ofEveryPart_.insert(what);
    return Count(what, detail);
  }

  void AddNodes() {
    const bme_NodeData& nodes = mesh_.NodeData();
    out_.xyz = nodes.Coordinates().Const();
    out_.numDims = static_cast<int>(std::clamp(nodes.Dimension(), 1U, 3U));
    out_.placement = bme_Placement(mesh_);
    int needed = 1;
    if (out_.placement.IsNone()) {
      for (std::size_t i = 0; i < out_.xyz.size(); ++i)
        if (out_.xyz[i] != 0) needed = std::max(needed, static_cast<int>(i % 3) + 1);
    } else {
      const gsl_BBox box = out_.placement.Box(nodes);
      for (unsigned axis = 0; axis < 3; ++axis)
        if (box.Min()[axis] != 0 || box.Max()[axis] != 0) needed = static_cast<int>(axis) + 1;
    }
    if (part_) needed = part_->numDims;
    if (needed > out_.numDims) {
      CountOfEveryPart("dimensions of the mesh",
                       "written with " + std::to_string(needed) + ", since its nodes have such coordinates") =
          out_.numDims;
      out_.numDims = needed;
    }
    if (nodes.HasUserNodeLabels()) out_.nodeLabels = nodes.UserNodeLabels().Const();
  }

  /// That of the file it came from, if the classes still have it.
  cow_String TitleOf(std::span<const cow_String> categories) const {
    const cow_String noted = notes_.Title();
    const bool isOfAll = std::ranges::all_of(
        categories, [&](const cow_String& category) { return category.starts_with(noted + "/"); });
    return !noted.empty() && noted.size() <= exo_kLongestTitle && isOfAll ? noted : CommonTitle(categories);
  }

  /// What an import calls blocks and sets without a name.
  void DropMadeNames() {
    const auto drop = [](auto& item, const char* kind) {
      if (item.name == cow_String(kind) + " " + std::to_string(item.id)) item.name.clear();
    };
    for (exo_OutBlock& block : out_.blocks) drop(block, "block");
    for (exo_OutSet& set : out_.sets) drop(set, std::ranges::find(kKinds, set.kind, &Kind::kind)->name);
  }

  void AddBlocks(const cow_String& fileName, std::span<const cow_String> categories) {
    for (unsigned i = 0; i < mesh_.ElementData().NumClasses(); ++i) {
      const bme_ElementClass& type = mesh_.ElementData().GetClass(i);
      exo_CheckNodes(mesh_, type, fileName);
      exo_OutBlock& block = out_.blocks.emplace_back();
      const cow_String& category = categories[i];
      block.name = title_.empty() || category.empty() ? category : category.substr(title_.size() + 1);
      block.id = BlockId(i, block.name);
      block.numElements = type.NumElements();
      const bme_Annotation* note =
          notes_.Take(bme_CLASS_NOTED, static_cast<int>(i), static_cast<std::size_t>(type.NumElements()));
      AddRows(type, note ? note->typeName : cow_String(), block);
      if (note) notes_.Add(*note, block);
    }
    const cow_String changes = Number(std::span(out_.blocks), CountOfEveryPart("numbers of blocks"));
    if (!changes.empty()) CountOfEveryPart("numbers of blocks", changes);
  }

  /// Of the set that stands for the class.
  std::int64_t BlockId(unsigned classIndex, const cow_String& name) {
    cow_String longName = name;
    for (std::size_t i = 0; i < sets_.size(); ++i) {
      const bme_NamedSet& set = sets_[i];
      if (isBlock_[i] || set.kind != rgnC_ELEMENT_SET) continue;
      const cow_String id = "block " + std::to_string(set.data.GetSetIndex());
      if (set.name != name && set.name != id
          && set.name != longName.assign(name).append(" (").append(id).append(")"))
        continue;
      if (set.name == id && !name.empty() && name != id) continue;
      if (!HoldsAll(i, classIndex)) continue;
      isBlock_[i] = true;
      return set.data.GetSetIndex();
    }
    return kAnyNumber;
  }

  /// Of a part: whether it does so in the whole.
  bool HoldsAll(std::size_t setIndex, unsigned classIndex) const {
    const rgnC_SetData& set = sets_[setIndex].data;
    const bme_ElementClass& type = mesh_.ElementData().GetClass(classIndex);
    const std::uint64_t numElements =
        part_ ? part_->classSizes[classIndex] : static_cast<std::uint64_t>(type.NumElements());
    if (set.NumSubset() == 0) return numElements == 0;
    const rgnC_SubsetData& only = set.SubSet(0);
    if (set.NumSubset() > 1 || only.SubsetType() != res_ELEMENT_SET || only.NumItems() != type.NumElements()
        || (part_ && part_->setSizes[setIndex][0] != numElements))
      return false;
    int next = type.FirstElementIndex();
    return std::ranges::all_of(only.IdArray(), [&](int id) { return id == next++; });
  }

  /// The name of the type that the elements came with, if they are read as such an element by it.
  std::optional<exo_TypeName> NameOf(const bme_ElementClass& type, const cow_String& noted) const {
    const shp_Shape* shape = type.Shape();
    if (!shape) return std::nullopt;
    const int pyramidNodes =
        part_ ? part_->pyramidNodes[static_cast<std::size_t>(type.ClassIndex())] : bme_PyramidNodes(type);
    std::optional<exo_TypeName> name = exo_NameType(*shape, out_.numDims, pyramidNodes);
    if (noted.empty()) return name;
    const int numNodes = name ? name->numNodes : shape->NumNodes();
    exo_ElementType found = exo_TypeMap().Find(noted, numNodes, out_.numDims);
    const bool isSame = found.label == type.ElemTypeLabel() || (name && found.label == name->label);
    if (!found.supported || !isSame || found.arePyramids != (pyramidNodes > 0)) return name;
    if (found.order.empty()) {
      found.order.resize(static_cast<std::size_t>(numNodes));
      std::iota(found.order.begin(), found.order.end(), 0);
    }
    return exo_TypeName{noted, numNodes, std::move(found.order), std::move(found.sides), found.label};
  }

  void AddRows(const bme_ElementClass& type, const cow_String& noted, exo_OutBlock& block) {
    const shp_Shape* shape = type.Shape();
    const std::span<const int> all = type.ElementConnectivity().Const();
    auto columns = static_cast<std::size_t>(type.NumNodesPerElem());
    if (columns == 0 && shape) columns = static_cast<std::size_t>(shape->NumNodes());
    const std::optional<exo_TypeName> name = NameOf(type, noted);
    const std::size_t written = name ? static_cast<std::size_t>(name->numNodes) : columns;
    std::vector<int> order(name ? name->order.size() : columns);
    if (name)
      order = name->order;
    else
      std::iota(order.begin(), order.end(), 0);
    sides_.push_back(name ? name->sides : std::vector<exo_Side>());
    const cow_String& label = type.ElemTypeLabel();
    block.type = name ? name->name : shape || noted.empty() ? label : noted;
    const bool hasCount = !block.type.empty() && block.type.back() >= '0' && block.type.back() <= '9';
    const cow_String what = label + ", as " + block.type + (hasCount ? "" : std::to_string(written));
    if (name && name->label != label)
      CountOfEveryPart("element types with a label of their own",
                       Joined("element types with a label of their own", what)) += 1;
    if (shape && !name)
      CountOfEveryPart("element types unknown to the format",
                       Joined("element types unknown to the format", what)) += 1;
    if (order.size() < columns)
      Count("elements without their last nodes", Joined("elements without their last nodes", what)) +=
          type.NumElements();
    block.nodesPerElement = static_cast<int>(written);
    block.nodes.resize(static_cast<std::size_t>(type.NumElements()) * written);
    for (std::size_t row = 0; row < static_cast<std::size_t>(type.NumElements()); ++row)
      for (std::size_t k = 0; k < order.size(); ++k)
        block.nodes[row * written + static_cast<std::size_t>(order[k])] = all[row * columns + k] + 1;
  }

  /// Adds one more to the details, unless it is there.
  cow_String Joined(const cow_String& what, const cow_String& more) {
    const cow_String& before = details_[what];
    if (before.empty()) return more;
    const bool isThere = ("; " + before + ";").find("; " + more + ";") != cow_String::npos;
    return isThere ? before : before + "; " + more;
  }

  void AddLabels() {
    const bme_ElementData& elements = mesh_.ElementData();
    const bool hasLabels = elements.HasUserElementLabels();
    for (unsigned i = 0; i < elements.NumClasses(); ++i) {
      const std::span<const int> labels = elements.GetClass(i).UserElementLabels();
      if (hasLabels)
        out_.elementLabels.insert(out_.elementLabels.end(), labels.begin(), labels.end());
      else
        Count("element labels that only some classes have") += static_cast<long long>(labels.size());
    }
  }

  /// The name that the set had in a file where another had it, too; see exo_Sets.cpp.
  cow_String NameInFile(const Kind& kind, const bme_NamedSet& set) const {
    const cow_String ending =
        " (" + cow_String(kind.name) + " " + std::to_string(set.data.GetSetIndex()) + ")";
    if (!set.name.ends_with(ending)) return set.name;
    const cow_String name = set.name.substr(0, set.name.size() - ending.size());
    return std::ranges::find(sets_, name, &bme_NamedSet::name) == sets_.end() ? set.name : name;
  }

  void AddSet(const Kind& kind, const bme_NamedSet& set) {
    const rgnC_SetData& data = set.data;
    exo_OutSet made{kind.kind, data.GetSetIndex(), NameInFile(kind, set), {}, {}};
    exo_SetEntries entries{
        .root = set.Root(), .kind = kind.kind, .entities = {}, .facets = {}, .areEdges = {}};
    bool isOfKind = data.NumSubset() == 0 && data.GetSetType() == kind.whole;
    stored_.clear();
    next_ = 0;
    for (int i = 0; i < data.NumSubset(); ++i) {
      const rgnC_SubsetData& subset = data.SubSet(i);
      const res_SetTypeEnm type = subset.SubsetType();
      if (kind.kind == exo_SetKind::Nodes && (type == res_SURFACE_NODE || type == res_SURFACE_ANALYTICAL))
        Count("entries of surfaces that are nodes or analytic") += subset.NumItems();
      if (std::ranges::find(kind.items, type) == kind.items.end()) continue;
      isOfKind = true;
      if (subset.MeshIndex() != mesh_.Id())
        Count("entries of sets in other meshes") += subset.NumItems();
      else if (kind.kind == exo_SetKind::Sides)
        AddSides(subset, made, entries);
      else
        AddIds(set, subset, made, entries);
      next_ += subset.NumItems();
    }
    if (!isOfKind) return;
    if (const bme_Annotation* note =
            notes_.Take(kind.noted, set.data.GetSetIndex(), static_cast<std::size_t>(next_)))
      notes_.Add(*note, stored_, made);
    if (part_) {
      const std::vector<std::uint64_t>& sizes =
          part_->setSizes[static_cast<std::size_t>(&set - sets_.data())];
      std::int64_t size = 0;
      for (std::size_t i = 0; i < sizes.size(); ++i)
        if (std::ranges::find(kind.items, data.SubSet(static_cast<int>(i)).SubsetType()) != kind.items.end())
          size += static_cast<std::int64_t>(sizes[i]);
      outPart_.setSizes.push_back(size);
    }
    out_.sets.push_back(std::move(made));
    entries_.push_back(std::move(entries));
  }

  void AddIds(const bme_NamedSet& set, const rgnC_SubsetData& subset, exo_OutSet& made,
              exo_SetEntries& entries) {
    const unsigned most =
        made.kind == exo_SetKind::Nodes ? mesh_.NodeData().NumNodes() : mesh_.ElementData().NumElements();
    int place = next_;
    for (const int id : subset.IdArray()) {
      if (static_cast<unsigned>(id) >= most)
        throw nex_TextException("set \"" + set.name + "\": index " + std::to_string(id) + " is outside the "
                                + std::to_string(most) + " of the mesh");
      stored_.push_back(place++);
      made.entries.push_back(id + 1);
      entries.entities.push_back(id);
    }
  }

  void AddSides(const rgnC_SubsetData& subset, exo_OutSet& made, exo_SetEntries& entries) {
    const std::span<const int> ids = subset.IdArray(), facets = subset.FacetIdArray();
    for (std::size_t i = 0; i < ids.size(); ++i) {
      const std::optional<int> facet = facets.empty() ? std::nullopt : std::optional(facets[i]);
      const unsigned classIndex = mesh_.ElementData().GetClassIndex(static_cast<unsigned>(ids[i]));
      const int side = classIndex < sides_.size() ? SideOf(classIndex, subset.SubsetType(), facet) : 0;
      if (side == 0) {
        ++Count("entries of surfaces", "no side of the file's element");
        continue;
      }
      stored_.push_back(next_ + static_cast<int>(i));
      made.entries.push_back(ids[i] + 1);
      made.sides.push_back(side);
      entries.entities.push_back(ids[i]);
      entries.facets.push_back(facet.value_or(0));
      entries.areEdges.push_back(subset.SubsetType() == res_SURFACE_EDGE);
    }
  }

  /// Counted from 1; 0 when there is none.
  int SideOf(unsigned classIndex, res_SetTypeEnm type, std::optional<int> ofElement) const {
    const std::vector<exo_Side>& sides = sides_[classIndex];
    const int facet = ofElement.value_or(0);
    if (sides.empty())
      return type == res_SURFACE_ELEMENT && ofElement ? facet + 1 : 0; // the number of the file
    const bool isWhole = type == res_SURFACE_ELEMENT;
    auto at = std::ranges::find_if(
        sides, [&](const exo_Side& side) { return side.kind == type && (isWhole || side.facet == facet); });
    if (at == sides.end() && type == res_SURFACE_EDGE) { // the same edge as another face has it
      const shp_Shape& shape = *mesh_.ElementData().GetClass(classIndex).Shape();
      const std::set<int> wanted = EdgeNodes(shape, facet);
      at = std::ranges::find_if(sides, [&](const exo_Side& side) {
        return side.kind == type && EdgeNodes(shape, side.facet) == wanted;
      });
    }
    return at == sides.end() ? 0 : static_cast<int>(at - sides.begin()) + 1;
  }
  static std::set<int> EdgeNodes(const shp_Shape& shape, int facet) {
    const rgnC_EdgeFacet edge = rgnC_EdgeFacetOf(facet);
    const std::span<const int> nodes = shape.EdgeNodes(edge.face, edge.edge);
    return {nodes.begin(), nodes.end()};
  }

  /// Numbers in the whole in place of labels, and what the part has in common with others.
  void AddPart(const cow_String& fileName) {
    const auto numbersOf = [&](std::span<const unsigned> numbers) {
      std::vector<int> counted;
      counted.reserve(numbers.size());
      for (const unsigned number : numbers) {
        if (number >= static_cast<unsigned>(std::numeric_limits<int>::max()))
          throw nex_TextException(fileName + ": node or element " + std::to_string(number)
                                  + " of the whole has no number in the format");
        counted.push_back(static_cast<int>(number) + 1);
      }
      return counted;
    };
    // readers that know maps by name take the first one in place of the id map: it holds the same
    const auto addMap = [](std::vector<exo_OutMap>& maps, const std::vector<int>& numbers,
                           std::vector<int> labels) {
      maps.push_back({"number", numbers});
      if (!labels.empty()) maps.push_back({"user_label", std::move(labels)});
    };
    nodeNumbers_ = numbersOf(part_->nodeNumbers);
    addMap(out_.nodeMaps, nodeNumbers_, {out_.nodeLabels.begin(), out_.nodeLabels.end()});
    out_.nodeLabels = nodeNumbers_;
    std::vector<int> elementNumbers = numbersOf(part_->elementNumbers);
    addMap(out_.elementMaps, elementNumbers, std::move(out_.elementLabels));
    out_.elementLabels = std::move(elementNumbers);
    outPart_.number = static_cast<int>(part_->number);
    outPart_.count = static_cast<int>(part_->count);
    outPart_.numNodes = static_cast<std::int64_t>(part_->numNodes);
    outPart_.numElements = static_cast<std::int64_t>(part_->numElements);
    outPart_.blockSizes.assign(part_->classSizes.begin(), part_->classSizes.end());
    std::vector<char> isBorderNode(mesh_.NodeData().NumNodes(), 0),
        isBorderElement(mesh_.ElementData().NumElements(), 0);
    for (const exo_Neighbour& one : part_->neighbours) {
      exo_OutNeighbour& made = outPart_.neighbours.emplace_back();
      made.part = static_cast<int>(one.part);
      for (const int node : one.nodes) {
        made.nodes.push_back(node + 1);
        isBorderNode[static_cast<std::size_t>(node)] = 1;
      }
      for (const unsigned word : one.faces) {
        const unsigned element = bme_ElementOf(word);
        const unsigned classIndex = mesh_.ElementData().GetClassIndex(element);
        const int side = SideOf(classIndex, res_SURFACE_FACET, static_cast<int>(bme_FaceOf(word)));
        if (side == 0) continue; // of a type that the format does not know, on both sides
        made.elements.push_back(static_cast<int>(element) + 1);
        made.sides.push_back(side);
        isBorderElement[element] = 1;
      }
    }
    const auto divide = [](const std::vector<char>& isBorder, std::vector<int>& inside,
                           std::vector<int>& border) {
      for (std::size_t i = 0; i < isBorder.size(); ++i)
        (isBorder[i] != 0 ? border : inside).push_back(static_cast<int>(i) + 1);
    };
    divide(isBorderNode, outPart_.insideNodes, outPart_.borderNodes);
    divide(isBorderElement, outPart_.insideElements, outPart_.borderElements);
    out_.part = &outPart_;
  }

  void CheckLengths() {
    for (const exo_OutBlock& block : out_.blocks) {
      CountOfEveryPart("ends of names", "longer than the format allows") +=
          block.name.size() > exo_kLongestName;
      CountOfEveryPart("ends of names") += block.type.size() > exo_kLongestType;
    }
    for (const exo_OutSet& set : out_.sets)
      CountOfEveryPart("ends of names") += set.name.size() > exo_kLongestName;
  }

  const bme_Mesh& mesh_;
  std::span<const bme_NamedSet> sets_;
  const exo_Part* part_ = nullptr;
  cow_String title_;
  exo_OutMesh out_;
  exo_OutPart outPart_;
  std::vector<int> nodeNumbers_; ///< of a part, in the whole
  exo_OutNotes notes_;
  std::vector<exo_SetEntries> entries_;      ///< of each set that is written
  std::vector<int> stored_;                  ///< of each entry of a set that is written: its place in the set
  int next_ = 0;                             ///< of the set at hand: entries before the subset at hand
  std::vector<char> isBlock_;                ///< of each set
  std::vector<std::vector<exo_Side>> sides_; ///< of each class
  std::map<cow_String, long long> counts_;
  std::map<cow_String, cow_String> details_;
  std::set<cow_String> ofEveryPart_;
};
} // namespace

fmt_Ledger exo_WriteMesh(uti_OutputFile& output, const bme_Mesh& mesh, std::span<const bme_NamedSet> sets,
                         const bme_MeshNotes* notes, const odiC_Run* run, bool atNodes) {
  return Exporter(mesh, sets, notes).Run(output, run, atNodes);
}

fmt_Ledger exo_WritePart(uti_OutputFile& output, const bme_Mesh& mesh, std::span<const bme_NamedSet> sets,
                         const exo_Part& part) {
  return Exporter(mesh, sets, nullptr, &part).Run(output, nullptr, false);
}

void exo_ListNotMesh(const bme_Mesh& mesh, fmt_Ledger& ledger) {
  const auto note = [&](const char* what, long long count) {
    if (count > 0) ledger.push_back({what, count, {}, true});
  };
  long long controls = 0, orientations = 0, locations = 0;
  for (unsigned i = 0; i < mesh.ElementData().NumClasses(); ++i) {
    const bme_ElementClass& type = mesh.ElementData().GetClass(i);
    controls += !type.GetElemControlParams().IsDefault();
    orientations += type.OrientationFreq() != bme_ORIENTATION_NONE;
    locations += type.LocationLabels() != cow_List<cow_String>();
  }
  note("classes with element control parameters", controls);
  note("classes with orientations", orientations);
  note("classes with section point labels", locations);
}

void exo_CheckNodes(const bme_Mesh& mesh, const bme_ElementClass& type, const cow_String& place) {
  const std::span<const int> all = type.ElementConnectivity().Const();
  const unsigned numNodes = mesh.NodeData().NumNodes();
  const auto at =
      std::ranges::find_if(all, [&](int node) { return static_cast<unsigned>(node) >= numNodes; });
  if (at == all.end()) return;
  const auto element = (at - all.begin()) / type.NumNodesPerElem();
  throw nex_TextException(place + ": class " + std::to_string(type.ClassIndex()) + " (" + type.ElemTypeLabel()
                          + "), element " + std::to_string(element + 1) + ": node index "
                          + std::to_string(*at) + " is outside the " + std::to_string(numNodes)
                          + " nodes of the mesh");
}
