// odiC_Derive.h: a new variable of a run, computed by a formula
#pragma once

#include <CoreGeometry/odiC_Expression.h>

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
/// Errors     nex_TextException, before anything is stored, when one of the frames has the variable already; else as
///            odiC_RunWriter.
CORE_GEOMETRY_API odiC_Derived odiC_Derive(cls_Database& model, const odiC_Run& run,
                                           const odiC_Expression& expression,
                                           const odiC_DerivedVariable& wanted);
