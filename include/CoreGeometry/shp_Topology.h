// shp_Topology.h: the descriptor of an element shape
#pragma once

#include <CoreGeometry/CoreGeometryExport.h>
#include <CoreGeometry/shp_Options.h>
#include <CoreUtils/aio_ostream.h>
#include <array>
#include <span>
#include <vector>

struct shp_Connectivity;
struct shp_NodePattern;

/// Iso coordinates (xi, eta, zeta) of a point of an element; 0 in the directions the element does not have.
using shp_IsoPoint = std::array<double, 3>;

/// Dimensions, counts, flags, faces and edges of an element shape, all derived from its attribute key.
///
/// Numbering  nodes, faces and the edges of a face count from zero. Every edge belongs to a face: one shared
/// by
///            two faces is found in both. Edge k of a face runs from its corner k to the next one.
/// Rings      an axisymmetric element with rings has the same faces and edges in each plane; node numbers of
///            ring k are those of ring 0 plus k * NumBaseNodes(). Tables hold ring after ring.
/// Empty      a key without a family has no faces and no dimensions; one whose node count its family does not
///            know has no node coordinates and no tables, per-face and per-edge maxima 0 and interpolation
///            order 0.
/// Errors     a face, edge or ring that does not exist has no nodes. Node lists must be as long as the
/// element,
///            face or edge has nodes.
/// Cost       every question O(1).
/// Threads    immutable.
class CORE_GEOMETRY_API shp_Topology {
public:
  explicit shp_Topology(const LongKey& key);
  shp_Topology(const shp_Topology&) = delete;
  shp_Topology& operator=(const shp_Topology&) = delete;

  // ask: dimensions and counts
  int NumGeomDims() const noexcept { return counts_.geomDims; } ///< of the element itself
  int NumSpatialDims() const noexcept;                          ///< of the space it lies in: 2 or 3
  int NumNodes() const noexcept { return numNodes_; }           ///< of all rings
  int NumIntPts() const noexcept { return numIntPts_; }         ///< of all rings
  int NumFaces() const noexcept { return counts_.faces; }
  int MaxEdgesPerFace() const noexcept { return counts_.edgesPerFace; }
  int MaxNodesPerFace() const noexcept { return counts_.nodesPerFace; }
  int MaxNodesPerEdge() const noexcept { return counts_.nodesPerEdge; }
  int MaxIntPtsPerFace() const noexcept { return counts_.intPtsPerFace; }
  int InterpOrder() const noexcept { return counts_.interpOrder; } ///< 0 to 3
  int ShapeCode() const noexcept { return counts_.shapeCode; }     ///< 0 to 13, one per set of tables

  // ask: one plane of an axisymmetric element with rings; the whole element for any other
  int NumBaseNodes() const noexcept { return options_.NumNodes(); }
  int NumBaseIntPts() const noexcept;
  /// Iso coordinates of the base nodes in node order, corners first. Lines, quadrilaterals, hexahedra and the
  /// zeta of wedges run from -1 to 1; triangles, tetrahedra and (xi, eta) of wedges have area or volume
  /// coordinates with node 0 at the origin. Empty for points and analytic rigid surfaces. Static data.
  std::span<const shp_IsoPoint> NodeCoordinates() const noexcept;

  // ask: faces and edges
  int NumRings() const noexcept; ///< 1 for elements without rings
  std::span<const int> EdgesPerFace() const noexcept;
  std::span<const int> NodesPerFace() const noexcept;
  std::span<const int> CornersPerFace() const noexcept;
  std::span<const int> NodesPerEdge() const noexcept; ///< MaxEdgesPerFace() values a face
  /// Corners in cyclic order, then the middles of the edges in their order, then the centre.
  std::span<const int> FaceNodes(int face, int ring = 0) const noexcept;
  /// First corner, interior nodes, last corner.
  std::span<const int> EdgeNodes(int face, int edge, int ring = 0) const noexcept;
  /// Rows of FaceNodes, MaxNodesPerFace() long, filled up with -1.
  std::span<const int> FaceNodeTable() const noexcept { return faceNodes_; }
  /// Rows of EdgeNodes, MaxNodesPerEdge() long, MaxEdgesPerFace() of them a face, filled up with -1.
  std::span<const int> EdgeNodeTable() const noexcept { return edgeNodes_; }
  /// The node that takes each node's place when the element is reversed.
  std::span<const int> ReversalPermutation() const noexcept { return reversal_; }

  // ask: faces and edges of a real element, given its node identifiers in any numbering
  void FaceConnectivity(std::span<const int> elementNodes, int face, std::span<int> faceNodes,
                        int ring = 0) const;
  void EdgeConnectivity(std::span<const int> elementNodes, int face, int edge, std::span<int> edgeNodes,
                        int ring = 0) const;
  void ReverseElemConnectivity(std::span<int> elementNodes) const;
  /// Seen from the other side; the first corner stays. Faces of fewer than three corners have one side.
  void ReverseFaceConnectivity(std::span<int> faceNodes, int face) const;
  void ReverseEdgeConnectivity(std::span<int> edgeNodes, int face, int edge) const; ///< swaps the ends

  /// Unit normal of the first three consecutive corners that are different nodes and not colinear, by
  /// gsl_Util's relative tolerance. Element nodes are indices into the coordinates, three values a node.
  /// 1; or 0 and a zero normal when there are no such corners.
  int ComputeFaceNormal(std::span<const int> elementNodes, int face, std::span<const float> coordinates,
                        std::span<double, 3> normal) const;

  // ask: flags
  bool IsAxiSymmetric() const noexcept;
  bool IsInteraction() const noexcept;
  bool IsInternal() const noexcept;
  bool IsSurface() const noexcept;
  bool IsRigid() const noexcept;
  bool HasResults() const noexcept;
  bool IsSweepable() const noexcept { return isSweepable_; } ///< swept about an axis; never with IsExtrudable
  bool IsExtrudable() const noexcept { return isExtrudable_; } ///< a plane section
  bool IsAnalyticalRigidSurface() const noexcept;
  bool IsTwistedElement() const noexcept;
  bool IsCaxaElement() const noexcept;    ///< axisymmetric with rings of nodes
  bool IsGasket() const noexcept;         ///< GK3D8 and the like
  bool IsCohesive() const noexcept;       ///< COH3D8 and the like
  bool IsContinuumShell() const noexcept; ///< SC8R and the like
  bool IsNumberedSolid() const noexcept;  ///< C3D8C1 and the like
  bool HasNodalIntegration() const noexcept;
  bool HasFlag73() const noexcept; ///< printed without a heading; no label sets it

  const shp_Options& Options() const noexcept { return options_; }

  // print
  void PrintConnectivity(aio_ostream& stream) const; ///< the face and edge tables

protected:
  ~shp_Topology() = default;

private:
  /// What the family and its node pattern decide; the defaults are those of a key without a family.
  struct Counts {
    int geomDims = 0;
    int faces = 0;
    int edgesPerFace = 0;
    int nodesPerFace = 1;
    int nodesPerEdge = 1;
    int intPtsPerFace = 1;
    int interpOrder = 0;
    int shapeCode = 0;
  };
  void AttachTables();
  static Counts DeriveCounts(const shp_Options& options, const shp_NodePattern* pattern);

  shp_Options options_;
  const shp_NodePattern* pattern_;       ///< null for points and analytic rigid surfaces
  const shp_Connectivity* connectivity_; ///< null without tables
  Counts counts_;
  int numNodes_ = 0;
  int numIntPts_ = 0;
  bool isSweepable_ = false;
  bool isExtrudable_ = false;
  std::span<const int> faceNodes_, edgeNodes_, reversal_; ///< static, or in ringTables_
  std::vector<int> ringTables_;                           ///< of elements with rings
};
