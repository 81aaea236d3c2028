// odiC_Results.h: the header of a run
#pragma once

#include <CoreGeometry/odiC_Step.h>
#include <CoreGeometry/odiC_Variable.h>

/// What an analysis of a mesh wrote: steps, variables and categories. It holds no values.
///
/// Units      seconds since the epoch for the time stamp.
/// Stored as  name, description, meshRoot, meshId, numNodes, classSizes, classTypes, program, units, timeStamp, steps,
///            variables, categories, numLayouts, numPointSets
class CORE_GEOMETRY_API odiC_Results : public odiC_Stored<odiC_Results> {
public:
  static constexpr const char* kName = "odiC_Results";
  static constexpr unsigned short kOrdinal = 2;

  odiC_Results() = default;
  explicit odiC_Results(const cls_ReadVisitor& visitor);

  int FindVariable(const cow_String& variable) const noexcept; ///< -1 when there is none of that name
  int FindStep(const cow_String& step) const noexcept;         ///< position from 0

  cow_String name, description, meshRoot;
  int meshId = 0;
  int numNodes = 0;
  std::vector<int> classSizes; ///< elements of each class
  std::vector<cow_String> classTypes;
  cow_String program, units;
  double timeStamp = 0;
  std::vector<odiC_Step> steps;
  std::vector<odiC_Variable> variables;
  std::vector<odiC_Category> categories;
  int numLayouts = 0, numPointSets = 0;

private:
  friend odiC_Stored<odiC_Results>;
  static constexpr auto StoredFields();
};
extern template class odiC_Stored<odiC_Results>;

/// Roots below that of a run, "results/<mesh>/<run>": numbers, since names would need escaping. Steps count from 1.
CORE_GEOMETRY_API cow_String odiC_LayoutRoot(const cow_String& run, int layout);
CORE_GEOMETRY_API cow_String odiC_PointSetRoot(const cow_String& run, int pointSet);
CORE_GEOMETRY_API cow_String odiC_FieldRoot(const cow_String& run, int step, int frame, int variable);
CORE_GEOMETRY_API cow_String odiC_HistoryRoot(const cow_String& run, int step, int history);
inline constexpr const char* odiC_kRunFolder = "results/";
