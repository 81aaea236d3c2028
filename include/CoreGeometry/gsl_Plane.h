// gsl_Plane.h: infinite plane
#pragma once

#include <BasicUtils/cls_Containers.h>
#include <CaeUtils/omu_PrimEnum.h>
#include <CoreGeometry/gsl_PersistentVector.h>
#include <CoreGeometry/gsl_Point.h>
#include <span>

class ftr_FeatureList;

/// How a plane was obtained.
enum gsl_DirMethod : int {
  gsl_FROM_POINT_VECTOR = 0,
  gsl_FROM_FACE = 1,
  gsl_FROM_DATUM_PLANE = 2,
  gsl_FROM_ELEM_FACE = 3,
  gsl_PLANE_INVALID = 4
};
template<> struct omu_EnumTable<gsl_DirMethod> {
  static constexpr const char* name = "gsl_DirMethod";
  static constexpr omu_EnumEntry entries[] = {{gsl_FROM_POINT_VECTOR, "FROM_POINT_VECTOR"},
                                              {gsl_FROM_FACE, "FROM_FACE"},
                                              {gsl_FROM_DATUM_PLANE, "FROM_DATUM_PLANE"},
                                              {gsl_FROM_ELEM_FACE, "FROM_ELEM_FACE"},
                                              {gsl_PLANE_INVALID, "PLANE_INVALID"}};
};

/// Plane through a point with a normal, which is not normalised, and the method by which it was obtained.
///
/// Units      model length.
/// Empty      the default plane is z = 0 and is not ok (method gsl_PLANE_INVALID).
/// Tolerance  rtol, gsl_Util's relative tolerance, decides what is parallel.
/// Errors     none. With a zero normal every distance is NaN.
/// Threads    a value: concurrent reads are safe, and copies are independent.
/// Stored as  _ok, _point, _normal, _method, _flip, parent_ids, owner_feat_id
class CORE_GEOMETRY_API gsl_Plane {
public:
  static unsigned TypeId() noexcept;
  virtual unsigned DynTypeId() const noexcept;
  static void* Ctor(cls_ReadVisitor& visitor);
  static void InitializeMetadata(cls_ClassRegistrar& registrar);

  // make
  gsl_Plane() noexcept = default;
  gsl_Plane(const gsl_Point& point, const gsl_Vector& normal) noexcept;
  explicit gsl_Plane(const cls_ReadVisitor& visitor);
  gsl_Plane(const gsl_Plane&) = default;
  gsl_Plane& operator=(const gsl_Plane&) = default;
  virtual ~gsl_Plane() = default;
  virtual void DBWrite(const cls_WriteVisitor& visitor) const;

  // ask: geometry
  const gsl_Point& PointOn() const noexcept { return point_; }
  const gsl_Vector& Direction() const noexcept { return normal_; } ///< the normal
  /// Unsigned distance of this plane's point from a parallel plane; 0 when the planes are not parallel.
  double GetDistance(const gsl_Plane& other) const noexcept;
  /// The same bits as gsl_Point::GetSignedDistance for n points, three coordinates each, at memory speed. The
  /// shorter of the two arrays limits n.
  void GetSignedDistances(std::span<const float> xyz, std::span<double> distances) const noexcept;
  void GetSignedDistances(std::span<const double> xyz, std::span<double> distances) const noexcept;

  // ask: construction
  gsl_DirMethod Method() const noexcept { return method_; }
  bool IsOk() const noexcept { return ok_; }
  bool IsFlipped() const noexcept { return flip_; }
  std::span<const int> ParentIds() const noexcept { return parentIds_.Const(); } ///< what it was built from
  int OwnerFeatId() const noexcept { return ownerFeatId_; }
  const cls_Uid& Uid() const noexcept { return uid_; }

  // change
  void SetMethod(gsl_DirMethod method) noexcept { method_ = method; }
  void SetOk(bool ok) noexcept { ok_ = ok; }
  void SetFlipped(bool flip) noexcept { flip_ = flip; }
  void SetParentIds(std::span<const int> ids) { parentIds_ = cls_xp1DArrayListInt(ids); }
  void SetOwnerFeatId(int id) noexcept { ownerFeatId_ = id; }
  /// Does nothing and returns true: the code that built the plane rebuilds it from its parents.
  virtual bool Regenerate(const ftr_FeatureList* features);

private:
  static constexpr auto StoredFields();

  bool ok_ = false;
  gsl_Point point_;
  gsl_PersistentVector normal_;
  gsl_DirMethod method_ = gsl_PLANE_INVALID;
  bool flip_ = false;
  cls_xp1DArrayListInt parentIds_;
  int ownerFeatId_ = 0;
  cls_OwnUid uid_;
};

/// True when gsl_Vector::IsOn holds for the normals. False when a plane is missing.
CORE_GEOMETRY_API bool gsl_PlanesAreParallel(const gsl_Plane* a, const gsl_Plane* b) noexcept;
