// cli_Scene.h: a mesh of a model as pictures and pages show it
#pragma once

#include "cli_Model.h"

#include <CoreGeometry/bme_Outside.h>
#include <array>
#include <optional>

struct cli_Scene {
  cow_String root;
  bme_Placement placement;
  bme_Mesh mesh; ///< in the axes of placed space, around the local origin: single precision is fine there
};
cli_Scene cli_ReadScene(const cls_Database& model, const cow_String& name);

/// The direction to the viewer that --view gives, or the usual one. Throws cli_UsageError for none.
std::array<double, 3> cli_DirectionOf(const std::optional<std::array<double, 3>>& given,
                                      const std::array<double, 3>& usual);

/// Says what is not seen, if there is anything.
void cli_ReportLeftOut(const bme_Outside& outside);
