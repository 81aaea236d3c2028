// odiC_Reduce.h: extremes, sums and resultants of values
#pragma once

#include <CoreGeometry/odiC_Values.h>
#include <array>
#include <optional>

/// A value with its place and frame.
struct odiC_Extreme {
  double value = 0;
  odiC_PlaceLabel place;
  odiC_When when;
};

/// What one pass over the values of a frame answers.
struct odiC_Reduced {
  odiC_When when;
  std::optional<odiC_Extreme> max = {}, min = {}, absMax = {}; ///< nothing without numbers
  double sum = 0, mean = 0; ///< a sum of nothing is 0, its mean is not a number
  long long count = 0;      ///< of numbers
  long long notNumbers = 0; ///< left out of all that is above
};

/// One number a place, frame by frame. Of equal values the first place in mesh order, point, section point. Sums are
/// exact and rounded once. Several section points are taken as their envelope unless one was selected.
///
/// Errors     odiC_Exception for values of several components.
enum class odiC_Wanted { All, Extremes }; ///< exact sums take longer than all the rest
CORE_GEOMETRY_API std::vector<odiC_Reduced> odiC_Reduce(const odiC_Values& values,
                                                        odiC_Wanted wanted = odiC_Wanted::All);
/// The same of one frame that is open, of one number a place.
CORE_GEOMETRY_API odiC_Reduced odiC_ReduceFrame(const odiC_Run& run, odiC_Source& source,
                                                const odiC_When& when, odiC_Wanted wanted = odiC_Wanted::All);

/// Over all frames; of equal values the first frame. Nothing when there is no number.
CORE_GEOMETRY_API std::optional<odiC_Extreme> odiC_Max(const odiC_Values& values);
CORE_GEOMETRY_API std::optional<odiC_Extreme> odiC_Min(const odiC_Values& values);
CORE_GEOMETRY_API std::optional<odiC_Extreme> odiC_AbsMax(const odiC_Values& values); ///< with its sign

/// Sum of nodal vectors, and of their moments about a point.
struct odiC_ResultantOf {
  odiC_When when;
  std::array<double, 3> force{}, moment{};
  long long notNumbers = 0;
};
/// Errors     odiC_Exception unless the values are vectors of three components at nodes.
CORE_GEOMETRY_API std::vector<odiC_ResultantOf> odiC_Resultant(const odiC_Values& values,
                                                               const std::array<double, 3>& about);

/// Numbers in equal intervals from the least to the largest value.
struct odiC_Histogram {
  double low = 0, high = 0;
  std::vector<long long> counts;
};
CORE_GEOMETRY_API odiC_Histogram odiC_HistogramOf(const odiC_Values& values, int intervals);
