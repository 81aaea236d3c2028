// gsl_Point.h: position in model space
#pragma once

#include <BasicUtils/cls_Visitors.h>
#include <CoreGeometry/CoreGeometryExport.h>
#include <CoreUtils/aio_ostream.h>

class gsl_Matrix;
class gsl_Plane;
class gsl_Segment;
class gsl_StLine;
class gsl_Vector;

/// Position with a uid of its own.
///
/// Every constructor, the copying one included, allocates a fresh uid; assignment takes over the source's.
///
/// Units      model length.
/// Tolerance  tol and rtol stand for gsl_Util's linear and relative tolerance.
/// Errors     none. A line without direction and a plane without normal have NaN distances, so nothing is on
///            them. With a NaN coordinate every test is false except >=, which then depends on the other
///            coordinates only.
/// Aliasing   outputs are written last, so that they may be this point or one of the arguments; this holds
///            for the whole module except for flat arrays, which must not overlap.
/// Cost       construction takes a few nanoseconds for the uid: for whole arrays use gsl_Matrix, gsl_BBox and
///            gsl_Plane on flat coordinates.
/// Threads    a value: concurrent reads are safe, and copies are independent.
/// Stored as  _x, _y, _z
class CORE_GEOMETRY_API gsl_Point final {
public:
  static unsigned TypeId() noexcept;
  unsigned DynTypeId() const noexcept { return TypeId(); }
  static void* Ctor(cls_ReadVisitor& visitor);
  static void InitializeMetadata(cls_ClassRegistrar& registrar);

  // make
  gsl_Point() noexcept = default; ///< (0, 0, 0)
  gsl_Point(double x, double y, double z) noexcept : x_(x), y_(y), z_(z) {}
  gsl_Point(const gsl_Point& p1, double w1, const gsl_Point& p2, double w2) noexcept; ///< w1 p1 + w2 p2
  gsl_Point(const gsl_Point& p1, const gsl_Point& p2) noexcept;                       ///< midpoint
  explicit gsl_Point(const cls_ReadVisitor& visitor); ///< a missing coordinate is 0
  virtual void DBWrite(const cls_WriteVisitor& visitor) const;

  // ask
  const cls_Uid& Uid() const noexcept { return uid_; }
  /// 0 gives x, 1 gives y, anything else z.
  double operator[](unsigned i) const noexcept { return i == 0 ? x_ : i == 1 ? y_ : z_; }
  gsl_Point operator+(const gsl_Vector& v) const noexcept;
  gsl_Point operator-(const gsl_Vector& v) const noexcept;

  /// Squared distance <= gsl_Util's squared tolerance.
  bool operator==(const gsl_Point& other) const noexcept;
  /// Greater in x, in y and in z: a partial order.
  bool operator>(const gsl_Point& other) const noexcept;
  /// No coordinate of the other is greater.
  bool operator>=(const gsl_Point& other) const noexcept;

  double GetDistance(const gsl_Point& other) const noexcept;
  double GetDistance(const gsl_StLine& line) const noexcept;
  double GetDistance(const gsl_Plane& plane) const noexcept;
  /// Positive on the side the plane's normal points to.
  double GetSignedDistance(const gsl_Plane& plane) const noexcept;
  /// Distance along v; negative when v points against the normal, near-infinite when v is in the plane.
  double GetDistance(const gsl_Plane& plane, const gsl_Vector& v) const noexcept;
  /// Distance to the nearest point of the segment, which is written to closest. For a segment shorter than
  /// tol that is this point itself, and the distance is 0.
  double GetDistance(const gsl_Segment& segment, gsl_Point& closest) const noexcept;
  /// Distance to the triangle. An edge shorter than tol is treated like such a segment.
  double GetDistance(const gsl_Point& p0, const gsl_Point& p1, const gsl_Point& p2) const noexcept;

  bool IsOn(const gsl_Plane& plane) const noexcept; ///< distance < tol
  bool IsOn(const gsl_StLine& line) const noexcept; ///< distance < tol
  bool IsOn(const gsl_Point& other) const noexcept; ///< distance < tol; == is inclusive

  /// t is the signed length along the line from its point. A direction shorter than tol gives the line's
  /// point and 0.
  gsl_Point ProjectOn(const gsl_StLine& line, double& t) const noexcept;
  gsl_Point ProjectOn(const gsl_Plane& plane) const noexcept;
  /// t is 0 at the first end and 1 at the second; true when the projection is less than tol beyond an end. A
  /// segment shorter than tol, or without length, gives this point, 0 and true. out and t are always set.
  bool ProjectOn(const gsl_Segment& segment, double tol, gsl_Point& out, double& t) const noexcept;
  bool ProjectOn(const gsl_Segment& segment, gsl_Point& out, double& t) const noexcept;
  /// Projects onto the plane of a triangle; true when the projection is inside or on its boundary. The three
  /// weights are barycentric; the bound of the test is weight * normal squared >= -tol squared. Colinear
  /// vertices: false, out is this point, weights are 0. The legs may be 1e-70 to 1e76 long; beyond that,
  /// products of four of them overflow or underflow, and the result is false.
  bool ProjectOn(const gsl_Point& p0, const gsl_Point& p1, const gsl_Point& p2, gsl_Point& out,
                 double* weights) const noexcept;

  /// Intersects the plane with the full line through this point. False, and out is this point, when dir is
  /// shorter than tol or parallel to the plane, or the plane has no normal; a point on the plane is its own
  /// result.
  bool RayIntersect(const gsl_Vector& dir, const gsl_Plane& plane, gsl_Point& out) const noexcept;
  /// Intersects the segment a-b with the full line through this point; the two weights are those of
  /// gsl_SegmentWeights.
  bool RayIntersect(const gsl_Point& a, const gsl_Point& b, const gsl_Vector& dir, gsl_Point& out,
                    double* weights) const noexcept;

  /// One line: "x:", "y:", "z:", tab-separated, 15 significant digits.
  void Print(aio_ostream& out, int indent) const;

  // change
  double& operator[](unsigned i) noexcept { return i == 0 ? x_ : i == 1 ? y_ : z_; }
  void Transform(const gsl_Matrix& matrix) noexcept; ///< keeps the uid

private:
  static constexpr auto StoredFields();

  double x_ = 0, y_ = 0, z_ = 0;
  cls_OwnUid uid_;
};
