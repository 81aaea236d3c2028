// bme_ExternalEdges.h: which edges of faces are features, borders or seams
#pragma once

#include <CoreGeometry/bme_ExternalFaces.h>
#include <CoreGeometry/bme_FEMEdgeList.h>

struct bme_EdgeOptions {
  double featureAngle = 0.5235987755982988; ///< radians between normals from which on an edge is a feature
  bme_EntityLimits limits = {};
};

/// The edges of some faces, each once, by the word that comes first in mesh order. Edges are the same when
/// their ends are; one whose ends are one node is none. A face listed from both sides counts once.
struct bme_EdgeSets {
  bme_FEMEdgeList unique;       ///< all
  bme_FEMEdgeList feature;      ///< of two faces at a feature angle
  bme_FEMEdgeList free;         ///< of one face
  bme_FEMEdgeList nonManifold;  ///< of more than two faces
  bme_FEMEdgeList inconsistent; ///< of two faces that pass it in the same direction: one is seen from behind
};

/// Sorts out the edges of faces. Progress and errors go to the thread's channel; after an error nothing is
/// returned: a face or node that is not in the mesh, or one beyond the limits.
///
/// Errors     wip_Cancelled when the host asks to stop; nex_TextException for a feature angle that is not one
///            of 0 to pi.
/// Cost       linear in the edges.
CORE_GEOMETRY_API std::optional<bme_EdgeSets> bme_ComputeEdges(const bme_FEMFaceList& faces,
                                                               const bme_EdgeOptions& options = {});

/// Edges one after the other: each begins where the one before ends.
struct bme_EdgeChain {
  std::vector<unsigned> words;
  std::vector<int> nodes; ///< their ends, one more than words; the first again at the end of a closed chain
  bool isClosed = false;
};

/// Chains that use every physical edge once. Chains end where other than two edges meet, so borders and
/// simple features become loops. In the order of their first words.
CORE_GEOMETRY_API std::vector<bme_EdgeChain> bme_ChainEdges(const bme_FEMEdgeList& edges);
