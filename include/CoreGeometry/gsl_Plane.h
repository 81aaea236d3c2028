// gsl_Plane.h: infinite plane
#pragma once

#include <CoreGeometry/gsl_PersistentVector.h>
#include <CoreGeometry/gsl_Point.h>
#include <span>
#include <vector>

/// How a plane was obtained.
enum class gsl_DirMethod : int {
  FROM_POINT_VECTOR,
  FROM_FACE,
  FROM_DATUM_PLANE,
  FROM_ELEM_FACE,
  PLANE_INVALID
};

/// Plane through a point with a normal, which is not normalised; with the record of how it was obtained.
///
/// Units      model length.
/// Empty      the default plane is z = 0 and is not ok (method PLANE_INVALID).
/// Tolerance  rtol, gsl_Util's relative tolerance, decides what is parallel.
/// Errors     none. With a zero normal every distance is NaN.
/// Threads    a value.
class CORE_GEOMETRY_API gsl_Plane {
public:
  gsl_Plane() noexcept = default;
  gsl_Plane(const gsl_Point& point, const gsl_Vector& normal) noexcept;

  // ask: geometry
  const gsl_Point& PointOn() const noexcept { return point_; }
  const gsl_Vector& Direction() const noexcept { return normal_; } ///< the normal
  /// Unsigned distance of this plane's point from a parallel plane; 0 from any other.
  double GetDistance(const gsl_Plane& other) const noexcept;
  /// gsl_Point::GetSignedDistance of n points, three coordinates each, to the bit and at memory speed. As
  /// many as both arrays have room for are computed.
  void GetSignedDistances(std::span<const float> xyz, std::span<double> distances) const noexcept;
  void GetSignedDistances(std::span<const double> xyz, std::span<double> distances) const noexcept;

  // ask: construction
  gsl_DirMethod Method() const noexcept { return method_; }
  bool IsOk() const noexcept { return ok_; }
  bool IsFlipped() const noexcept { return flip_; }
  const std::vector<int>& ParentIds() const noexcept { return parentIds_; }
  int OwnerFeatId() const noexcept { return ownerFeatId_; }
  const cls_Uid& Uid() const noexcept { return uid_; }

  // change
  void SetMethod(gsl_DirMethod method) noexcept { method_ = method; }
  void SetOk(bool ok) noexcept { ok_ = ok; }
  void SetFlipped(bool flip) noexcept { flip_ = flip; }
  void SetParentIds(std::vector<int> ids) noexcept { parentIds_ = std::move(ids); }
  void SetOwnerFeatId(int id) noexcept { ownerFeatId_ = id; }

private:
  bool ok_ = false;
  gsl_Point point_;
  gsl_PersistentVector normal_;
  gsl_DirMethod method_ = gsl_DirMethod::PLANE_INVALID;
  bool flip_ = false;
  std::vector<int> parentIds_;
  int ownerFeatId_ = 0;
  cls_OwnUid uid_;
};

/// The normals pass gsl_Vector::IsOn. False when a plane is missing.
CORE_GEOMETRY_API bool gsl_PlanesAreParallel(const gsl_Plane* a, const gsl_Plane* b) noexcept;
