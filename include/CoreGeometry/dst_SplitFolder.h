// dst_SplitFolder.h: a split model on the disk: its index and its parts
#pragma once

#include <BasicUtils/cls_Database.h>
#include <CoreGeometry/bme_Mesh.h>
#include <CoreGeometry/dst_Index.h>
#include <CoreGeometry/dst_Part.h>
#include <CoreGeometry/rgnC_SetData.h>

/// Roots of the two classes, each in a file of its own.
inline constexpr const char *dst_kIndexRoot = "split/index", *dst_kPartRoot = "split/part";

/// An open part. Mesh and sets are those of an ordinary model file.
struct dst_OpenPart {
  cls_Database model;
  cow_CountedHld<bme_Mesh> mesh;
  cow_CountedHld<dst_Part> part;
};

/// A folder that holds a split model: index.cgdb and parts/00000.cgdb, ...; sub-folders of 1,000 parts each when there
/// are more than 1,000.
///
/// Errors     nex_TextException naming folder or file: not a split model, not finished, a part that is missing or of
///            another split.
/// Cost       the index is read once; a part is opened when it is asked for and forgotten with the result.
class CORE_GEOMETRY_DISTRIBUTED_API dst_SplitFolder {
public:
  explicit dst_SplitFolder(cow_String folder);
  /// With an index that was read already, by another process.
  dst_SplitFolder(cow_String folder, const dst_Index& index) : folder_(std::move(folder)), index_(index) {}

  /// True for a folder that holds a split model, finished or not.
  static bool IsOne(const cow_String& folder);
  static cow_String IndexFile(const cow_String& folder);
  static cow_String PartFile(const cow_String& folder, unsigned part, unsigned numParts);

  const cow_String& Folder() const noexcept { return folder_; }
  const dst_Index& Index() const noexcept { return index_; }
  unsigned NumParts() const noexcept { return index_.NumParts(); }
  cow_String IndexFile() const { return IndexFile(folder_); }
  cow_String PartFile(unsigned part) const { return PartFile(folder_, part, NumParts()); }
  cow_String MeshRoot() const; ///< "meshes/<name>", in every part

  cls_Database OpenIndexFile() const;
  /// The file of a part, of which nothing is read yet.
  cls_Database OpenPartFile(unsigned part, cls_Database::Mode mode = cls_Database::Mode::Finished) const;
  /// A set of the index in an open part, with the subsets of the index.
  cow_CountedHld<rgnC_SetData> SetOf(const cls_Database& part, unsigned set) const;
  dst_OpenPart OpenPart(unsigned part, cls_Database::Mode mode = cls_Database::Mode::Finished) const;

private:
  cow_String folder_;
  dst_Index index_;
};
