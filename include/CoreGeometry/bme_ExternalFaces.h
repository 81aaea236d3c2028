// bme_ExternalFaces.h: which faces of elements lie outside, inside, or between
#pragma once

#include <CoreGeometry/bme_FEMElemList.h>
#include <CoreGeometry/bme_FEMFaceList.h>
#include <array>
#include <optional>

/// Kinds of elements that are excluded from work on faces and edges, as bits.
enum bme_Exclude : unsigned {
  bme_EXCLUDE_NOTHING = 0,
  bme_EXCLUDE_RIGID = 1,
  bme_EXCLUDE_INTERACTION = 2,
  bme_EXCLUDE_INTERNAL = 4,
  bme_EXCLUDE_SURFACE = 8,
  bme_EXCLUDE_ANALYTIC = 16,
  bme_EXCLUDE_UNSUPPORTED = 32 ///< types without a shape, which are an error otherwise
};

/// What the words of faces and edges can address.
struct bme_EntityLimits {
  unsigned elements = bme_kMaxWordElements;
  unsigned faces = bme_kMaxWordFaces;
};

struct bme_FaceOptions {
  unsigned exclude = bme_EXCLUDE_NOTHING;
  bool matchAllNodes = false;     ///< faces meet when all their nodes are the same, not only the corners
  bool bothSides = false;         ///< list the back of surface elements, too
  bool shellsCoverSolids = false; ///< a surface element on a face of a solid hides it
  bool wantInterior = false;
  bme_EntityLimits limits = {};
};

/// The faces of a list of elements. Faces of solids with the same corners meet, whatever their order; a
/// quadrilateral with a corner that comes twice meets a triangle.
struct bme_FaceSets {
  bme_FEMFaceList external;  ///< of solids that no other element has, and of all surface elements
  bme_FEMFaceList interior;  ///< of exactly two solids, both words; only when wanted
  bme_FEMFaceList shared;    ///< of more than two solids, all words
  bme_FEMFaceList collapsed; ///< with fewer than three different corners: in none of the other lists
};

/// Sorts out the faces of elements. Progress and errors go to the thread's channel; after an error, a type
/// without a shape or a node that is not in the mesh, nothing is returned. The order of elements does not
/// change what is found.
///
/// Errors     wip_Cancelled when the host asks to stop.
/// Cost       linear in the faces, no allocation per face; besides the result about 4 bytes a node and 20
///            bytes for each face that still waits for its neighbour.
CORE_GEOMETRY_API std::optional<bme_FaceSets> bme_ComputeFaces(const bme_FEMElemList& elements,
                                                               const bme_FaceOptions& options = {});

/// Faces of solids of the first list that solids only in the second one have, too: the words of the first.
CORE_GEOMETRY_API std::optional<bme_FEMFaceList> bme_ComputeInterface(const bme_FEMElemList& first,
                                                                      const bme_FEMElemList& second,
                                                                      const bme_FaceOptions& options = {});

/// Pairs of elements with the same set of nodes and the same dimension: each later one with the first. The
/// order of nodes, and how often an element has one, do not matter.
CORE_GEOMETRY_API std::vector<std::array<unsigned, 2>> bme_FindDuplicates(const bme_FEMElemList& elements);
