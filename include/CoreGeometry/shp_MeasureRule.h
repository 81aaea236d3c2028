// shp_MeasureRule.h: lengths, areas, volumes and their moments by integration
#pragma once

#include <CoreGeometry/CoreGeometryExport.h>
#include <array>
#include <cstddef>
#include <memory>
#include <span>

class shp_Topology;

/// How many of the shp_Moments to compute; each includes those before it.
enum class shp_MomentOrder : int { Measure, First, Second };

/// Integrals over one element, face or edge. Integrals that were not requested are 0.
struct shp_Moments {
  double measure = 0;              ///< length, area or volume; negative if inverted, if it has a sign
  std::array<double, 3> first{};   ///< of x, y, z
  std::array<double, 6> second{};  ///< of xx, yy, zz, xy, xz, yz
  std::array<double, 6> normals{}; ///< of the products of the unit normal, in the same order; surfaces only
  double noise = 0; ///< a measure up to this may come from the rounding of the coordinates alone
};

/// Integrates over elements of one shape, or over one of their faces or edges.
///
/// Sign       for elements with as many dimensions as their space: volumes of solids, areas of plane elements
///            (z is ignored). Lengths and the areas of surfaces in space have no sign.
/// Accuracy   with a sign: exact for all requested integrals, by products of Gauss-Jacobi points (conical
///            products in simplices: A. H. Stroud, Approximate Calculation of Multiple Integrals, 1971,
///            section 2.5). Without a sign: the number of points doubles until nothing changes by more than
///            1e-10, up to 32 in each direction; exact at once for straight lines and flat triangles.
/// Revolved   a full turn of the (x, y) plane about y: areas become volumes, lengths become areas.
/// Empty      shapes without a map (single nodes, analytic surfaces), and faces and edges that do not exist.
/// Cost       made once per element class; then about 0.1 microseconds for the volume of a hexahedron.
/// Threads    one thread at a time, as it may add points while it integrates; the thread of its shape must
///            still run.
class CORE_GEOMETRY_API shp_MeasureRule {
public:
  // make
  shp_MeasureRule(const shp_Topology& shape, shp_MomentOrder order, bool revolved = false);
  static shp_MeasureRule OfFace(const shp_Topology& shape, int face, shp_MomentOrder order);
  static shp_MeasureRule OfEdge(const shp_Topology& shape, int face, int edge, shp_MomentOrder order);
  shp_MeasureRule(shp_MeasureRule&& other) noexcept;
  shp_MeasureRule& operator=(shp_MeasureRule&& other) noexcept;
  ~shp_MeasureRule();

  // ask
  bool IsEmpty() const noexcept;
  bool HasSign() const noexcept;
  int NumDims() const noexcept;                ///< of what is integrated over, before it is revolved
  std::span<const int> Nodes() const noexcept; ///< local nodes that the integrals depend on, in order

  // integrate; moments of an empty rule are 0
  /// Coordinates are three for each of Nodes().
  shp_Moments Integrate(std::span<const double> coordinates);
  /// Moments of each row of element nodes, which are indices into the points, three coordinates each. They
  /// are about the given origin; that of a revolved rule must lie on the axis.
  void IntegrateEach(std::span<const int> rows, std::size_t nodesPerRow, std::span<const float> points,
                     const std::array<double, 3>& origin, std::span<shp_Moments> moments);
  void IntegrateEach(std::span<const int> rows, std::size_t nodesPerRow, std::span<const double> points,
                     const std::array<double, 3>& origin, std::span<shp_Moments> moments);
  /// Integrals of the shape functions of Nodes() over each row, as many numbers a row; their sum is the measure. A
  /// revolved rule turns about the y axis. nex_AssertionException for a rule of shp_MomentOrder::Measure, which has too
  /// few points, and for spans that do not fit.
  void IntegrateFunctionsEach(std::span<const int> rows, std::size_t nodesPerRow,
                              std::span<const float> points, std::span<double> integrals);

private:
  struct Impl;
  explicit shp_MeasureRule(std::unique_ptr<Impl> impl);
  std::unique_ptr<Impl> impl_;
};
