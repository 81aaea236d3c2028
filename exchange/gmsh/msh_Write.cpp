#include "msh_Gmsh.h"

#include "fmt_Output.h"
#include "msh_Groups.h"
#include "msh_Types.h"

#include <CoreGeometry/bme_Placement.h>
#include <CoreGeometry/exo_Export.h>
#include <algorithm>
#include <limits>
#include <numeric>

namespace {
using Box = std::array<double, 6>;

/// Numbers of an MSH file, ascii or binary.
class Numbers {
public:
  Numbers(fmt_Output& out, bool isBinary) : out_(out), isBinary_(isBinary) {}
  bool IsBinary() const { return isBinary_; }
  void Int(int value) { isBinary_ ? out_.Raw(value) : out_.Text(value, ' '); }
  void Size(std::uint64_t value) { isBinary_ ? out_.Raw(value) : out_.Text(value, ' '); }
  /// Single precision has fewer digits in text.
  template<class Number> void Real(Number value) {
    isBinary_ ? out_.Raw(static_cast<double>(value)) : out_.Text(value, ' ');
  }
  void EndRow() {
    if (!isBinary_) out_.Text('\n');
  }
  void EndSection(std::string_view name) { out_.Text(isBinary_ ? "\n" : "", "$End", name, '\n'); }

private:
  fmt_Output& out_;
  bool isBinary_;
};

/// What is written as one entity.
struct Entity {
  int dims, tag;
  const bme_ElementClass* elements; ///< null for a set of nodes
  std::span<const int> picked;      ///< positions of elements in the class, or indices of nodes
  const msh_Written* written;
  std::vector<int> tags; ///< of its groups
};

class Writer {
public:
  Writer(const bme_Mesh& mesh, std::span<const bme_NamedSet> sets, bool isOld, bool isBinary,
         uti_OutputFile& output)
      : mesh_(mesh), isOld_(isOld), groups_(mesh, sets, isOld), file_(output), out_(file_, isBinary),
        name_(output.Name()) {}

  fmt_Ledger Run() {
    FindClasses();
    FindLabels();
    MakeEntities();
    file_.Text("$MeshFormat\n", isOld_ ? "2.2 " : "4.1 ", out_.IsBinary() ? "1 8\n" : "0 8\n");
    if (out_.IsBinary()) {
      file_.Raw(1);
      file_.Text('\n');
    }
    file_.Text("$EndMeshFormat\n");
    WriteNames();
    if (!isOld_) WriteEntities();
    WriteNodes();
    WriteElements();
    file_.Finish();
    groups_.List(ledger_);
    exo_ListNotMesh(mesh_, ledger_);
    return std::move(ledger_);
  }

private:
  void Note(const cow_String& what, long long count, const cow_String& detail = {}) {
    if (count > 0) ledger_.push_back({what, count, detail});
  }

  void FindClasses() {
    long long unknown = 0, cut = 0, numOwn = 0;
    cow_String which, own;
    for (unsigned i = 0; i < mesh_.ElementData().NumClasses(); ++i) {
      const bme_ElementClass& type = mesh_.ElementData().GetClass(i);
      exo_CheckNodes(mesh_, type, name_);
      written_.push_back(msh_WrittenAs(type));
      const std::optional<msh_Written>& written = written_.back();
      if (!written) {
        unknown += type.NumElements();
        which += (which.empty() ? "" : ", ") + type.ElemTypeLabel();
        continue;
      }
      const exo_ElementType read = msh_LabelOf(*written->type, {});
      const cow_String what = type.ElemTypeLabel() + ", as " + written->type->Name();
      if (read.label != type.ElemTypeLabel()) {
        ++numOwn;
        if (("; " + own + ";").find("; " + what + ";") == cow_String::npos)
          own += (own.empty() ? "" : "; ") + what;
      }
      const std::size_t kept = read.order.empty() ? written->nodes.size() : read.order.size();
      if (kept < static_cast<std::size_t>(type.NumNodesPerElem())) cut += type.NumElements();
    }
    Note("elements of types unknown to the format", unknown, which);
    Note("element types with a label of their own", numOwn, own);
    Note("elements without their last nodes", cut);
    if (mesh_.NodeData().Dimension() != 3) Note("dimensions of the mesh", mesh_.NodeData().Dimension());
  }

  /// Tags count from 1; the elements that stand for nodes of sets get the next ones.
  void FindLabels() {
    const bme_NodeData& nodes = mesh_.NodeData();
    const auto areFit = [](std::span<const int> labels) {
      return std::ranges::all_of(labels, [](int label) { return label > 0; });
    };
    if (nodes.HasUserNodeLabels()) {
      if (areFit(nodes.UserNodeLabels().Const()))
        nodeLabels_ = nodes.UserNodeLabels().Const();
      else
        Note("labels of nodes", nodes.NumNodes(), "some are below 1: counted from 1");
    }
    const bme_ElementData& elements = mesh_.ElementData();
    hasElementLabels_ = elements.HasUserElementLabels();
    for (unsigned i = 0; i < elements.NumClasses() && hasElementLabels_; ++i)
      hasElementLabels_ = areFit(elements.GetClass(i).UserElementLabels());
    if (elements.HasUserElementLabels() && !hasElementLabels_)
      Note("labels of elements", elements.NumElements(), "some are below 1: counted from 1");
    nextLabel_ = hasElementLabels_ ? std::int64_t{elements.GetMaximalUserLabel()} + 1
                                   : std::int64_t{elements.NumElements()} + 1;
    if (nextLabel_ + groups_.NumNodes() > std::numeric_limits<int>::max())
      throw nex_TextException(name_
                              + ": the nodes of sets, which are elements of the file, need labels above "
                              + std::to_string(std::numeric_limits<int>::max()));
  }

  int LabelOf(const bme_ElementClass& type, int inClass) const {
    return hasElementLabels_ ? type.UserElementLabels()[static_cast<std::size_t>(inClass)]
                             : type.FirstElementIndex() + inClass + 1;
  }
  int NodeLabel(std::size_t node) const {
    return nodeLabels_.empty() ? static_cast<int>(node) + 1 : nodeLabels_[node];
  }

  void MakeEntities() {
    int next[4] = {1, 1, 1, 1};
    for (const msh_NodeGroup& group : groups_.OfNodes())
      if (!group.nodes.empty())
        entities_.push_back({0, next[0]++, nullptr, group.nodes, nullptr, {group.tag}});
    for (unsigned i = 0; i < written_.size(); ++i) {
      const bme_ElementClass& type = mesh_.ElementData().GetClass(i);
      if (!written_[i] || type.NumElements() == 0) continue;
      const int dims = written_[i]->type->NumDims();
      groups_.ForEachCombination(type, dims, [&](std::span<const int> tags, std::span<const int> picked) {
        entities_.push_back({dims, next[dims]++, &type, picked, &*written_[i], {tags.begin(), tags.end()}});
      });
    }
  }

  void WriteNames() {
    const std::vector<msh_GroupName> names = groups_.Names(DimsOfMesh());
    if (names.empty()) return;
    file_.Text("$PhysicalNames\n", names.size(), '\n');
    for (const msh_GroupName& name : names) file_.Text(name.dims, ' ', name.tag, " \"", name.name, "\"\n");
    file_.Text("$EndPhysicalNames\n");
  }
  int DimsOfMesh() const {
    int dims = 0;
    for (const Entity& entity : entities_) dims = std::max(dims, entity.dims);
    return dims == 0 ? 3 : dims;
  }

  template<class Each> void ForEachNode(const Entity& entity, Each each) const {
    if (!entity.elements) {
      for (const int node : entity.picked) each(static_cast<std::size_t>(node));
      return;
    }
    for (const int element : entity.picked)
      for (const int node : entity.elements->Connectivity(element)) each(static_cast<std::size_t>(node));
  }

  Box BoxOf(const Entity& entity) const {
    constexpr double kMost = std::numeric_limits<double>::max();
    const std::span<const float> xyz = mesh_.NodeData().Coordinates().Const();
    Box box{kMost, kMost, kMost, -kMost, -kMost, -kMost};
    ForEachNode(entity, [&](std::size_t node) {
      double placed[3];
      placement_.Place(xyz.subspan(3 * node, 3), placed);
      for (std::size_t axis = 0; axis < 3; ++axis) {
        box[axis] = std::min(box[axis], placed[axis]);
        box[axis + 3] = std::max(box[axis + 3], placed[axis]);
      }
    });
    return box;
  }

  /// All nodes stand in one entity, which must be there.
  void WriteEntities() {
    std::size_t counts[4] = {};
    for (const Entity& entity : entities_) ++counts[entity.dims];
    const bool isBare = entities_.empty() && mesh_.NodeData().NumNodes() > 0;
    counts[3] += isBare ? 1 : 0;
    file_.Text("$Entities\n");
    for (const std::size_t count : counts) out_.Size(count);
    out_.EndRow();
    const auto write = [&](int dims, int tag, const Box& box, std::span<const int> tags) {
      out_.Int(tag);
      for (std::size_t i = 0; i < (dims == 0 ? std::size_t{3} : std::size_t{6}); ++i)
        placement_.IsNone() ? out_.Real(static_cast<float>(box[i])) : out_.Real(box[i]);
      out_.Size(tags.size());
      for (const int one : tags) out_.Int(one);
      if (dims > 0) out_.Size(0); // entities at its boundary
      out_.EndRow();
    };
    for (int dims = 0; dims < 4; ++dims)
      for (const Entity& entity : entities_)
        if (entity.dims == dims) write(dims, entity.tag, BoxOf(entity), entity.tags);
    if (isBare) write(3, 1, {}, {});
    out_.EndSection("Entities");
  }

  void WriteNodes() {
    const bme_NodeData& nodes = mesh_.NodeData();
    const std::size_t count = nodes.NumNodes();
    const std::span<const float> xyz = nodes.Coordinates().Const();
    const auto writePlace = [&](std::size_t node) {
      double placed[3];
      if (!placement_.IsNone()) placement_.Place(xyz.subspan(3 * node, 3), placed);
      for (std::size_t axis = 0; axis < 3; ++axis)
        placement_.IsNone() ? out_.Real(xyz[3 * node + axis]) : out_.Real(placed[axis]);
      out_.EndRow();
    };
    file_.Text("$Nodes\n");
    if (isOld_) {
      file_.Text(count, '\n');
      for (std::size_t node = 0; node < count; ++node) {
        out_.Int(NodeLabel(node));
        writePlace(node);
      }
      return out_.EndSection("Nodes");
    }
    int least = 0, most = 0;
    if (count > 0 && nodeLabels_.empty()) {
      least = 1;
      most = static_cast<int>(count);
    } else if (count > 0) {
      std::tie(least, most) =
          std::pair(*std::ranges::min_element(nodeLabels_), *std::ranges::max_element(nodeLabels_));
    }
    WriteTotals(count > 0 ? 1 : 0, count, least, most);
    if (count > 0) {
      const auto entity = std::ranges::max_element(entities_, {}, &Entity::dims);
      WriteBlock(entity == entities_.end() ? 3 : entity->dims, entity == entities_.end() ? 1 : entity->tag, 0,
                 count);
      for (std::size_t node = 0; node < count; ++node) {
        out_.Size(static_cast<std::uint64_t>(NodeLabel(node)));
        out_.EndRow();
      }
      for (std::size_t node = 0; node < count; ++node) writePlace(node);
    }
    out_.EndSection("Nodes");
  }

  void WriteTotals(std::size_t blocks, std::size_t count, int least, int most) {
    out_.Size(blocks);
    out_.Size(count);
    out_.Size(static_cast<std::uint64_t>(least));
    out_.Size(static_cast<std::uint64_t>(most));
    out_.EndRow();
  }
  void WriteBlock(int dims, int tag, int third, std::size_t count) {
    out_.Int(dims);
    out_.Int(tag);
    out_.Int(third);
    out_.Size(count);
    out_.EndRow();
  }

  static int TypeNumber(const Entity& entity) {
    constexpr int kPoint = 15;
    return entity.written ? entity.written->type->number : kPoint;
  }

  /// Calls each(label, nodes) with the labels of nodes in the order of the file.
  template<class Each> void ForEachElement(const Entity& entity, Each each) {
    std::vector<int> nodes(entity.written ? entity.written->nodes.size() : 1);
    for (const int picked : entity.picked) {
      if (!entity.elements) {
        nodes[0] = NodeLabel(static_cast<std::size_t>(picked));
        each(static_cast<int>(nextLabel_++), nodes);
        continue;
      }
      const std::span<const int> row = entity.elements->Connectivity(picked);
      for (std::size_t k = 0; k < nodes.size(); ++k)
        nodes[k] = NodeLabel(static_cast<std::size_t>(row[entity.written->nodes[k]]));
      each(LabelOf(*entity.elements, picked), nodes);
    }
  }

  void WriteElements() {
    std::size_t count = 0;
    int least = std::numeric_limits<int>::max(), most = 0;
    for (const Entity& entity : entities_) {
      count += entity.picked.size();
      for (const int picked : entity.picked) {
        if (!entity.elements) break;
        least = std::min(least, LabelOf(*entity.elements, picked));
        most = std::max(most, LabelOf(*entity.elements, picked));
      }
    }
    if (groups_.NumNodes() > 0) {
      least = std::min(least, static_cast<int>(nextLabel_));
      most = static_cast<int>(nextLabel_ + groups_.NumNodes() - 1);
    }
    file_.Text("$Elements\n");
    if (isOld_)
      file_.Text(count, '\n');
    else
      WriteTotals(entities_.size(), count, count == 0 ? 0 : least, most);
    for (const Entity& entity : entities_) isOld_ ? WriteOldRows(entity) : WriteRows(entity);
    out_.EndSection("Elements");
  }

  void WriteRows(const Entity& entity) {
    WriteBlock(entity.dims, entity.tag, TypeNumber(entity), entity.picked.size());
    ForEachElement(entity, [&](int label, std::span<const int> nodes) {
      out_.Size(static_cast<std::uint64_t>(label));
      for (const int node : nodes) out_.Size(static_cast<std::uint64_t>(node));
      out_.EndRow();
    });
  }

  void WriteOldRows(const Entity& entity) {
    constexpr int kNumTags = 2; // group and entity
    const int group = entity.tags.empty() ? 0 : entity.tags[0];
    if (out_.IsBinary())
      for (const int number : {TypeNumber(entity), static_cast<int>(entity.picked.size()), kNumTags})
        out_.Int(number);
    ForEachElement(entity, [&](int label, std::span<const int> nodes) {
      out_.Int(label);
      if (!out_.IsBinary())
        for (const int number : {TypeNumber(entity), kNumTags}) out_.Int(number);
      out_.Int(group);
      out_.Int(entity.tag);
      for (const int node : nodes) out_.Int(node);
      out_.EndRow();
    });
  }

  const bme_Mesh& mesh_;
  const bme_Placement placement_{mesh_};
  bool isOld_;
  msh_Groups groups_;
  fmt_Output file_;
  Numbers out_;
  cow_String name_;
  fmt_Ledger ledger_;
  std::vector<std::optional<msh_Written>> written_; ///< of each class
  std::vector<Entity> entities_;
  std::span<const int> nodeLabels_; ///< empty when they count from 1
  bool hasElementLabels_ = false;
  std::int64_t nextLabel_ = 1;
};

fmt_Ledger Write(uti_OutputFile& output, const bme_Mesh& mesh, std::span<const bme_NamedSet> sets,
                 const fmt_WriteOptions& options, bool isOld) {
  if (options.encoding == fmt_Encoding::Compressed)
    throw nex_TextException(output.Name() + ": an MSH file has no compressed form");
  return Writer(mesh, sets, isOld, options.encoding != fmt_Encoding::Ascii, output).Run();
}
} // namespace

fmt_Ledger msh_WriteMesh(uti_OutputFile& output, const bme_Mesh& mesh, std::span<const bme_NamedSet> sets,
                         const fmt_WriteOptions& options) {
  return Write(output, mesh, sets, options, false);
}

fmt_Ledger msh_WriteOldMesh(uti_OutputFile& output, const bme_Mesh& mesh, std::span<const bme_NamedSet> sets,
                            const fmt_WriteOptions& options) {
  return Write(output, mesh, sets, options, true);
}
