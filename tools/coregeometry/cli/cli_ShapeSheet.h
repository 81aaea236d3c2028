// cli_ShapeSheet.h: everything about one element shape, as data and for people
#pragma once

#include "cli_Command.h"
#include "cli_Json.h"

#include <CoreGeometry/shp_Shape.h>
#include <ostream>

/// Counts, nodes with their places in the orders of Exodus II and VTK, faces, edges, integration points.
cli_Json cli_ShapeSheet(const shp_Shape& shape);

/// The sheet as text, with a drawing of the corners.
void cli_PrintShapeSheet(std::ostream& out, const cli_Json& sheet);
