// shp_Topology.h: the descriptor of an element shape
#pragma once

#include <CoreGeometry/CoreGeometryExport.h>
#include <CoreGeometry/res_OutputPosition.h>
#include <CoreGeometry/shp_Options.h>
#include <CoreUtils/aio_ostream.h>
#include <array>
#include <span>
#include <vector>

class gsl_Matrix;
class gsl_Point;
class shp_Basis;
struct shp_MapTable;
struct shp_Connectivity;
struct shp_NodePattern;
struct shp_WeightTables;

/// Iso coordinates (xi, eta, zeta) of a point of an element; 0 in the directions the element does not have.
using shp_IsoPoint = std::array<double, 3>;

/// Dimensions, counts, flags, faces and edges of an element shape, all derived from its attribute key.
///
/// Numbering  nodes, faces and the edges of a face count from zero. Every edge belongs to a face: one shared
///            by two faces is found in both. Edge k of a face runs from its corner k to the next one.
/// Rings      an axisymmetric element with rings has the same faces and edges in each plane; node numbers of
///            ring k are those of ring 0 plus k * NumBaseNodes(). Tables hold ring after ring.
/// Empty      a key without a family has no faces and no dimensions; a key with a node count unknown to its
///            family has no node coordinates and no tables, per-face and per-edge maxima 0 and interpolation
///            order 0.
/// Errors     a face, edge or ring that does not exist has no nodes. Node lists must be as long as the
///            element, face or edge has nodes.
/// Cost       every query O(1).
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
  /// Entry i is the node that takes the place of node i when the element is reversed.
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
  /// Returns 1; or 0 and a zero normal when there are no such corners.
  int ComputeFaceNormal(std::span<const int> elementNodes, int face, std::span<const float> coordinates,
                        std::span<double, 3> normal) const;

  // ask: the isoparametric map. Element nodes are the base nodes, in node order; iso coordinates are
  // (xi, eta, zeta). Shapes of a single node have no map: results are false, zero or no values.
  void GetNodeIsoCoords(int node, std::span<float, 3> iso) const;
  void IsoParCentroidLocation(std::span<float, 3> iso) const;
  std::span<const shp_IsoPoint> IntPtCoordinates() const noexcept; ///< of the base points
  std::span<const shp_IsoPoint> FaceCentreCoordinates() const noexcept;
  void ShapeFunctions(const shp_IsoPoint& iso, std::span<double> values) const;
  void ShapeDerivatives(const shp_IsoPoint& iso, std::span<shp_IsoPoint> derivatives) const;
  void CalculateNodesShapeWeight(std::span<const float, 3> iso, std::span<float> weights) const;
  void GetCenterNodeWeights(std::span<float> weights) const;
  const float* GetFcCenterNodeWeights(int face) const noexcept; ///< for the face's nodes; null without map
  gsl_Point InterpolatePointFromNodes(std::span<const gsl_Point> nodes, std::span<const float, 3> iso) const;
  /// The last argument is the result for a shape without a map.
  float InterpolateResultFromNodes(std::span<const float> values, std::span<const float, 3> iso,
                                   float otherwise = 0) const;
  /// At iso coordinates in double precision, as shp_ElementSearch finds them; the weights are in double
  /// precision, too.
  gsl_Point InterpolatePointFromNodes(std::span<const gsl_Point> nodes, const shp_IsoPoint& iso) const;
  float InterpolateResultFromNodes(std::span<const float> values, const shp_IsoPoint& iso,
                                   float otherwise = 0) const;
  /// Rows x, y, z; columns xi, eta, zeta.
  gsl_Matrix ShapeFunctionJacobian(std::span<const gsl_Point> nodes, std::span<const float, 3> iso) const;
  /// Nine values, row by row, for each base integration point; three coordinates per node.
  void IntPtJacobians(std::span<const double> coordinates, std::span<double> jacobians) const;

  // ask: real elements; element nodes are indices into the points or coordinates
  gsl_Point GetFaceCentroid(int face, std::span<const gsl_Point> points,
                            std::span<const int> elementNodes) const;
  void Centroid(std::span<const int> elementNodes, std::span<const float> coordinates,
                std::span<float, 3> centroid) const;
  /// All NumIntPts() points, three values each; in elements with rings, both blocks of a ring are on that
  /// ring.
  void IntPtCoord(std::span<const float> coordinates, std::span<const int> elementNodes,
                  std::span<float> points, int& count) const;
  /// Integral of each node's shape function over the element, by an exact rule: their sum is the volume.
  /// Linear tetrahedra, hexahedra and wedges; nothing happens for other shapes.
  void BodyOp(std::span<const gsl_Point> nodes, std::span<float> values) const;

  // ask: from a point to its iso coordinates
  /// Newton iteration in single precision from the origin of the iso coordinates. A target within 0.0005 of a
  /// node on each axis is found at that node. True when the result is in, or next to, the box of
  /// the nodes' iso coordinates, which is larger than a simplex; on lines and surfaces the point there need
  /// not be the target. FindPointInShape tests real containment.
  bool FindIsoPointLocation(const gsl_Point& target, std::span<const gsl_Point> nodes,
                            std::span<float, 3> iso) const;
  /// True when shp_ElementSearch::Locate gives Inside or OnBoundary.
  bool FindPointInShape(const gsl_Point& target, std::span<const gsl_Point> nodes,
                        std::span<float, 3> iso) const;
  /// Where the line through two points enters and leaves the element: parameters are 0 and 1 at the points;
  /// at most two are returned, the smallest and the largest of all hits. Also returns the first hit's point,
  /// and the node coordinates of its face, or of its edge for lines and for surfaces hit in their plane. True
  /// when there is a hit; with onlySegment hits beyond the two points do not count.
  bool LineShapeIntersection(const gsl_Point& from, const gsl_Point& to, std::span<const gsl_Point> nodes,
                             std::span<double, 2> parameters, std::span<gsl_Point> faceNodes, int& count,
                             bool onlySegment, gsl_Point& point) const;

  // ask: extrapolating results. Arrays hold the components of one location after the other. Locations for
  // which a shape has no values become 0. Positions other than integration point, element node, whole element
  // and centroid are reported as an error on the thread's channel, and give zeros.
  std::span<const float> IntPtToNodeWeights() const noexcept; ///< a row of base points for each base node
  std::span<const float> IntPtToFaceWeights() const noexcept; ///< a row of base points for each face
  std::span<const float> NodeToFaceWeights() const noexcept;  ///< a row of base nodes for each face
  void ExtrapolateToNodes(std::span<const float> values, res_OutputPositionEnm position,
                          std::span<float> nodeValues, int numComponents) const; ///< by one of the next two
  void StdExtrapToNodes(std::span<const float> values, res_OutputPositionEnm position,
                        std::span<float> nodeValues, int numComponents) const; ///< first ring
  /// The values of ring k are extrapolated from the mean of the blocks 2k and 2k + 1 of integration points.
  void CaxaExtrapToNodes(std::span<const float> values, res_OutputPositionEnm position,
                         std::span<float> nodeValues, int numComponents) const;
  /// ExtrapolateToNodes for elements one after the other; an unknown position is reported once. Throws
  /// wip_Cancelled when the host asks to stop; the values are then incomplete.
  void ExtrapolateEachToNodes(int numElements, std::span<const float> values, res_OutputPositionEnm position,
                              std::span<float> nodeValues, int numComponents) const;
  void ExtrapolateToFaces(std::span<const float> values, res_OutputPositionEnm position,
                          std::span<float> faceValues, int numComponents) const;
  /// From MaxIntPtsPerFace() points to the nodes of a face; in shapes with triangles and quadrilaterals a
  /// triangle uses the first of them. For plane shapes the face is the edge of that number: first, interior,
  /// last node. -1: the first face with most nodes.
  void ExtrapolateFromFaceIntPtsToFaceNodes(std::span<const float> values, std::span<float> nodeValues,
                                            int numComponents, int face = -1) const;

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
  void PrintConnectivity(aio_ostream& stream) const;   ///< the face and edge tables
  void PrintWeightsInTable(aio_ostream& stream) const; ///< iso locations and weights

protected:
  ~shp_Topology() = default;

private:
  friend class shp_ElementSearch;

  /// What the family and its node pattern determine; the defaults are those of a key without a family.
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
  bool HasIntPtTables() const noexcept;
  bool ExtrapolateOthers(std::span<const float> values, res_OutputPositionEnm position, std::size_t numPlaces,
                         std::span<float> out, std::size_t numComponents, const char* method) const;
  static Counts DeriveCounts(const shp_Options& options, const shp_NodePattern* pattern);

  shp_Options options_;
  const shp_NodePattern* pattern_;       ///< null for points and analytic rigid surfaces
  const shp_Connectivity* connectivity_; ///< null without tables
  const shp_Basis* basis_ = nullptr;     ///< null without pattern
  const shp_MapTable* map_ = nullptr;    ///< the same, for locating
  Counts counts_;
  int numNodes_ = 0;
  int numIntPts_ = 0;
  bool isSweepable_ = false;
  bool isExtrudable_ = false;
  std::span<const int> faceNodes_, edgeNodes_, reversal_; ///< static, or in ringTables_
  std::vector<int> ringTables_;                           ///< of elements with rings
  const shp_WeightTables* weights_ = nullptr;             ///< null without tables
};
