#include <BasicUtils/cls_ReadView.h>
#include <BasicUtils/cls_StoredArray.h>
#include <BasicUtils/cls_WritePass.h>
#include <BasicUtils/thr_ThreadSingleton.h>
#include <CoreGeometry/bme_StoredSets.h>
#include <CoreGeometry/dst_Source.h>
#include <CoreGeometry/odiC_Run.h>
#include <CoreGeometry/shp_ShapeDictionary.h>
#include <algorithm>
#include <cstring>
#include <set>

namespace {
/// The fields of a stored mesh that are not its nodes and elements.
struct MeshHead {
  explicit MeshHead(const cls_ReadVisitor& mesh)
      : id(mesh.GetInt("id")), type(omu_PrimEnum<bme_MeshType>(cls_ReadVisitor(mesh, "meshType"))),
        timeStamp(mesh.GetDouble("timeStamp")), transform(cls_ReadVisitor(mesh, "transform")) {}
  int id;
  bme_MeshType type;
  double timeStamp;
  gsl_PersistentMatrix transform;
};
struct NodeHead {
  explicit NodeHead(const cls_ReadVisitor& nodes) : numDim(nodes.GetUint("numDim")) {}
  unsigned numDim;
};
struct ClassHead {
  explicit ClassHead(const cls_ReadVisitor& elements) : range(dst_ClassRange::OfStored(elements)) {}
  dst_ClassRange range;
};

template<class From, class To>
void Convert(const cls_StoredArray<From>& from, std::size_t first, std::span<To> to) {
  static_assert(sizeof(From) == sizeof(To)); // -1 is the largest unsigned number
  from.Read(first, std::span(reinterpret_cast<From*>(to.data()), to.size()));
}

class ModelSource : public dst_Source {
public:
  ModelSource(const cls_Database& model, const cow_String& root) : model_(model), view_(model), root_(root) {
    facts_.file = model.File();
    facts_.mesh = root.substr(std::strlen(bme_kMeshFolder));
    const auto head = model.GetValue<MeshHead>(model.Resolve(root));
    const auto nodes = model.GetValue<NodeHead>(model.Resolve(root + ".nodeData"));
    facts_.shell = bme_Mesh(static_cast<unsigned>(head.id), new bme_NodeData(uti_CoordCont3D(), nodes.numDim),
                            nullptr, head.type, head.transform.Matrix());
    facts_.shell.SetTimeStamp(head.timeStamp);
    coordinates_ = {model, root + ".nodeData.coordinates"};
    labels_ = {model, root + ".nodeData.userNodeLabels"};
    facts_.numNodes = coordinates_.Size().numbers / 3;
    facts_.hasNodeLabels = facts_.numNodes > 0 && labels_.Size().numbers == facts_.numNodes;
    FindClasses();
    FindSets();
    FindLeftOut();
    for (const cow_String& run : odiC_Run::RootsOf(model, root)) AddRun(run);
  }

  void ReadCoordinates(std::uint64_t firstNode, std::span<float> xyz) const override {
    coordinates_.Read(3 * firstNode, xyz);
  }
  void ReadNodeLabels(std::uint64_t firstNode, std::span<int> labels) const override {
    labels_.Read(firstNode, labels);
  }
  void ReadConnectivity(unsigned classIndex, std::uint64_t firstElement,
                        std::span<unsigned> nodes) const override {
    Convert(rows_[classIndex],
            firstElement * static_cast<std::size_t>(facts_.classes[classIndex].NodesPerElement()), nodes);
  }
  void ReadElementLabels(unsigned classIndex, std::uint64_t firstElement,
                         std::span<int> labels) const override {
    elementLabels_[classIndex].Read(firstElement, labels);
  }
  void ReadEntries(unsigned set, unsigned subset, std::uint64_t first, std::span<unsigned> numbers,
                   std::span<int> facets) const override {
    if (open_.IsNull() || openSet_ != set) {
      open_ = model_.Get<rgnC_SetData>(facts_.sets[set].root);
      openSet_ = set;
    }
    const rgnC_SubsetData& entries = open_->SubSet(static_cast<int>(subset));
    std::ranges::transform(entries.IdArray().subspan(first, numbers.size()), numbers.begin(),
                           [](int id) { return static_cast<unsigned>(id); });
    std::ranges::copy(entries.FacetIdArray().subspan(facets.empty() ? 0 : first, facets.size()),
                      facets.begin());
  }
  void PutBeside(cls_WritePass& index) const override {
    for (const cow_String& root : beside_) index.Copy(model_, root);
  }
  void PutRegions(cls_WritePass& part) const override {
    for (const cow_String& root : regions_) part.Copy(model_, root);
  }

private:
  void FindClasses() {
    std::uint64_t first = 0;
    for (unsigned index = 0;; ++index) {
      const cow_String path = root_ + ".elemData.classes[" + std::to_string(index) + "]";
      cls_Location place;
      try {
        place = model_.Resolve(path);
      } catch (const nex_TextException& failure) {
        if (failure.Message().find("is outside") == cow_String::npos) throw;
        break; // the last one was before
      }
      dst_ClassRange range = model_.GetValue<ClassHead>(place).range;
      rows_.emplace_back(model_, path + ".DDBconnectivity");
      elementLabels_.emplace_back(model_, path + ".DDBuserElementLabel");
      const cls_ArraySize& size = rows_.back().Size();
      const shp_Shape* shape =
          thr_ThreadSingleton<shp_ShapeDictionary>::Instance().GetShape(range.ElemTypeLabel());
      range.SetNodesPerElement(size.numbers > 0 ? static_cast<int>(size.width)
                               : shape          ? shape->NumNodes()
                                                : 0);
      if (size.numbers != range.NumElements() * static_cast<std::uint64_t>(range.NodesPerElement()))
        throw nex_TextException(facts_.file + ": " + path + " has " + std::to_string(range.NumElements())
                                + " elements and " + std::to_string(size.numbers)
                                + " numbers of nodes; check the model first");
      range.SetHasLabels(elementLabels_.back().Size().numbers > 0);
      range.SetNumbers(first, range.NumElements());
      first = range.EndElement();
      facts_.classes.push_back(range);
    }
  }

  /// Sets with entries in this mesh, and sets without any; those of other meshes are left out.
  void FindSets() {
    const int id = facts_.shell.Id();
    for (const cow_String& root : model_.RootsOf({rgnC_SetData::TypeId()})) {
      const auto stored = model_.Get<rgnC_SetData>(root);
      dst_SetFacts set{root, stored->WithoutSubsets(), {}};
      bool isOfMesh = true;
      for (int i = 0; i < stored->NumSubset() && isOfMesh; ++i) {
        const rgnC_SubsetData& subset = stored->SubSet(i);
        isOfMesh = subset.MeshIndex() == id;
        set.shell.AppendSubset(subset.WithItems({}, {}));
        set.subsets.push_back(
            {static_cast<std::uint64_t>(subset.NumItems()), !subset.FacetIdArray().empty()});
      }
      if (isOfMesh)
        facts_.sets.push_back(std::move(set));
      else
        facts_.leftOut.push_back(root + ": has elements or nodes of another mesh");
    }
  }

  /// What goes into the index as it is, and what into no file.
  void FindLeftOut() {
    std::set<cow_String> sets;
    for (const dst_SetFacts& set : facts_.sets) sets.insert(set.root);
    const std::vector<cow_String> setRoots = model_.RootsOf({rgnC_SetData::TypeId()});
    const std::vector<cow_String> meshes = model_.RootsOf({bme_Mesh::TypeId()});
    const std::vector<cow_String> runs = odiC_Run::RootsOf(model_);
    for (const cow_String& root : model_.RootsOf({rgnC_Region::TypeId()}))
      if (const auto region = model_.Get<rgnC_Region>(root);
          !region->GetSetData().IsDefined() || sets.contains(region->GetSetData().Path()))
        regions_.push_back(root);
    for (const cow_String& root : meshes)
      if (root != root_) facts_.leftOut.push_back(root + ": is another mesh");
    for (const cow_String& root : runs)
      if (!root.starts_with(odiC_Run::RootOf(root_, "")))
        facts_.leftOut.push_back(root + ": is of another mesh");
    for (const cow_String& root : model_.Roots()) {
      const bool isOfRun = std::ranges::any_of(
          runs, [&](const cow_String& run) { return root == run || root.starts_with(run + "/"); });
      if (!isOfRun && !std::ranges::binary_search(meshes, root)
          && !std::ranges::binary_search(setRoots, root))
        beside_.push_back(root);
    }
  }

  void AddRun(const cow_String& root) {
    runs_.push_back(odiC_Run::Open(model_, root));
    const odiC_Results& header = runs_.back().Header();
    bool isOfMesh = header.numNodes == static_cast<int>(facts_.numNodes)
                    && header.classSizes.size() == facts_.classes.size();
    for (std::size_t i = 0; i < facts_.classes.size() && isOfMesh; ++i)
      isOfMesh = static_cast<std::uint64_t>(header.classSizes[i]) == facts_.classes[i].NumElements()
                 && header.classTypes[i] == facts_.classes[i].ElemTypeLabel();
    if (isOfMesh) return;
    runs_.pop_back();
    facts_.leftOut.push_back(root + ": is of a mesh of other sizes or types");
  }

  const cls_Database& model_;
  cls_ReadView view_;
  cow_String root_;
  cls_StoredArray<float> coordinates_;
  cls_StoredArray<int> labels_;
  std::vector<cls_StoredArray<int>> rows_, elementLabels_;
  std::vector<cow_String> beside_, regions_;
  mutable cow_CountedHld<rgnC_SetData> open_;
  mutable unsigned openSet_ = 0;
};
} // namespace

std::unique_ptr<dst_Source> dst_ModelSource(const cls_Database& model, const cow_String& meshRoot) {
  return std::make_unique<ModelSource>(model, meshRoot);
}
