// odiC_RunWriter.h: writing a run, by an import or by a solver while it runs
#pragma once

#include <BasicUtils/cls_Database.h>
#include <BasicUtils/uti_Fingerprint.h>
#include <CoreGeometry/bme_Mesh.h>
#include <CoreGeometry/odiC_Field.h>
#include <CoreGeometry/odiC_Layout.h>
#include <CoreGeometry/odiC_MeshSizes.h>
#include <CoreGeometry/odiC_Results.h>
#include <functional>
#include <map>
#include <set>

class cls_WritePass;

/// Writes steps, frames and fields of a run. Nothing is in the model before Commit(), which takes over what came since
/// the last one, and the header, in one pass: who is killed leaves a run that ends with a whole frame.
///
/// Arrays are shared, not copied, until they are committed. An array with the same numbers as the last one of its
/// variable is stored once.
///
/// Errors     odiC_Exception beginning with model and run: a field whose array does not fit its layout, a variable twice
///            in a frame, a variable or layout that is not there, values that fall, a name that exists with another type,
///            a run of another mesh. What was refused has changed nothing.
/// Threads    one thread at a time; the model must outlive it.
class CORE_GEOMETRY_API odiC_RunWriter {
public:
  /// A new run, or one to go on with. The mesh is that of the root "meshes/<mesh>" for a run "results/<mesh>/<run>".
  odiC_RunWriter(cls_Database& model, const cow_String& root, const odiC_MeshSizes& mesh);
  /// A new run, in place of one of that name, in a pass of the caller's, who commits it. What comes is put at once;
  /// Commit() puts the header, and removes what is left of the run that was there.
  odiC_RunWriter(const cls_Database& model, cls_WritePass& pass, const cow_String& root,
                 const odiC_MeshSizes& mesh);

  const odiC_Results& Header() const noexcept { return header_; }
  odiC_Results& HeaderToDescribe() noexcept {
    return header_;
  } ///< name, description, program, units, timeStamp

  /// Takes over description, program, units, time stamp and categories of another run.
  void Describe(const odiC_Results& like);

  /// Each answers the position of what was added, or of the same one that exists.
  int AddVariable(const odiC_Variable& variable);
  int AddCategory(const odiC_Category& category);
  int AddPointSet(const odiC_PointSet& points);
  int AddLayout(const odiC_Layout& layout);

  void BeginStep(const cow_String& name, odiC_StepKindEnm kind = odiC_UNDEFINED_STEP,
                 odiC_DomainEnm domain = odiC_TIME, double startTime = 0);
  void BeginStep(const odiC_Step& like); ///< without its frames
  void BeginFrame(const odiC_Frame& frame);
  /// Fields go to a frame that is there: of a step from 0. BeginFrame goes on after the last one.
  void GoTo(int step, int frame);
  /// Rows of components in the order of the layout; of a complex variable twice as many.
  void PutField(int variable, int layout, cow_ArrayCOW<float> values);
  void PutField(int variable, int layout, cow_ArrayCOW<double> values);
  void PutField(int variable, int layout, cow_ArrayCOW<int> values); ///< whole numbers and truth values
  void AddHistory(odiC_History history);                             ///< to the last step
  /// In place of another one, or as the next one. Steps count from 0 here.
  void PutHistory(int step, int history, odiC_History made);

  void Commit();

private:
  using Pending = std::function<void(cls_WritePass&)>;
  struct LastArray {
    uti_FingerprintBits bits{};
    std::size_t count = 0;
    res_StorageTypeEnm storage = res_STORAGE_FLOAT;
    cow_ArrayStamp stamp;
    std::shared_ptr<odiC_Field> field; ///< whose array has the stamp after it is written
  };
  odiC_RunWriter(const cls_Database& model, cls_WritePass* pass, const cow_String& root,
                 const odiC_MeshSizes& mesh);
  template<class T> void PutAny(int variable, int layout, cow_ArrayCOW<T> values, res_StorageTypeEnm storage);
  [[noreturn]] void Fail(const cow_String& what) const;
  void Expect(bool isThere, const cow_String& what) const {
    if (!isThere) Fail(what);
  }
  odiC_Step& LastStep();
  template<class T> void Add(const cow_String& root, T object);
  void Put(const cow_String& root, Pending pending);
  void KeepStamps();

  const cls_Database& model_;
  cls_Database* own_ = nullptr;   ///< to which passes of this writer write
  cls_WritePass* pass_ = nullptr; ///< of the caller
  cow_String root_;
  odiC_MeshSizes mesh_;
  odiC_Results header_;
  int step_ = -1, frame_ = -1; ///< where fields go
  std::vector<int> rowsOfLayouts_, pointSetCounts_;
  std::vector<uti_FingerprintBits> layouts_, pointSets_; ///< what tells them apart
  std::map<int, LastArray> last_;                        ///< of each variable
  std::vector<Pending> pending_;
  std::set<cow_String> replaced_; ///< roots of the run that was there, not put again
};

/// Removes a run with all that belongs to it.
CORE_GEOMETRY_API void odiC_RemoveRun(const cls_Database& model, cls_WritePass& pass, const cow_String& root);
