// bme_ExternalFaces.h: external, interior and shared faces of elements
#pragma once

#include <CoreGeometry/bme_FEMElemList.h>
#include <CoreGeometry/bme_FEMFaceList.h>
#include <array>
#include <optional>

class shp_Shape;

/// Kinds of elements to exclude when faces and edges are computed, as bits.
enum bme_Exclude : unsigned {
  bme_EXCLUDE_NOTHING = 0,
  bme_EXCLUDE_RIGID = 1,
  bme_EXCLUDE_INTERACTION = 2,
  bme_EXCLUDE_INTERNAL = 4,
  bme_EXCLUDE_SURFACE = 8,
  bme_EXCLUDE_ANALYTIC = 16,
  bme_EXCLUDE_UNSUPPORTED = 32 ///< types without a shape, which are an error otherwise
};

/// True for the shape of a kind that the bits exclude.
CORE_GEOMETRY_API bool bme_IsLeftOut(const shp_Shape& shape, unsigned exclude) noexcept;

/// The numbers of elements and faces that the words of faces and edges can address.
struct bme_EntityLimits {
  unsigned elements = bme_kMaxWordElements;
  unsigned faces = bme_kMaxWordFaces;
};

struct bme_FaceOptions {
  unsigned exclude = bme_EXCLUDE_NOTHING;
  bool matchAllNodes = false;     ///< faces match when all their nodes are the same, not only corners
  bool bothSides = false;         ///< also list the back of surface elements
  bool shellsCoverSolids = false; ///< a surface element on a face of a solid hides it
  bool wantInterior = false;
  bme_EntityLimits limits = {};
};

/// The faces of a list of elements. Faces of solids match when they have the same corners in any order; a
/// quadrilateral with a repeated corner matches a triangle.
struct bme_FaceSets {
  bme_FEMFaceList external;  ///< of solids, when no other solid has them, and of all surface elements
  bme_FEMFaceList interior;  ///< of exactly two solids, both words; only with wantInterior
  bme_FEMFaceList shared;    ///< of more than two solids, all words
  bme_FEMFaceList collapsed; ///< with fewer than three different corners: in none of the other lists
};

/// Classifies the faces of elements. Progress and errors go to the thread's channel. After an error the
/// result is empty: a type without a shape or a node that is not in the mesh. The result does not depend on
/// the order of the elements.
///
/// Errors     wip_Cancelled when the host asks to stop.
/// Cost       linear in the faces, no allocation per face; beside the result about 12 bytes per node and 20
///            bytes for each face whose neighbour has not been found yet: those of the moving front of a mesh that
///            is numbered along some direction, all faces of one that is numbered at random.
/// Threads    uses a lent wip_Executor; the result is the same with any number of threads.
CORE_GEOMETRY_API std::optional<bme_FaceSets> bme_ComputeFaces(const bme_FEMElemList& elements,
                                                               const bme_FaceOptions& options = {});

/// Faces of solids of the first list that solids only in the second list have, too: their words in the first.
/// Uses a lent wip_Executor; the result is the same with any number of threads.
CORE_GEOMETRY_API std::optional<bme_FEMFaceList> bme_ComputeInterface(const bme_FEMElemList& first,
                                                                      const bme_FEMElemList& second,
                                                                      const bme_FaceOptions& options = {});

/// Pairs of elements with the same set of nodes and the same dimension: each later element with the first
/// one. The order of the nodes and nodes that an element has more than once do not matter. Uses a lent wip_Executor.
CORE_GEOMETRY_API std::vector<std::array<unsigned, 2>> bme_FindDuplicates(const bme_FEMElemList& elements);
