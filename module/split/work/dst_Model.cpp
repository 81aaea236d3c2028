#include <CoreGeometry/dst_Model.h>

#include <BasicUtils/cls_OpenBytes.h>
#include <BasicUtils/nex_Exception.h>
#include <CoreGeometry/rgnC_SetData.h>
#include <filesystem>
#include <fstream>

namespace {
std::vector<std::byte> BytesOf(const cow_String& file) {
  std::ifstream in(file, std::ios::binary);
  std::vector<std::byte> bytes(in ? std::filesystem::file_size(file) : 0);
  if (!in || !in.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(bytes.size())))
    throw nex_TextException(file + ": cannot be read");
  return bytes;
}
} // namespace

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
  exchange.OnFirstRank([&] { folder_ = std::make_shared<const dst_SplitFolder>(folder); });
  if (exchange.NumRanks() > 1) ShareIndex(folder);
  exchange.Agree();
  exchange.SetNumParts(folder_->NumParts());
}

/// The first rank alone reads the file, whose bytes go to the others.
void dst_Model::ShareIndex(const cow_String& folder) {
  std::vector<std::byte> bytes;
  exchange_->OnFirstRank([&] { bytes = BytesOf(folder_->IndexFile()); });
  exchange_->Broadcast(bytes);
  if (exchange_->IsFirstRank()) return;
  exchange_->OnEachRank([&] {
    const cls_Database index = cls_OpenBytes(dst_SplitFolder::IndexFile(folder), bytes);
    folder_ = std::make_shared<const dst_SplitFolder>(folder, *index.Get<dst_Index>(dst_kIndexRoot));
  });
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
