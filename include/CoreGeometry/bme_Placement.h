// bme_Placement.h: positions of the nodes of a mesh in the space that it is placed in
#pragma once

#include <CoreGeometry/bme_Mesh.h>
#include <CoreGeometry/gsl_Matrix.h>

/// The transform of a mesh, applied in double precision. Coordinates of nodes, and all that is computed from
/// them, are local: they have single precision, which far from the origin is too coarse for small elements.
///
/// Units      model length.
/// Empty      a mesh without a transform, or with the identity, is placed at its local coordinates.
/// Errors     nex_TextException for a transform that is not a rotation with a translation.
/// Threads    a value: concurrent reads are safe, and copies are independent.
class CORE_GEOMETRY_API bme_Placement {
public:
  bme_Placement() = default;
  explicit bme_Placement(const bme_Mesh& mesh) : bme_Placement(mesh.Transform()) {}
  explicit bme_Placement(const gsl_Matrix* transform);

  bool IsNone() const noexcept { return isNone_; }
  bool IsTurned() const noexcept { return isTurned_; } ///< the placed axes are not the local ones
  const gsl_Matrix& ToPlaced() const noexcept { return toPlaced_; }
  const gsl_Matrix& ToLocal() const noexcept { return toLocal_; }
  gsl_Matrix Turn() const noexcept; ///< only the rotation to the placed axes
  /// From the space of this placement into that of another one.
  gsl_Matrix Into(const bme_Placement& other) const noexcept;

  /// Placed positions of nodes: three numbers for each float triple.
  void Place(std::span<const float> local, std::span<double> placed) const noexcept;
  /// The box of the nodes whose coordinates are all finite.
  gsl_BBox Box(const bme_NodeData& nodes) const { return Box(nodes.Coordinates().Const()); }
  gsl_BBox Box(std::span<const float> local) const; ///< of float triples

private:
  bool isNone_ = true, isTurned_ = false;
  gsl_Matrix toPlaced_, toLocal_;
};
