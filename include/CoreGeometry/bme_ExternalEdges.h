// bme_ExternalEdges.h: feature edges, free edges and other kinds of edges of faces
#pragma once

#include <CoreGeometry/bme_ExternalFaces.h>
#include <CoreGeometry/bme_FEMEdgeList.h>

struct bme_EdgeOptions {
  double featureAngle = 0.5235987755982988; ///< smallest angle between normals at a feature, radians
  bme_EntityLimits limits = {};
};

/// The edges of a list of faces, each once, as its first word in mesh order. Edges with the same two end
/// nodes are one edge; an edge with only one end node is ignored. A face that is listed from both sides
/// counts once.
struct bme_EdgeSets {
  bme_FEMEdgeList unique;       ///< every edge
  bme_FEMEdgeList feature;      ///< of two faces at a feature angle
  bme_FEMEdgeList free;         ///< of one face
  bme_FEMEdgeList nonManifold;  ///< of more than two faces
  bme_FEMEdgeList inconsistent; ///< of two faces that run along it in the same direction, one reversed
};

/// Classifies the edges of faces. Progress and errors go to the thread's channel. After an error the result
/// is empty: a face or node that is not in the mesh, or an index beyond the limits.
///
/// Errors     wip_Cancelled when the host asks to stop; nex_TextException for a feature angle outside 0 to
///            pi.
/// Cost       linear in the edges.
CORE_GEOMETRY_API std::optional<bme_EdgeSets> bme_ComputeEdges(const bme_FEMFaceList& faces,
                                                               const bme_EdgeOptions& options = {});

/// A chain of edges: each begins where the previous one ends.
struct bme_EdgeChain {
  std::vector<unsigned> words;
  std::vector<int> nodes; ///< their end nodes, one more than words; a closed chain ends with the first one
  bool isClosed = false;
};

/// Chains that use every geometric edge once. A chain ends at a node where the number of edges is not two, so
/// that borders and simple features become loops. The chains are ordered by their first words.
CORE_GEOMETRY_API std::vector<bme_EdgeChain> bme_ChainEdges(const bme_FEMEdgeList& edges);
