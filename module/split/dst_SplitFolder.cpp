#include <CoreGeometry/dst_SplitFolder.h>

#include <CoreGeometry/bme_StoredSets.h>
#include <algorithm>
#include <filesystem>

namespace fs = std::filesystem;

namespace {
constexpr unsigned kPartsPerFolder = 1000;

cow_String Digits(unsigned number, std::size_t width) {
  const cow_String text = std::to_string(number);
  return cow_String(std::max(width, text.size()) - text.size(), '0') + text;
}

dst_Index ReadIndex(const cow_String& folder) {
  std::error_code ignored;
  if (!fs::is_directory(folder, ignored))
    throw nex_TextException(folder + ": is not the folder of a split model");
  const cow_String file = dst_SplitFolder::IndexFile(folder);
  if (!fs::exists(file, ignored)) {
    if (dst_SplitFolder::IsOne(folder))
      throw nex_TextException(folder + ": split was not finished: run it again");
    throw nex_TextException(folder + ": is not the folder of a split model: it has no index.cgdb");
  }
  return *cls_Database::Open(file, cls_Database::Mode::Finished).Get<dst_Index>(dst_kIndexRoot);
}
/// Labels are stored in every part, also where the whole has implicit ones.
bool HasLabels(const bme_Mesh& mesh) {
  return mesh.NodeData().UserNodeLabels().Size() == mesh.NodeData().NumNodes()
         && std::ranges::all_of(mesh.ElementData().ElementClasses(), [](const auto& entry) {
              return entry.second->NumElements() == 0 || entry.second->HasUserElementLabels();
            });
}
} // namespace

dst_SplitFolder::dst_SplitFolder(cow_String folder)
    : folder_(std::move(folder)), index_(ReadIndex(folder_)) {}

bool dst_SplitFolder::IsOne(const cow_String& folder) {
  std::error_code ignored;
  return fs::is_directory(folder, ignored)
         && (fs::exists(IndexFile(folder), ignored) || fs::is_directory(fs::path(folder) / ".work", ignored)
             || fs::is_directory(fs::path(folder) / "parts", ignored));
}

cow_String dst_SplitFolder::IndexFile(const cow_String& folder) {
  return (fs::path(folder) / "index.cgdb").string();
}

cow_String dst_SplitFolder::PartFile(const cow_String& folder, unsigned part, unsigned numParts) {
  fs::path place = fs::path(folder) / "parts";
  if (numParts > kPartsPerFolder) place /= Digits(part / kPartsPerFolder, 3);
  return (place / (Digits(part, 5) + ".cgdb")).string();
}

cow_String dst_SplitFolder::MeshRoot() const { return bme_kMeshFolder + index_.MeshName(); }

cls_Database dst_SplitFolder::OpenIndexFile() const {
  return cls_Database::Open(IndexFile(), cls_Database::Mode::Finished);
}

cls_Database dst_SplitFolder::OpenPartFile(unsigned part, cls_Database::Mode mode) const {
  const cow_String file = PartFile(part);
  std::error_code ignored;
  if (part >= NumParts())
    throw nex_TextException(folder_ + ": there is no part " + std::to_string(part) + " of "
                            + std::to_string(NumParts()));
  if (!fs::exists(file, ignored))
    throw nex_TextException(file + ": is missing; split again with the same options to make it");
  return cls_Database::Open(file, mode);
}

cow_CountedHld<rgnC_SetData> dst_SplitFolder::SetOf(const cls_Database& part, unsigned set) const {
  auto data = part.Get<rgnC_SetData>(index_.SetRoot(set));
  if (data->NumSubset() != static_cast<int>(index_.NumSubsets(set)))
    throw nex_TextException(part.File() + ": the set \"" + index_.SetRoot(set) + "\" has "
                            + std::to_string(data->NumSubset()) + " subsets, not "
                            + std::to_string(index_.NumSubsets(set)));
  return data;
}

dst_OpenPart dst_SplitFolder::OpenPart(unsigned part, cls_Database::Mode mode) const {
  cls_Database model = OpenPartFile(part, mode);
  cow_CountedHld<dst_Part> facts = model.Get<dst_Part>(dst_kPartRoot);
  if (facts->Identity() != index_.Identity())
    throw nex_TextException(model.File() + ": part " + std::to_string(part)
                            + " is of another split (identity " + facts->Identity() + ", not "
                            + index_.Identity() + "); split again");
  if (facts->Number() != part || facts->NumParts() != NumParts())
    throw nex_TextException(model.File() + ": holds part " + std::to_string(facts->Number()) + " of "
                            + std::to_string(facts->NumParts()) + ", not " + std::to_string(part) + " of "
                            + std::to_string(NumParts()));
  cow_CountedHld<bme_Mesh> mesh = model.Get<bme_Mesh>(MeshRoot());
  if (mesh->NodeData().NumNodes() != facts->NumNodes()
      || mesh->ElementData().NumElements() != facts->NumElements()
      || mesh->ElementData().NumClasses() != index_.NumClasses())
    throw nex_TextException(model.File() + ": the mesh of part " + std::to_string(part)
                            + " was changed: it has " + std::to_string(mesh->NodeData().NumNodes())
                            + " nodes and " + std::to_string(mesh->ElementData().NumElements())
                            + " elements in " + std::to_string(mesh->ElementData().NumClasses())
                            + " classes");
  if (!HasLabels(*mesh))
    throw nex_TextException(model.File() + ": part " + std::to_string(part)
                            + " has nodes or elements without labels; split again");
  return {std::move(model), std::move(mesh), std::move(facts)};
}
