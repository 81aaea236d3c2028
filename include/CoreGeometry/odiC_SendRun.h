// odiC_SendRun.h: results that follow their mesh when it is edited
#pragma once

#include <CoreGeometry/bme_Renumbering.h>
#include <CoreGeometry/odiC_Run.h>
#include <array>
#include <map>

class cls_WritePass;

/// What the old mesh of a run became in the new one: all of it, or one of several copies or parts.
struct odiC_Image {
  const bme_Renumbering* renumbering = nullptr;
  /// Rotation or mirror of the axes, row by row; values in global axes turn with it.
  std::array<double, 9> turn{1, 0, 0, 0, 1, 0, 0, 0, 1};
  std::map<cow_String, cow_String> regions{}; ///< new names of sets; others keep theirs
  /// New roots of coordinate systems that turn with the mesh, by the names that variables have for them.
  std::map<cow_String, cow_String> axes{};
};

/// Writes the run as one of the new mesh, at "results/<mesh>/<run>" in a pass of the caller's. Layouts are cut and put
/// in order by the renumberings, and fields are sent one after the other. Arrays that stay as they are are shared within
/// a file.
///
/// Of nodes that became one, the values of the one that stays count, or of another one if that has none. Integration
/// points and element nodes of elements that were turned change places; on sections of elements they become values at
/// the nodes of these. Local axes turn with the mesh; a mirror leaves
/// their third axis pointing the other way, so that they stay right-handed. A mirror treats every vector as an arrow.
///
/// Returns remarks, each once: what could not be carried.
/// Errors     nex_AssertionException when no image is given, or a turn is none; odiC_Exception when the run is of
///            another mesh; wip_Cancelled.
/// Cost       memory for two fields, and a number for each row of a layout.
CORE_GEOMETRY_API std::vector<cow_String>
odiC_SendRun(const odiC_Run& run, std::span<const odiC_Image> images, const bme_Mesh& oldMesh,
             const bme_Mesh& newMesh, const cls_Database& model, cls_WritePass& pass, const cow_String& root);
