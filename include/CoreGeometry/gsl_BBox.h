// gsl_BBox.h: axis-aligned bounding box
#pragma once

#include <CaeUtils/g3d_Types.h>
#include <CoreGeometry/CoreGeometryExport.h>
#include <CoreGeometry/gsl_Point.h>
#include <span>

/// Axis-aligned box in model space.
///
/// Units      model length.
/// Empty      minimum above maximum on some axis; a default box is empty, and adding an empty box changes
///            nothing.
/// Tolerance  none is ever added; == compares the corners as points.
/// Errors     none. A NaN coordinate never widens a box; it stays when it comes from the first point, and the
///            other coordinates then decide what intersects the box.
/// Cost       O(1); the span forms of Add run at memory speed.
/// Threads    a value: concurrent reads are safe, and copies are independent.
/// Stored as  _min, _max
class CORE_GEOMETRY_API gsl_BBox {
public:
  static unsigned TypeId() noexcept;
  virtual unsigned DynTypeId() const noexcept;
  static void* Ctor(cls_ReadVisitor& visitor);
  static void InitializeMetadata(cls_ClassRegistrar& registrar);

  // make
  gsl_BBox() noexcept = default; ///< empty
  gsl_BBox(const gsl_Point& min, const gsl_Point& max) noexcept;
  explicit gsl_BBox(const cls_ReadVisitor& visitor);
  gsl_BBox(const gsl_BBox&) noexcept = default;
  gsl_BBox& operator=(const gsl_BBox&) noexcept = default;
  virtual ~gsl_BBox() = default;
  virtual void DBWrite(const cls_WriteVisitor& visitor) const;

  // ask
  const gsl_Point& Min() const noexcept { return min_; }
  const gsl_Point& Max() const noexcept { return max_; }
  const cls_Uid& Uid() const noexcept { return uid_; }
  bool IsEmpty() const noexcept;
  double XLen() const noexcept { return max_[0] - min_[0]; }
  double YLen() const noexcept { return max_[1] - min_[1]; }
  double ZLen() const noexcept { return max_[2] - min_[2]; }
  double Size() const noexcept;                         ///< diagonal length, -1 when empty
  gsl_Vector Diag() const noexcept;                     ///< from the minimum to the maximum corner
  gsl_Point Center() const noexcept;                    ///< (-0.5, -0.5, -0.5) of a vacated box
  g3d_Sphere GetExtent() const noexcept;                ///< centre and half the size: radius -0.5 when empty
  bool Intersect(const gsl_BBox& other) const noexcept; ///< touching boxes intersect, empty ones never
  bool operator==(const gsl_BBox& other) const noexcept;
  void Print(aio_ostream& out, int indent) const; ///< minimum, then maximum corner

  // change
  void Vacate() noexcept; ///< (0, 0, 0) to (-1, -1, -1)
  void Add(const gsl_Point& p) noexcept;
  void Add(const gsl_BBox& box) noexcept;
  void Add(std::span<const float> xyz) noexcept; ///< three per point; an incomplete last point is ignored
  void Add(std::span<const double> xyz) noexcept;
  void Transform(const gsl_Matrix& matrix) noexcept; ///< box of the eight moved corners

private:
  static constexpr auto StoredFields();
  template<class T> void AddTriples(std::span<const T> xyz) noexcept;
  void Set(const double (&min)[3], const double (&max)[3]) noexcept;

  gsl_Point min_{0, 0, 0}, max_{-1, -1, -1};
  cls_OwnUid uid_;
};
