// shp_Topology.h: the descriptor of an element shape
#pragma once

#include <CoreGeometry/CoreGeometryExport.h>
#include <CoreGeometry/shp_Options.h>
#include <array>
#include <span>

struct shp_NodePattern;

/// Iso coordinates (xi, eta, zeta) of a point of an element; 0 in the directions the element does not have.
using shp_IsoPoint = std::array<double, 3>;

/// Dimensions, counts and flags of an element shape, all derived from its attribute key.
///
/// Numbering  nodes, faces and the edges of a face count from zero.
/// Empty      a key without a family has no faces and no dimensions; one whose node count its family does not
///            know has no node coordinates, per-face and per-edge maxima 0 and interpolation order 0.
/// Cost       every question O(1).
/// Threads    immutable.
class CORE_GEOMETRY_API shp_Topology {
public:
  explicit shp_Topology(const LongKey& key);

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
  static Counts DeriveCounts(const shp_Options& options, const shp_NodePattern* pattern);

  shp_Options options_;
  const shp_NodePattern* pattern_; ///< null for points and analytic rigid surfaces
  Counts counts_;
  int numNodes_ = 0;
  int numIntPts_ = 0;
  bool isSweepable_ = false;
  bool isExtrudable_ = false;
};
