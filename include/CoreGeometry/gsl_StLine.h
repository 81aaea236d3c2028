// gsl_StLine.h: infinite straight line
#pragma once

#include <BasicUtils/cls_Containers.h>
#include <CaeUtils/omu_PrimEnum.h>
#include <CoreGeometry/gsl_PersistentVector.h>
#include <CoreGeometry/gsl_Point.h>

class ftr_FeatureList;

/// How a line was obtained. The invalid marker is not the largest value: test for equality only.
enum gsl_LineMethod : int {
  gsl_FROM_PNT_VECTOR = 0,
  gsl_FROM_EDGE = 1,
  gsl_FROM_REVFACE = 2,
  gsl_FROM_DATUM_AXIS = 3,
  gsl_FROM_ELEM_EDGE = 4,
  gsl_FROM_PNT_PNT = 5,
  gsl_STLINE_INVALID = 6,
  gsl_FROM_DATUM_CSYS = 7
};
template<> struct omu_EnumTable<gsl_LineMethod> {
  static constexpr const char* name = "gsl_LineMethod";
  static constexpr omu_EnumEntry entries[] = {
      {gsl_FROM_PNT_VECTOR, "FROM_PNT_VECTOR"}, {gsl_FROM_EDGE, "FROM_EDGE"},
      {gsl_FROM_REVFACE, "FROM_REVFACE"},       {gsl_FROM_DATUM_AXIS, "FROM_DATUM_AXIS"},
      {gsl_FROM_ELEM_EDGE, "FROM_ELEM_EDGE"},   {gsl_FROM_PNT_PNT, "FROM_PNT_PNT"},
      {gsl_STLINE_INVALID, "STLINE_INVALID"},   {gsl_FROM_DATUM_CSYS, "FROM_DATUM_CSYS"}};
};

/// Line through a point along a direction, which is not normalised, and the method by which it was obtained.
///
/// Units      model length.
/// Empty      the default line runs from the origin along z and is not ok (method gsl_STLINE_INVALID).
/// Tolerance  tol and rtol stand for gsl_Util's linear and relative tolerance.
/// Errors     none. A zero direction is parallel to nothing.
/// Threads    a value: concurrent reads are safe, and copies are independent.
/// Stored as  _point, _dir, _method, _flip, _ok, parent_ids, owner_feat_id
class CORE_GEOMETRY_API gsl_StLine {
public:
  static unsigned TypeId() noexcept;
  virtual unsigned DynTypeId() const noexcept;
  static void* Ctor(cls_ReadVisitor& visitor);
  static void InitializeMetadata(cls_ClassRegistrar& registrar);

  // make
  gsl_StLine() noexcept = default;
  gsl_StLine(const gsl_Point& point, const gsl_Vector& direction) noexcept;
  gsl_StLine(const gsl_Point& p1, const gsl_Point& p2) noexcept; ///< direction p2 - p1
  explicit gsl_StLine(const cls_ReadVisitor& visitor);
  gsl_StLine(const gsl_StLine&) = default;
  gsl_StLine& operator=(const gsl_StLine&) = default;
  virtual ~gsl_StLine() = default;
  virtual void DBWrite(const cls_WriteVisitor& visitor) const;

  // ask: geometry
  const gsl_Point& PointOn() const noexcept { return point_; }
  const gsl_Vector& Direction() const noexcept { return direction_; }
  bool IsParallel(const gsl_StLine& other) const noexcept;
  bool IsParallel(const gsl_Plane& plane) const noexcept;
  /// Distance of the two lines; 0 when the cross product of the directions, as stored, is shorter than tol,
  /// as for parallel lines.
  double GetDistance(const gsl_StLine& other) const noexcept;
  /// Distance of the line's point from a parallel plane; 0 when the plane is not parallel.
  double GetDistance(const gsl_Plane& plane) const noexcept;
  bool IsSkewed(const gsl_StLine& other) const noexcept; ///< distance > tol
  /// See gsl_Point::RayIntersect, from the line's point.
  bool Intersect(const gsl_Plane& plane, gsl_Point& out) const noexcept;
  /// out is the point of this line closest to the other, gap the remaining distance. Skewed lines: false,
  /// nothing is written; parallel ones (unit directions within 1e-5): false, only gap is written. Directions
  /// so short that the lines count as parallel for GetDistance give true with any gap.
  bool Intersect(const gsl_StLine& other, gsl_Point& out, double& gap) const noexcept;
  /// The point at distance s along the direction; false for negative s. A zero direction gives the line's
  /// point.
  bool PointAtDistance(double s, gsl_Point& out) const noexcept;

  // ask: construction
  gsl_LineMethod Method() const noexcept { return method_; }
  bool IsOk() const noexcept { return ok_; }
  bool IsFlipped() const noexcept { return flip_; }
  std::span<const int> ParentIds() const noexcept { return parentIds_.Const(); } ///< what it was built from
  int OwnerFeatId() const noexcept { return ownerFeatId_; }
  const cls_Uid& Uid() const noexcept { return uid_; }

  // change
  /// Negates the direction; the stored flip flag is not changed.
  void FlipDirection() noexcept { direction_.Vector().Negate(); }
  void SetMethod(gsl_LineMethod method) noexcept { method_ = method; }
  void SetOk(bool ok) noexcept { ok_ = ok; }
  void SetFlipped(bool flip) noexcept { flip_ = flip; }
  void SetParentIds(std::span<const int> ids) { parentIds_ = cls_xp1DArrayListInt(ids); }
  void SetOwnerFeatId(int id) noexcept { ownerFeatId_ = id; }
  /// Does nothing and returns true: the code that built the line rebuilds it from its parents.
  virtual bool Regenerate(const ftr_FeatureList* features);

private:
  static constexpr auto StoredFields();

  gsl_Point point_;
  gsl_PersistentVector direction_;
  gsl_LineMethod method_ = gsl_STLINE_INVALID;
  bool flip_ = false;
  bool ok_ = false;
  cls_xp1DArrayListInt parentIds_;
  int ownerFeatId_ = 0;
  cls_OwnUid uid_;
};

/// True when gsl_Vector::IsOn holds for the directions. False when a line is missing.
CORE_GEOMETRY_API bool gsl_LinesAreParallel(const gsl_StLine* a, const gsl_StLine* b) noexcept;
/// gsl_StLine::IsSkewed. False when a line is missing.
CORE_GEOMETRY_API bool gsl_LinesAreSkew(const gsl_StLine* a, const gsl_StLine* b) noexcept;
