// gsl_Segment.h: straight segment between two points
#pragma once

#include <CoreGeometry/gsl_Point.h>

/// The straight segment between two points.
///
/// Units      model length.
/// Empty      the default segment has both ends at the origin.
/// Tolerance  tol stands for gsl_Util's linear tolerance.
/// Errors     none. A segment shorter than tol intersects nothing.
/// Threads    a value: concurrent reads are safe, and copies are independent.
/// Stored as  _point1, _point2
class CORE_GEOMETRY_API gsl_Segment {
public:
  static unsigned TypeId() noexcept;
  virtual unsigned DynTypeId() const noexcept;
  static void* Ctor(cls_ReadVisitor& visitor);
  static void InitializeMetadata(cls_ClassRegistrar& registrar);

  // make
  gsl_Segment() noexcept = default;
  gsl_Segment(const gsl_Point& point1, const gsl_Point& point2) noexcept;
  explicit gsl_Segment(const cls_ReadVisitor& visitor);
  gsl_Segment(const gsl_Segment&) noexcept = default;
  gsl_Segment& operator=(const gsl_Segment&) noexcept = default;
  virtual ~gsl_Segment() = default;
  virtual void DBWrite(const cls_WriteVisitor& visitor) const;

  // ask
  const gsl_Point& Point1() const noexcept { return point1_; }
  const gsl_Point& Point2() const noexcept { return point2_; }
  double Length() const noexcept { return point1_.GetDistance(point2_); }
  const cls_Uid& Uid() const noexcept { return uid_; }
  /// Intersects a full line; the point may lie up to tol beyond an end, inclusive. out may be written
  /// although the result is false.
  bool Intersect(const gsl_StLine& line, gsl_Point& out) const noexcept;
  /// True when each segment intersects the line of the other; out is the point found on this one.
  bool Intersect(const gsl_Segment& other, gsl_Point& out) const noexcept;
  /// Distance of two segments, parallel and degenerate ones included. The nearest points are written to
  /// nearest: its first end lies on this segment, its second on the other.
  double GetDistance(const gsl_Segment& other, gsl_Segment& nearest) const noexcept;

private:
  static constexpr auto StoredFields();
  gsl_Point point1_, point2_;
  cls_OwnUid uid_;
};

/// Position of x, a point of the line through a and b: weights[0] is its parameter from a, weights[1] the one
/// from b. True unless it is more than tol beyond an end. For a and b within tol of each other: true with the
/// weights 0 and 1 when x is within tol of a, else false and the weights are untouched.
CORE_GEOMETRY_API bool gsl_SegmentWeights(const gsl_Point& x, const gsl_Point& a, const gsl_Point& b,
                                          double* weights) noexcept;
