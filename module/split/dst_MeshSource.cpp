#include "dst_SourceWithSets.h"

#include <BasicUtils/cls_WritePass.h>
#include <CoreGeometry/bme_StoredSets.h>
#include <algorithm>

dst_Source::~dst_Source() = default;

bool dst_SetFacts::IsOfNodes(const rgnC_SubsetData& subset) noexcept {
  return subset.SubsetType() == res_NODE_SET || subset.SubsetType() == res_SURFACE_NODE;
}

bool dst_SourceFacts::HasElementLabels() const noexcept {
  return NumElements() > 0 && std::ranges::all_of(classes, [](const dst_ClassRange& one) {
           return one.NumElements() == 0 || one.HasLabels();
         });
}

bme_Mesh dst_ShellOf(const bme_Mesh& mesh) {
  bme_Mesh shell(static_cast<unsigned>(mesh.Id()),
                 new bme_NodeData(uti_CoordCont3D(), mesh.NodeData().Dimension()), nullptr, mesh.MeshType(),
                 mesh.Transform());
  shell.SetTimeStamp(mesh.TimeStamp());
  return shell;
}

dst_SourceWithSets::dst_SourceWithSets(std::vector<dst_JoinedSet> sets, Put putBeside, Put putRegions)
    : sets_(std::move(sets)), putBeside_(std::move(putBeside)), putRegions_(std::move(putRegions)) {
  for (const dst_JoinedSet& set : sets_) {
    dst_SetFacts facts{set.root, set.data.WithoutSubsets(), {}};
    for (int i = 0; i < set.data.NumSubset(); ++i) {
      const rgnC_SubsetData& subset = set.data.SubSet(i);
      facts.shell.AppendSubset(subset.WithItems({}, {}));
      facts.subsets.push_back(
          {static_cast<std::uint64_t>(subset.NumItems()), !subset.FacetIdArray().empty()});
    }
    facts_.sets.push_back(std::move(facts));
  }
}

void dst_SourceWithSets::ReadEntries(unsigned set, unsigned subset, std::uint64_t first,
                                     std::span<unsigned> numbers, std::span<int> facets) const {
  const rgnC_SubsetData& entries = sets_[set].data.SubSet(static_cast<int>(subset));
  dst_CopyTo(entries.IdArray(), first, numbers);
  if (!facets.empty()) dst_CopyTo(entries.FacetIdArray(), first, facets);
}

namespace {
using Put = dst_SourceWithSets::Put;

class MeshSource : public dst_SourceWithSets {
public:
  MeshSource(const cow_String& name, const bme_Mesh& mesh, std::vector<dst_JoinedSet> sets,
             const dst_MeshBeside& beside, Put putBeside, Put putRegions)
      : dst_SourceWithSets(std::move(sets), std::move(putBeside), std::move(putRegions)), mesh_(mesh) {
    facts_.file = beside.file;
    facts_.leftOut = beside.leftOut;
    facts_.warnings = beside.warnings;
    runs_ = beside.runs;
    const bme_NodeData& nodes = mesh_.NodeData();
    facts_.mesh = name;
    facts_.shell = dst_ShellOf(mesh);
    facts_.numNodes = nodes.NumNodes();
    facts_.hasNodeLabels = nodes.HasUserNodeLabels();
    std::uint64_t first = 0;
    for (const auto& [index, elements] : mesh_.ElementData().ElementClasses()) {
      dst_ClassRange& range = facts_.classes.emplace_back(*elements);
      range.SetNumbers(first, range.NumElements());
      first = range.EndElement();
    }
  }

  void ReadCoordinates(std::uint64_t firstNode, std::span<float> xyz) const override {
    dst_CopyTo(mesh_.NodeData().Coordinates().Const(), 3 * firstNode, xyz);
  }
  void ReadNodeLabels(std::uint64_t firstNode, std::span<int> labels) const override {
    dst_CopyTo(mesh_.NodeData().UserNodeLabels().Const(), firstNode, labels);
  }
  void ReadConnectivity(unsigned classIndex, std::uint64_t firstElement,
                        std::span<unsigned> nodes) const override {
    const cls_xp2DArrayInt& rows = mesh_.ElementData().GetClass(classIndex).ElementConnectivity();
    dst_CopyTo(rows.Const(), firstElement * rows.NumColumns(), nodes);
  }
  void ReadElementLabels(unsigned classIndex, std::uint64_t firstElement,
                         std::span<int> labels) const override {
    dst_CopyTo(mesh_.ElementData().GetClass(classIndex).UserElementLabels(), firstElement, labels);
  }

private:
  bme_Mesh mesh_;
};
} // namespace

std::unique_ptr<dst_Source> dst_MeshSource(const cow_String& name, const bme_Mesh& mesh,
                                           std::vector<bme_NamedSet> sets, const dst_MeshBeside& beside) {
  std::vector<dst_JoinedSet> stored;
  for (const bme_NamedSet& set : sets) {
    stored.push_back({bme_kSetFolder + name + "/" + set.Root(), set.data});
    if (set.data.GetSetLabel().empty()) stored.back().data.SetLabel(set.name);
  }
  const Put putRegions = [name, sets = std::move(sets)](cls_WritePass& pass) {
    for (const bme_NamedSet& set : sets) {
      const rgnC_Region region = bme_RegionOf(name, set);
      pass.Put(bme_kRegionFolder + name + "/" + set.Root(), region);
    }
  };
  const Put putBeside = [putRegions, put = beside.put](cls_WritePass& pass) {
    putRegions(pass);
    if (put) put(pass);
  };
  return std::make_unique<MeshSource>(name, mesh, std::move(stored), beside, putBeside, putRegions);
}
