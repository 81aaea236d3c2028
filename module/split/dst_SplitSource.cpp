#include "dst_Runs.h"
#include "dst_SourceWithSets.h"
#include "dst_Unpacked.h"
#include "dst_WorkFolder.h"

#include <BasicUtils/cls_WritePass.h>
#include <BasicUtils/thr_ThreadSingleton.h>
#include <BasicUtils/wip_WIP.h>
#include <filesystem>
#include <optional>

namespace fs = std::filesystem;

namespace {
/// Nodes and elements of the parts, unpacked into files in the order of the whole.
class SplitSource : public dst_SourceWithSets {
public:
  SplitSource(const dst_SplitFolder& split, const cow_String& workFolder, std::vector<dst_JoinedSet> sets,
              Put putBeside, Put putRegions)
      : dst_SourceWithSets(std::move(sets), std::move(putBeside), std::move(putRegions)), folder_(workFolder),
        coordinates_(folder_.File("coordinates"), 3), labels_(folder_.File("labels"), 1) {
    const dst_Index& index = split.Index();
    facts_.file = split.Folder();
    facts_.mesh = index.MeshName();
    facts_.numNodes = index.NumNodes();
    facts_.hasNodeLabels = index.HasNodeLabels();
    for (unsigned i = 0; i < index.NumClasses(); ++i) {
      const dst_ClassRange& range = facts_.classes.emplace_back(index.Class(i));
      const cow_String number = std::to_string(i);
      rows_.push_back(std::make_unique<dst_Unpacked<int>>(folder_.File("rows" + number),
                                                          static_cast<std::size_t>(range.NodesPerElement())));
      elementLabels_.push_back(std::make_unique<dst_Unpacked<int>>(folder_.File("labels" + number), 1));
    }
    std::uint64_t numElements = 0, numNodes = 0;
    for (unsigned part = 0; part < split.NumParts(); ++part) {
      thr_ThreadSingleton<wip_WIP>::Instance().CheckCancelled();
      const dst_OpenPart open = split.OpenPart(part);
      if (part == 0) facts_.shell = dst_ShellOf(*open.mesh);
      Unpack(open);
      numElements += open.part->NumElements();
      numNodes += index.Part(part).numOwned;
    }
    if (numElements != index.NumElements() || numNodes != index.NumNodes())
      throw nex_TextException(split.Folder() + ": the parts hold " + std::to_string(numNodes) + " nodes and "
                              + std::to_string(numElements) + " elements, not "
                              + std::to_string(index.NumNodes()) + " and "
                              + std::to_string(index.NumElements()));
    TakeRuns(split);
  }

  void ReadCoordinates(std::uint64_t firstNode, std::span<float> xyz) const override {
    coordinates_.Read(firstNode, xyz);
  }
  void ReadNodeLabels(std::uint64_t firstNode, std::span<int> labels) const override {
    labels_.Read(firstNode, labels);
  }
  void ReadConnectivity(unsigned classIndex, std::uint64_t firstElement,
                        std::span<unsigned> nodes) const override {
    rows_[classIndex]->Read(firstElement, nodes);
  }
  void ReadElementLabels(unsigned classIndex, std::uint64_t firstElement,
                         std::span<int> labels) const override {
    elementLabels_[classIndex]->Read(firstElement, labels);
  }

private:
  void Unpack(const dst_OpenPart& open) {
    const dst_Part& part = *open.part;
    const auto expect = [&](bool isTrue, const char* what, std::uint64_t number) {
      if (!isTrue)
        throw nex_TextException(open.model.File() + ": " + what + " " + std::to_string(number)
                                + " is not in the whole; split again");
    };
    const std::span<const unsigned> nodes = part.NodeNumbers();
    expect(nodes.empty() || nodes.back() < facts_.numNodes, "node", nodes.empty() ? 0 : nodes.back());
    coordinates_.Write(nodes, 0, open.mesh->NodeData().Coordinates().Const());
    if (facts_.hasNodeLabels) labels_.Write(nodes, 0, open.mesh->NodeData().UserNodeLabels().Const());
    std::span<const unsigned> left = part.ElementNumbers();
    for (unsigned i = 0; i < facts_.classes.size(); ++i) {
      const dst_ClassRange& range = facts_.classes[i];
      const bme_ElementClass& elements = open.mesh->ElementData().GetClass(i);
      const auto numbers = left.first(static_cast<std::size_t>(elements.NumElements()));
      left = left.subspan(numbers.size());
      if (numbers.empty()) continue;
      expect(numbers.front() >= range.FirstElement() && numbers.back() < range.EndElement(), "element",
             numbers.back());
      const std::span<const int> own = elements.ElementConnectivity().Const();
      std::vector<int> whole(own.size());
      expect(own.size() == numbers.size() * static_cast<std::size_t>(range.NodesPerElement()),
             "a row of element", numbers.front());
      for (std::size_t k = 0; k < own.size(); ++k) {
        expect(own[k] == -1 || static_cast<std::size_t>(own[k]) < nodes.size(), "node index",
               static_cast<unsigned>(own[k]));
        whole[k] = own[k] == -1 ? -1 : static_cast<int>(nodes[static_cast<std::size_t>(own[k])]);
      }
      rows_[i]->Write(numbers, range.FirstElement(), std::span<const int>(whole));
      if (range.HasLabels())
        elementLabels_[i]->Write(numbers, range.FirstElement(), elements.UserElementLabels());
    }
  }

  /// Joins the runs into a model of their own.
  void TakeRuns(const dst_SplitFolder& split) {
    const std::vector<cow_String> roots = split.OpenIndexFile().RootsOf({odiC_Results::TypeId()});
    if (roots.empty()) return;
    const cow_String file = folder_.File("runs.cgdb");
    fs::remove(fs::path(file));
    model_.emplace(cls_Database::Create(file, {.isDurable = false}));
    cls_WritePass pass(*model_);
    dst_JoinRuns(split, pass);
    pass.Commit();
    for (const cow_String& root : odiC_Run::RootsOf(*model_)) runs_.push_back(odiC_Run::Open(*model_, root));
  }

  dst_WorkFolder folder_;
  dst_Unpacked<float> coordinates_;
  dst_Unpacked<int> labels_;
  std::vector<std::unique_ptr<dst_Unpacked<int>>> rows_, elementLabels_;
  std::optional<cls_Database> model_;
};
} // namespace

std::unique_ptr<dst_Source> dst_SplitSource(const dst_SplitFolder& split, const cow_String& workFolder) {
  std::vector<dst_JoinedSet> sets = dst_JoinSets(split);
  const auto index = std::make_shared<const cls_Database>(split.OpenIndexFile());
  std::vector<cow_String> roots;
  for (const cow_String& root : index->Roots())
    if (!root.starts_with(dst_kSplitFolder) && !std::ranges::count(sets, root, &dst_JoinedSet::root))
      roots.push_back(root);
  const auto copy = [index](const std::vector<cow_String>& these) -> dst_SourceWithSets::Put {
    return [index, these](cls_WritePass& pass) {
      for (const cow_String& root : these) pass.Copy(*index, root);
    };
  };
  return std::make_unique<SplitSource>(split, workFolder, std::move(sets), copy(roots),
                                       copy(index->RootsOf({rgnC_Region::TypeId()})));
}
