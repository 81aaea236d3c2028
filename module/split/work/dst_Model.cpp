#include <CoreGeometry/dst_Model.h>

#include <BasicUtils/nex_Exception.h>
#include <CoreGeometry/rgnC_SetData.h>

dst_Mesh::dst_Mesh(dst_Exchange& exchange, const dst_Index& index, Opener open)
    : exchange_(&exchange), index_(std::make_shared<const dst_Index>(index)), open_(std::move(open)),
      kept_(std::make_shared<Kept>()) {}

dst_Exchange& dst_Mesh::Exchange() const {
  if (exchange_->NumParts() != NumParts()) exchange_->SetNumParts(NumParts());
  return *exchange_;
}

const dst_OpenPart& dst_Mesh::Part(unsigned part) const {
  if (!kept_->part || kept_->number != part) {
    kept_->part.reset(); // before the next one takes memory
    kept_->part = open_(part);
    kept_->number = part;
  }
  return *kept_->part;
}

int dst_Mesh::ElementLabel(const dst_OpenPart& part, unsigned element) const {
  if (!index_->HasElementLabels()) return static_cast<int>(part.part->ElementNumber(element)) + 1;
  const bme_ElementClass& type = part.mesh->ElementData().GetElemClass(element);
  return type.UserElementLabels()[element - static_cast<unsigned>(type.FirstElementIndex())];
}

dst_Model::dst_Model(const cow_String& folder, dst_Exchange& exchange) : exchange_(&exchange) {
  exchange.OnEachRank([&] { folder_ = std::make_shared<const dst_SplitFolder>(folder); });
  exchange.Agree();
  exchange.SetNumParts(folder_->NumParts());
}

dst_Mesh dst_Model::Mesh() const {
  return dst_Mesh(*exchange_, Index(), [folder = folder_](unsigned part) { return folder->OpenPart(part); });
}

dst_Mesh dst_Model::Mesh(const cow_String& name) const {
  if (name != Index().MeshName())
    throw nex_TextException(folder_->Folder() + ": the mesh '" + name + "' is not split here, but '"
                            + Index().MeshName() + "' is");
  return Mesh();
}

dst_Elements dst_Elements::All() {
  return dst_Elements([](const dst_OpenPart& part) { return bme_FEMElemList::All(*part.mesh); });
}

dst_Elements dst_Elements::OfClass(unsigned classIndex) {
  return dst_Elements(
      [classIndex](const dst_OpenPart& part) { return bme_FEMElemList::OfClass(*part.mesh, classIndex); });
}

dst_Elements dst_Elements::OfSet(const cow_String& root) {
  return dst_Elements([root](const dst_OpenPart& part) {
    const auto set = part.model.Get<rgnC_SetData>(root);
    // a part may have nodes of the set and none of its elements
    bool hasElements = false;
    for (int i = 0; i < set->NumSubset(); ++i) {
      const rgnC_SubsetData& subset = set->SubSet(i);
      const bool isOfNodes = subset.SubsetType() == res_NODE_SET || subset.SubsetType() == res_SURFACE_NODE;
      hasElements |= !isOfNodes && subset.NumItems() > 0;
    }
    return hasElements ? bme_FEMElemList::FromSet(*part.mesh, *set) : bme_FEMElemList(*part.mesh);
  });
}
