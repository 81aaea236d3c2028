// odiC_OverFrames.h: one result of several frames
#pragma once

#include <CoreGeometry/odiC_Values.h>
#include <span>

enum class odiC_OverFrames {
  Max,
  Min,
  AbsMax, ///< farthest from zero, with its sign
  Range,  ///< largest minus least
  Mean,   ///< by the trapezoid rule over "values" where they are times, else with equal weights
  Rms
};

/// A number for each place that some frame has.
struct odiC_FramesResult {
  odiC_SourcePointer values;
  std::vector<odiC_When> frames; ///< that were looked at
  std::vector<int>
      frameOf; ///< of each row of the layout, position in `frames`, the first of equal ones; -1 for
               ///< none, and for ranges and means
};

/// One number a place in each frame. What is not a number is left out; a place with none stays so. Several section points
/// stay apart.
///
/// Cost       the result and one block of rows in memory; each frame is read once.
/// Errors     odiC_Exception for values of several components.
CORE_GEOMETRY_API odiC_FramesResult odiC_Over(const odiC_Values& values, odiC_OverFrames kind);

/// A frame with its factor.
struct odiC_LoadCase {
  double factor = 1;
  odiC_Values values;
  odiC_When when;
};
/// Sum of factors times frames, over the places that all of them have.
CORE_GEOMETRY_API odiC_SourcePointer odiC_Combination(std::span<const odiC_LoadCase> cases);
