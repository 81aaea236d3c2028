// odiC_Derive.h: a new variable of a run, computed by a formula
#pragma once

#include <CoreGeometry/odiC_Expression.h>
#include <span>

class odiC_RunWriter;

struct odiC_DerivedVariable {
  cow_String name, unit;
  bool isDouble = false; ///< stored in double precision
};

struct odiC_Derived {
  std::size_t numFrames = 0;
  long long numValues = 0, notNumbers = 0;
};

/// Stores what the expression makes in every one of its frames. Each frame is committed on its own.
///
/// Errors     before anything is stored: nex_TextException when one of the frames has the variable already, odiC_Exception
///            for places between frames, and when no frame and place has all variables; else as odiC_RunWriter.
CORE_GEOMETRY_API odiC_Derived odiC_Derive(cls_Database& model, const odiC_Run& run,
                                           const odiC_Expression& expression,
                                           const odiC_DerivedVariable& wanted);

/// Stores numbers in single precision unless double precision is asked for or one of them needs its range.
CORE_GEOMETRY_API void odiC_PutValues(odiC_RunWriter& writer, int variable, int layout,
                                      std::span<const double> values, bool isDouble = false);
