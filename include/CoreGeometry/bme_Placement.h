// bme_Placement.h: where the nodes of a mesh stand in the space that it is placed in
#pragma once

#include <CoreGeometry/bme_Mesh.h>
#include <CoreGeometry/gsl_Matrix.h>

/// The transform of a mesh, applied in double precision. Coordinates of nodes, and all that is computed from them,
/// are local: they have single precision, which far from the origin is too coarse for small elements.
///
/// Units      model length.
/// Empty      a mesh without a transform, or with the identity, stands where its coordinates say.
/// Errors     nex_TextException for a transform that is no rotation with a translation.
/// Threads    a value: concurrent reads are safe, and copies are independent.
class CORE_GEOMETRY_API bme_Placement {
public:
  bme_Placement() = default;
  explicit bme_Placement(const bme_Mesh& mesh) : bme_Placement(mesh.Transform()) {}
  explicit bme_Placement(const gsl_Matrix* transform);

  bool IsNone() const noexcept { return isNone_; }
  bool IsTurned() const noexcept { return isTurned_; } ///< its axes are not the local ones
  const gsl_Matrix& ToPlaced() const noexcept { return toPlaced_; }
  const gsl_Matrix& ToLocal() const noexcept { return toLocal_; }
  gsl_Matrix Turn() const noexcept; ///< the rotation to placed axes alone
  /// From the space of this placement into that of another one.
  gsl_Matrix Into(const bme_Placement& other) const noexcept;

  /// Where some nodes stand: three numbers for each of their float triples.
  void Place(std::span<const float> local, std::span<double> placed) const noexcept;
  /// The box of the nodes whose coordinates are all finite.
  gsl_BBox Box(const bme_NodeData& nodes) const;

private:
  bool isNone_ = true, isTurned_ = false;
  gsl_Matrix toPlaced_, toLocal_;
};
