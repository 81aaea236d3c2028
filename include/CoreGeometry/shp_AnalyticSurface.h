// shp_AnalyticSurface.h: rigid surface given by a profile of segments
#pragma once

#include <BasicUtils/cls_xoList.h>
#include <CaeUtils/g3d_Types.h>
#include <CaeUtils/omu_PrimEnum.h>
#include <CoreGeometry/CoreGeometryExport.h>

class gsl_Matrix;

/// One segment of a profile, which begins at the end of the previous one.
///
/// A START or LINE has one point, where it ends; a CIRCLE or PARABOLA two: where it ends, and its centre or
/// the point where the tangents of its ends meet.
///
/// Empty      the default is a START without a point, which is not valid yet.
/// Threads    a value: concurrent reads are safe, and copies are independent.
/// Stored as  type, data
class CORE_GEOMETRY_API shp_AnalyticSurfaceSegment {
public:
  enum TypeEnm : int { START = 0, LINE = 1, CIRCLE = 2, PARABOLA = 3 };
  using Points = cls_xo1DArrayList<g3d_Point>;

  static unsigned TypeId() noexcept;
  virtual unsigned DynTypeId() const noexcept;
  static void* Ctor(cls_ReadVisitor& visitor);
  static void InitializeMetadata(cls_ClassRegistrar& registrar);

  // make
  shp_AnalyticSurfaceSegment() = default;
  shp_AnalyticSurfaceSegment(TypeEnm type, cow_List<g3d_Point> data);
  explicit shp_AnalyticSurfaceSegment(const cls_ReadVisitor& visitor);
  shp_AnalyticSurfaceSegment(const shp_AnalyticSurfaceSegment&) = default;
  shp_AnalyticSurfaceSegment& operator=(const shp_AnalyticSurfaceSegment&) = default;
  virtual ~shp_AnalyticSurfaceSegment();
  virtual shp_AnalyticSurfaceSegment* Copy() const; ///< owned by the caller
  virtual void DBWrite(const cls_WriteVisitor& visitor) const;

  // ask
  TypeEnm Type() const noexcept { return type_; }
  const cow_List<g3d_Point>& Data() const noexcept { return data_.List(); }
  const cls_Uid& Uid() const noexcept { return uid_; }
  /// Points that a segment of a type has; 0 for a type outside the enumeration.
  static int NumPoints(TypeEnm type) noexcept;
  /// Raises nex_AssertionException unless the type is known and has its points.
  void AssertValid() const;
  bool operator==(const shp_AnalyticSurfaceSegment& other) const;

private:
  static constexpr auto StoredFields();

  TypeEnm type_ = START;
  Points data_;
  cls_OwnUid uid_;
};
template<> struct omu_EnumTable<shp_AnalyticSurfaceSegment::TypeEnm> {
  static constexpr const char* name = "shp_AnalyticSurfaceSegment::TypeEnm";
  static constexpr omu_EnumEntry entries[] = {{shp_AnalyticSurfaceSegment::START, "START"},
                                              {shp_AnalyticSurfaceSegment::LINE, "LINE"},
                                              {shp_AnalyticSurfaceSegment::CIRCLE, "CIRCLE"},
                                              {shp_AnalyticSurfaceSegment::PARABOLA, "PARABOLA"}};
};

using shp_AnalyticSurfaceSegmentList = cls_xo1DArrayList<shp_AnalyticSurfaceSegment>;

/// A named rigid surface: a plane profile, a fillet radius, and vectors that place the profile in space.
///
/// Shortcuts reach the profile by the member "analyticSurfaceProfile", too.
///
/// Empty      the default has no segments.
/// Cost       copy O(1): profile and vectors are shared.
/// Threads    a value: concurrent reads are safe, and copies are independent.
/// Stored as  type, filletRadius, profile, localCoordData, name
class CORE_GEOMETRY_API shp_AnalyticSurface {
public:
  enum TypeEnm : int { SEGMENTS = 0, CYLINDER = 1, REVOLUTION = 2, USER = 3 };
  using Vectors = cls_xo1DArrayList<g3d_Vector>;

  static unsigned TypeId() noexcept;
  virtual unsigned DynTypeId() const noexcept;
  static void* Ctor(cls_ReadVisitor& visitor);
  static void InitializeMetadata(cls_ClassRegistrar& registrar);

  /// Names of the fields, as commands use them.
  static const char* typeCmd() noexcept { return "type"; }
  static const char* filletRadiusCmd() noexcept { return "filletRadius"; }
  static const char* profileCmd() noexcept { return "profile"; }
  static const char* localCoordDataCmd() noexcept { return "localCoordData"; }
  static const char* nameCmd() noexcept { return "name"; }

  // make
  shp_AnalyticSurface() = default;
  explicit shp_AnalyticSurface(const cls_ReadVisitor& visitor);
  shp_AnalyticSurface(const shp_AnalyticSurface&) = default;
  shp_AnalyticSurface& operator=(const shp_AnalyticSurface&) = default;
  virtual ~shp_AnalyticSurface();
  virtual shp_AnalyticSurface* Copy() const; ///< owned by the caller
  virtual void DBWrite(const cls_WriteVisitor& visitor) const;

  // ask
  TypeEnm Type() const noexcept { return type_; }
  double FilletRadius() const noexcept { return filletRadius_; }
  const shp_AnalyticSurfaceSegmentList& Profile() const noexcept { return profile_; }
  const Vectors& LocalCoordData() const noexcept { return localCoordData_; }
  const cow_String& Name() const noexcept { return name_; }
  const cls_Uid& Uid() const noexcept { return uid_; }
  /// Raises nex_AssertionException unless the type is known and every segment valid.
  void AssertValid() const;
  bool operator==(const shp_AnalyticSurface& other) const;

  // change
  void SetType(TypeEnm type) noexcept { type_ = type; }
  void SetFilletRadius(double radius) noexcept { filletRadius_ = radius; }
  void SetProfile(cow_List<shp_AnalyticSurfaceSegment> segments) {
    profile_.ListToModify() = std::move(segments);
  }
  void SetLocalCoordData(cow_List<g3d_Vector> vectors) {
    localCoordData_.ListToModify() = std::move(vectors);
  }
  void SetName(cow_String name) { name_ = std::move(name); }
  /// Rotates the local coordinate vectors; the profile, in its own plane, is not changed.
  void SetTransform(const gsl_Matrix& matrix);

private:
  static constexpr auto StoredFields();

  TypeEnm type_ = SEGMENTS;
  double filletRadius_ = 0.0;
  shp_AnalyticSurfaceSegmentList profile_;
  Vectors localCoordData_;
  cow_String name_;
  cls_OwnUid uid_;
};
template<> struct omu_EnumTable<shp_AnalyticSurface::TypeEnm> {
  static constexpr const char* name = "shp_AnalyticSurface::TypeEnm";
  static constexpr omu_EnumEntry entries[] = {{shp_AnalyticSurface::SEGMENTS, "SEGMENTS"},
                                              {shp_AnalyticSurface::CYLINDER, "CYLINDER"},
                                              {shp_AnalyticSurface::REVOLUTION, "REVOLUTION"},
                                              {shp_AnalyticSurface::USER, "USER"}};
};
