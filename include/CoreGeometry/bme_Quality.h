// bme_Quality.h: measures of the form of elements
#pragma once

#include <CoreGeometry/CoreGeometryExport.h>
#include <CoreUtils/cow_String.h>
#include <optional>
#include <span>
#include <vector>

class bme_Mesh;

/// Measures of C. J. Stimpson, C. D. Ernst, P. Knupp, P. P. Pebay and D. Thompson, The Verdict Geometric Quality Library,
/// Sandia report SAND2007-1751, where it has them; corners only, but for scaled Jacobian and mid nodes.
enum class bme_QualityMeasure {
  Size,      ///< length, area or volume; that of inverted solids and plane elements is negative
  EdgeRatio, ///< longest by shortest edge
  /// 1 at best. Triangles Lmax (L0 + L1 + L2) / (4 sqrt(3) A), quadrilaterals Lmax (L0 + ... + L3) / (4 A),
  /// tetrahedra Lmax A / (6 sqrt(6) V), hexahedra longest by shortest principal axis, wedges the edge ratio.
  AspectRatio,
  /// 1 at best, 0 or less where the map fails. The least determinant of the unit vectors along the edges at a corner,
  /// of hexahedra also of the principal axes, times a factor that makes the regular element 1. With mid nodes: least
  /// by greatest determinant of the map at nodes and integration points.
  ScaledJacobian,
  MinimumAngle, ///< in degrees, of edges that meet in a face; of tetrahedra between faces
  MaximumAngle, ///< likewise; above 180 at a corner where a quadrilateral is concave
  Warpage, ///< 0 at best: 1 - min((n0 n2)^3, (n1 n3)^3) of normals at corners; of solids of the worst face
  Skew,    ///< 0 at best: the greatest |cos| of two principal axes; quadrilaterals and hexahedra
  Taper,   ///< 0 at best: greatest cross derivative by the shorter of its two principal axes; likewise
  MidNodeOffset, ///< 0 at best: greatest distance along the chord of a mid node from its middle, by its length
  MidNodeHeight  ///< 0 for straight edges: greatest distance of a mid node from the chord, by its length
};

/// A measure's name for users, whether larger values are better, and what an element without size gets.
struct bme_QualityFacts {
  const char* name;
  bool isMoreBetter;
  double limit;
};
/// Ratios of elements without size or with nodes that are not finite: no NaN.
inline constexpr double bme_kWorstRatio = 1e30;

CORE_GEOMETRY_API std::span<const bme_QualityFacts> bme_QualityMeasures() noexcept; ///< by bme_QualityMeasure
CORE_GEOMETRY_API std::optional<bme_QualityMeasure> bme_FindQualityMeasure(const cow_String& name) noexcept;

/// Measures of all elements of a class, a row of values for each measure, in the order of the elements; an empty row
/// when the shape does not have the measure.
///
/// Units      model length and its powers for Size; degrees; else none.
/// Errors     nex_OutOfRangeException for a class that does not exist; nex_TextException for a node index that is not in
///            the mesh, with label and class; wip_Cancelled when the host asks to stop.
/// Cost       one pass over the class, several elements at a time.
/// Threads    const; safe beside other reads. Uses the threads that the host lends (wip_Executor).
CORE_GEOMETRY_API std::vector<std::vector<double>> bme_Quality(const bme_Mesh& mesh, unsigned classIndex,
                                                               std::span<const bme_QualityMeasure> measures);
