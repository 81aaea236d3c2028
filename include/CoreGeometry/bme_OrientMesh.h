// bme_OrientMesh.h: shells that look the same way, and elements reversed
#pragma once

#include <CoreGeometry/bme_Renumbering.h>
#include <array>
#include <optional>

/// Which way shells look. A patch is what can be reached across edges that exactly two shells have.
struct bme_OrientOptions {
  /// Only these elements; all surface elements in space when nothing is given.
  std::optional<std::span<const unsigned>> elements{};
  /// Elements whose patch looks as they do. Other patches follow `direction` or `awayFrom`; without these as few
  /// elements are turned as possible, and of two halves the one with the first element stays.
  std::span<const unsigned> seeds{};
  /// The sum of a patch's normals, each times its area, looks along this vector.
  std::optional<std::array<double, 3>> direction{};
  /// The flux through a patch of the vectors from this point is positive: of a closed patch the normals look outwards,
  /// wherever the point is.
  std::optional<std::array<double, 3>> awayFrom{};
};

/// A result with elements of the mesh, ascending.
struct bme_Oriented : bme_Edited {
  unsigned numPatches = 0;
  std::vector<unsigned> turned{};
  std::vector<unsigned> branching{}; ///< with an edge that three or more shells have; no patch goes across it
  std::vector<unsigned> oneSided{};  ///< of patches like a Moebius strip, which stay as they are
};

/// Turns shells so that all of a patch look to one side of it. Labels and nodes stay; surfaces stay on the side where they
/// are, so the front of a turned shell in a surface becomes its back.
///
/// Range      `direction` and `awayFrom` are in the coordinates of the mesh, without its placement. A patch whose sum or
///            flux is 0 stays, with a remark.
/// Errors     nex_OutOfRangeException for an element outside the mesh; nex_TextException for a seed that is not one of
///            the shells, for seeds that contradict each other, for a direction of no length, for both a direction and a
///            point, and for a class whose type has no reversal; wip_Cancelled.
/// Cost       that of bme_FEMConnect across faces, and one pass over the shells.
CORE_GEOMETRY_API bme_Oriented bme_OrientMesh(const bme_MeshAndSets& source,
                                              const bme_OrientOptions& options = {});

/// Turns these elements over: shells as above, solids that are inside out. nex_OutOfRangeException and nex_TextException
/// as above.
CORE_GEOMETRY_API bme_Edited bme_ReverseElements(const bme_MeshAndSets& source,
                                                 std::span<const unsigned> elements);
