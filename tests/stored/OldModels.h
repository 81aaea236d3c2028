// OldModels.h: models that hold objects in superseded layouts
#pragma once

#include <BasicUtils/cls_WritePass.h>
#include <ostream>

/// A model around one superseded layout.
struct OldModel {
  const char* name; ///< class and version
  void (*write)(cls_WritePass& pass, int steps);
  friend void PrintTo(const OldModel& model, std::ostream* out) { *out << model.name; }
};

/// One for every superseded layout that the library registers. `steps` says how many conversions its rows
/// have gone through, one at a time, before they are stored: 0 for the layout itself, large for the last
/// superseded one.
std::span<const OldModel> OldModels();
