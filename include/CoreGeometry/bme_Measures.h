// bme_Measures.h: length, area, volume, mass, centre and inertia of elements
#pragma once

#include <CoreGeometry/bme_FEMElemList.h>
#include <CoreGeometry/bme_Mesh.h>
#include <CoreGeometry/gsl_ExactSum.h>
#include <CoreGeometry/gsl_Vector.h>
#include <CoreGeometry/shp_MeasureRule.h>
#include <functional>
#include <limits>
#include <optional>

class dtu_DatumCsys;

using bme_Tensor = std::array<std::array<double, 3>, 3>;

/// Total length, area, volume or mass with its first and second moments.
///
/// Units      those of the measure, times model length for first and its square for second moments.
/// Sign       totals and moments are of absolute values: an inverted element counts like its mirror image.
///            SignedTotal() counts its measure as negative.
/// Empty      a total of zero has no centre and no inertia about it.
/// Accuracy   sums are exact and rounded once: they depend neither on the order of the elements nor on the number
///            of threads.
/// Cost       6 KB.
/// Threads    a value: concurrent reads are safe, and copies are independent.
class CORE_GEOMETRY_API bme_Moments {
public:
  // ask
  double Total() const noexcept { return total_.Value(); }
  double SignedTotal() const noexcept { return signedTotal_.Value(); }
  bool GetCentre(gsl_Point& centre) const noexcept;
  /// Diagonal: integrals of the squared distance from the axes through the point. Off the diagonal: the
  /// products of inertia with the minus sign, so that it is a tensor.
  bme_Tensor InertiaAbout(const gsl_Point& point) const noexcept;
  bool GetInertiaAboutCentre(bme_Tensor& inertia) const noexcept;
  /// Principal moments about the centre, ascending, and their right-handed unit axes. The largest component
  /// of the first two axes is positive.
  bool GetPrincipal(std::array<double, 3>& moments, std::array<gsl_Vector, 3>& axes) const noexcept;

  // make
  /// The same moments in another frame: `frame` is the rigid transform from its coordinates to those of the
  /// mesh.
  bme_Moments In(const gsl_Matrix& frame) const noexcept;

  // change
  explicit bme_Moments(const std::array<double, 3>& reference = {}) : reference_(reference) {}
  /// Adds moments about the reference point times a factor; surfaces get the moments of their thickness, too.
  void Add(const shp_Moments& moments, double factor, double thickness = 0) noexcept;
  /// Adds moments about the same reference point.
  void Add(const bme_Moments& others) noexcept;

  // as integers, see gsl_ExactSum::Words
  static constexpr std::size_t kNumWords = 11 * gsl_ExactSum::kNumWords;
  void GetWords(std::span<std::int64_t, kNumWords> words) const noexcept;
  void SetWords(std::span<const std::int64_t, kNumWords> words) noexcept; ///< the reference point stays

private:
  template<class Moments, class Visit> static void ForEachSum(Moments& moments, Visit visit);

  std::array<double, 3> reference_; ///< reference point of first and second moments
  gsl_ExactSum total_, signedTotal_;
  std::array<gsl_ExactSum, 3> first_;
  std::array<gsl_ExactSum, 6> second_; ///< xx, yy, zz, xy, xz, yz
};

/// A value for one element, by its class and position in it; empty when it is unknown. Negative and
/// non-finite numbers count as unknown.
using bme_ElementValue = std::function<std::optional<double>(const bme_ElementClass&, int element)>;

/// What to compute, and the properties that the geometry does not contain.
///
/// Threads    with a lent executor (wip_Executor) the functions are called by several threads at once.
struct bme_MeasureOptions {
  shp_MomentOrder order = shp_MomentOrder::Second;
  bme_ElementValue thickness = {};   ///< of shells, membranes and plane elements
  bme_ElementValue sectionArea = {}; ///< of lines
  bme_ElementValue density = {};     ///< without it no mass is computed
  bme_ElementValue pointMass = {};   ///< of elements of a single node
  /// Point that first and second moments are kept about: the middle of bme_FiniteRange when it is empty.
  std::optional<std::array<double, 3>> reference = {};
  bool listsIndices = false; ///< mesh element index + 1 instead of labels, also in meshes with labels
};

/// Least and largest finite coordinates on each axis; infinite and the least above the largest when there are none.
struct bme_CoordinateRange {
  static constexpr double kInfinity = std::numeric_limits<double>::infinity();
  std::array<double, 3> low{kInfinity, kInfinity, kInfinity}, high{-kInfinity, -kInfinity, -kInfinity};

  CORE_GEOMETRY_API std::array<double, 3> Middle() const noexcept; ///< 0 on an axis without numbers
};
CORE_GEOMETRY_API bme_CoordinateRange bme_FiniteRange(const bme_Mesh& mesh);

/// Measures of elements. Labels are user labels, in mesh order; index + 1 in meshes without labels.
///
/// Lengths and areas are those of the elements as meshed, on their curved geometry; the volume is that of the
/// body they stand for:
///   solids                    their own volume
///   axisymmetric              a full turn about the y axis; of lines the surface times the thickness
///   plane, shells, membranes  area times thickness, which lies half on either side
///   lines                     length times section area, taken as thin
/// Rigid, interaction, internal and surface elements have lengths and areas but no body.
struct bme_Measures {
  long long numElements = 0;
  bme_Moments length, area, volume;
  bme_Moments mass;

  std::vector<int> inverted;      ///< negative volume; plane elements numbered clockwise
  std::vector<int> zero;          ///< measure within the rounding error of the coordinates
  std::vector<int> withoutShape;  ///< type without shape or map: not measured
  std::vector<int> withoutNodes;  ///< nodes not in the mesh or not finite: not measured
  std::vector<int> noThickness;   ///< not included in volume and mass
  std::vector<int> noSectionArea; ///< not included in volume and mass
  std::vector<int> noDensity;     ///< not included in mass
  std::vector<int> noPointMass;   ///< not included in mass
};

/// Measures of all elements, or of those with the given mesh element indices, each counted once. Throws
/// nex_OutOfRangeException for an index that is not in the mesh; wip_Cancelled when the host asks to stop.
CORE_GEOMETRY_API bme_Measures bme_CalculateMeasures(const bme_Mesh& mesh,
                                                     const bme_MeasureOptions& options = {});
CORE_GEOMETRY_API bme_Measures bme_CalculateMeasures(const bme_Mesh& mesh, std::span<const unsigned> elements,
                                                     const bme_MeasureOptions& options = {});
/// Measures of the elements of a list: bme_FEMElemList::OfClass, the elements of a set, of a box, ...
inline bme_Measures bme_CalculateMeasures(const bme_FEMElemList& elements,
                                          const bme_MeasureOptions& options = {}) {
  return bme_CalculateMeasures(elements.Mesh(), elements.Words(), options);
}
/// Measures of elements whose nodes have double precision, three coordinates each.
CORE_GEOMETRY_API bme_Measures bme_CalculateMeasures(const bme_ElementData& elements,
                                                     std::span<const double> coordinates,
                                                     const bme_MeasureOptions& options = {});

/// Total length, area, or volume of solids and axisymmetric elements.
CORE_GEOMETRY_API double bme_CalculateLength(const bme_Mesh& mesh, std::span<const unsigned> elements);
CORE_GEOMETRY_API double bme_CalculateArea(const bme_Mesh& mesh, std::span<const unsigned> elements);
CORE_GEOMETRY_API double bme_CalculateVolume(const bme_Mesh& mesh, std::span<const unsigned> elements);
inline double bme_CalculateLength(const bme_FEMElemList& elements) {
  return bme_CalculateLength(elements.Mesh(), elements.Words());
}
inline double bme_CalculateArea(const bme_FEMElemList& elements) {
  return bme_CalculateArea(elements.Mesh(), elements.Words());
}
inline double bme_CalculateVolume(const bme_FEMElemList& elements) {
  return bme_CalculateVolume(elements.Mesh(), elements.Words());
}
inline double bme_CalculateLength(const bme_Mesh& mesh) {
  return bme_CalculateLength(bme_FEMElemList::All(mesh));
}
inline double bme_CalculateArea(const bme_Mesh& mesh) {
  return bme_CalculateArea(bme_FEMElemList::All(mesh));
}
inline double bme_CalculateVolume(const bme_Mesh& mesh) {
  return bme_CalculateVolume(bme_FEMElemList::All(mesh));
}

/// Measure of one face or edge of an element; 0 when it does not exist or a node is missing.
CORE_GEOMETRY_API double bme_CalculateFaceArea(const bme_Mesh& mesh, unsigned element, int face);
CORE_GEOMETRY_API double bme_CalculateEdgeLength(const bme_Mesh& mesh, unsigned element, int face, int edge);

/// Origin and orthonormal axes of a coordinate system of any kind: x is kept, y stays in the plane of x and
/// y, z is on the side of the stored z. False when the stored axes do not allow it.
CORE_GEOMETRY_API bool bme_GetFrame(const dtu_DatumCsys& csys, gsl_Matrix& frame);
