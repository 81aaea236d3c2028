// odiC_Run.h: a run of results in a model, read one field at a time
#pragma once

#include <BasicUtils/cls_Database.h>
#include <CoreGeometry/bme_Mesh.h>
#include <CoreGeometry/chk_Findings.h>
#include <CoreGeometry/odiC_Field.h>
#include <CoreGeometry/odiC_Layout.h>
#include <CoreGeometry/odiC_Results.h>
#include <map>
#include <set>

/// The values of one variable in one frame, read by ranges of rows.
///
/// Cost       the field is found once; a range reads the chunks that it touches, and the chunk that was read last is
///            kept, so ranges one after the other read each chunk once.
/// Errors     nex_TextException for rows that are not there, and as cls_Database.
/// Threads    one thread at a time; the model must outlive it.
class CORE_GEOMETRY_API odiC_FieldReader {
public:
  odiC_FieldReader(const cls_Database& model, const cow_String& root,
                   std::shared_ptr<const odiC_Layout> layout, const odiC_Variable& variable);

  const odiC_Layout& Layout() const noexcept { return *layout_; }
  const std::shared_ptr<const odiC_Layout>& SharedLayout() const noexcept { return layout_; }
  int NumComponents() const noexcept { return width_; }
  /// Those of the layout, twice for a complex variable: all first numbers, then all second ones.
  long long NumRows() const noexcept { return numRows_; }
  res_StorageTypeEnm Storage() const noexcept { return storage_; }
  const std::vector<double>& Low() const noexcept { return low_; } ///< of each component
  const std::vector<double>& High() const noexcept { return high_; }
  int NumNotNumbers() const noexcept { return numNotNumbers_; }

  /// Whole rows from `firstRow` on, as many as fit. Missing integers become not a number.
  void Read(long long firstRow, std::span<double> values);
  void Read(long long firstRow, std::span<float> values);

private:
  template<class To> void ReadAs(long long firstRow, std::span<To> values);
  template<class Stored, class To> void ReadStored(long long firstRow, std::span<To> values);

  const cls_Database* model_;
  cow_String root_;
  std::shared_ptr<const odiC_Layout> layout_;
  int width_;
  long long numRows_ = 0;
  res_StorageTypeEnm storage_ = res_STORAGE_FLOAT;
  std::vector<double> low_, high_;
  int numNotNumbers_ = 0;
  cls_Location numbers_;
  std::vector<std::byte> chunk_;
  long long chunkStart_ = -1; ///< first number of the chunk that is kept
};

struct odiC_Entities;

/// A run: its header, and its layouts, point sets and fields when they are asked for.
///
/// Errors     odiC_Exception beginning with model and run, with the names that there are, the nearest first.
/// Threads    one thread at a time; the model must outlive it.
class CORE_GEOMETRY_API odiC_Run {
public:
  static odiC_Run Open(const cls_Database& model, const cow_String& root);
  /// The roots of all runs, or of those of one mesh ("meshes/<mesh>"), sorted.
  static std::vector<cow_String> RootsOf(const cls_Database& model, const cow_String& meshRoot = {});
  /// "results/<mesh>/<run>" of a mesh "meshes/<mesh>".
  static cow_String RootOf(const cow_String& meshRoot, const cow_String& run);

  const cow_String& Root() const noexcept { return root_; }
  const cls_Database& Model() const noexcept { return *model_; }
  const odiC_Results& Header() const noexcept { return *header_; }
  /// The mesh, read when first asked for; an error that names both when it is not the one of the run.
  const bme_Mesh& Mesh() const;

  int StepIndex(const cow_String& nameOrNumber) const; ///< position from 0; numbers count from 1
  int VariableIndex(const cow_String& name) const;
  /// -1 is the last frame of the step.
  int FrameIndex(int step, int frame) const;

  std::shared_ptr<const odiC_Layout> Layout(int layout) const;
  const odiC_PointSet& PointSet(int pointSet) const;
  bool HasField(int step, int frame, int variable) const;
  odiC_FieldReader Field(int step, int frame, int variable) const;
  /// The same after its layout was compared with the mesh: an error that names both when it cannot be one of it.
  odiC_FieldReader FieldOnMesh(int step, int frame, int variable) const;
  /// The layout of a field, without its values.
  int LayoutOf(int step, int frame, int variable) const;
  odiC_History History(int step, int history) const;

private:
  odiC_Run(const cls_Database& model, const cow_String& root);
  [[noreturn]] void Fail(const cow_String& what) const;

  const cls_Database* model_;
  cow_String root_;
  cow_CountedHld<odiC_Results> header_;
  mutable cow_CountedHld<bme_Mesh> mesh_;
  mutable std::map<int, std::shared_ptr<const odiC_Layout>> layouts_;
  mutable std::set<int> layoutsOnMesh_; ///< that were compared with it
  mutable std::map<int, std::shared_ptr<const odiC_PointSet>> pointSets_;
  friend odiC_Entities odiC_EntitiesOfRegion(const odiC_Run& run, const cow_String& name);
  mutable std::map<cow_String, std::shared_ptr<const odiC_Entities>> regions_;
};

/// What is wrong with a layout on a mesh; empty when nothing is. Point sets are those of the run.
CORE_GEOMETRY_API cow_String odiC_WhatIsWrong(const odiC_Layout& layout, const bme_Mesh& mesh,
                                              std::span<const int> pointSetCounts = {});
/// All nodes, or all elements of every class with a shape, at a position.
CORE_GEOMETRY_API odiC_Layout odiC_FullLayout(const bme_Mesh& mesh, res_OutputPositionEnm position);
/// What is wrong with the runs of a model: their meshes, layouts and fields.
CORE_GEOMETRY_API void odiC_CheckRuns(const cls_Database& model, std::vector<chk_Finding>& findings);
/// Whether a run was made on a mesh of these sizes and types.
CORE_GEOMETRY_API bool odiC_IsOf(const odiC_Results& run, const bme_Mesh& mesh);
