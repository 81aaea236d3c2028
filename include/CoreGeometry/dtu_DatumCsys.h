// dtu_DatumCsys.h: datum coordinate system
#pragma once

#include <CaeUtils/g3d_Types.h>
#include <CoreGeometry/dtu_Datum.h>
#include <CoreGeometry/gsl_PersistentVector.h>

/// Kind of a coordinate system. There is no zero.
enum dtu_DatumCsysType : int { dtu_CARTESIAN = 1, dtu_CYLINDRICAL = 2, dtu_SPHERICAL = 3 };
template<> struct omu_EnumTable<dtu_DatumCsysType> {
  static constexpr const char* name = "dtu_DatumCsysType";
  static constexpr omu_EnumEntry entries[] = {
      {dtu_CARTESIAN, "CARTESIAN"}, {dtu_CYLINDRICAL, "CYLINDRICAL"}, {dtu_SPHERICAL, "SPHERICAL"}};
};

/// Origin and three axes with a kind. Points are mapped by dtu_Mapping.h.
///
/// The axes are stored as given: neither normalised nor made orthogonal. A kind outside the enumeration is
/// accepted, and refused when it is written.
///
/// Units      model length.
/// Empty      the default is the global system, cartesian.
/// Threads    a value: concurrent reads are safe, and copies are independent.
/// Stored as  the fields of dtu_Datum, _origin, _x_axis, _y_axis, _z_axis, _csysType
class CORE_GEOMETRY_API dtu_DatumCsys : public dtu_Datum {
public:
  static unsigned TypeId() noexcept;
  static void* Ctor(cls_ReadVisitor& visitor);
  static void InitializeMetadata(cls_ClassRegistrar& registrar);

  // make
  dtu_DatumCsys();
  dtu_DatumCsys(unsigned id, unsigned secondId, const gsl_Point& origin, const gsl_Vector& x,
                const gsl_Vector& y, const gsl_Vector& z, dtu_DatumCsysType csysType);
  /// The same, moved by the matrix.
  dtu_DatumCsys(unsigned id, unsigned secondId, const gsl_Point& origin, const gsl_Vector& x,
                const gsl_Vector& y, const gsl_Vector& z, dtu_DatumCsysType csysType,
                const gsl_Matrix& matrix);
  explicit dtu_DatumCsys(const cls_ReadVisitor& visitor);
  dtu_DatumCsys(const dtu_DatumCsys&) = default;
  dtu_DatumCsys& operator=(const dtu_DatumCsys&) = default;
  ~dtu_DatumCsys() override;
  dtu_Datum* Copy() const override;
  using dtu_Datum::Copy;

  void TransformData(const gsl_Matrix& matrix) override;
  /// Four titles, each with its value behind or below it; every line is flushed.
  void Print(aio_ostream& out) const override;
  void UpdateOutline(const gsl_BBox& box) override; ///< nothing is kept of it
  gsl_Point Point() const override;                 ///< the origin
  unsigned DynTypeId() const noexcept override;
  void DBWrite(const cls_WriteVisitor& visitor) const override;
  /// The system as it is drawn, owned by the caller.
  virtual dtu_DatumCsys* GetDisplayCoordSystem() const;
  virtual gsl_Point& Origin() { return origin_; }
  virtual const gsl_Point& Origin() const { return origin_; }
  virtual gsl_Vector& Xaxis() { return xAxis_.Vector(); }
  virtual const gsl_Vector& Xaxis() const { return xAxis_.Vector(); }
  virtual gsl_Vector& Yaxis() { return yAxis_.Vector(); }
  virtual const gsl_Vector& Yaxis() const { return yAxis_.Vector(); }
  virtual gsl_Vector& Zaxis() { return zAxis_.Vector(); }
  virtual const gsl_Vector& Zaxis() const { return zAxis_.Vector(); }
  /// The frame as it is drawn.
  virtual void DisplayGeometry(gsl_Point& origin, gsl_Vector& x, gsl_Vector& y, gsl_Vector& z) const;
  virtual cow_String GetLabels() const; ///< name of the axis labels of the kind
  virtual dtu_DatumCsysType GetCsysType() const { return csysType_; }
  virtual dtu_DatumCsysType& CsysType() { return csysType_; }
  virtual void SetCsysType(dtu_DatumCsysType csysType) { csysType_ = csysType; }

  // ask
  void Geometry(gsl_Point& origin, gsl_Vector& x, gsl_Vector& y, gsl_Vector& z) const;
  /// From local cartesian to global coordinates; the axes are taken as unit vectors.
  void TransformPoint(gsl_Point& p) const;
  void RelativeTranslation(const dtu_DatumCsys& other, g3d_Vector& t) const; ///< from the other's origin
  /// Rotation that takes the other system's axes to this one's; see gsl_Matrix::GetAxisRotation.
  void RelativeRotation(const dtu_DatumCsys& other, gsl_Vector& axis, double& angle) const;
  void RelativeTransform(const dtu_DatumCsys& other, g3d_XForm& xf) const; ///< both
  /// x, y, z, w; (0, 0, 0, 1) below gsl_Util's relative tolerance.
  void RelativeRotationQuaternion(const dtu_DatumCsys& other, float q[4]) const;

protected:
  static constexpr auto StoredFields();
  bool IsSame(const dtu_Datum& other) const override;

  gsl_Point origin_;
  gsl_PersistentVector xAxis_, yAxis_, zAxis_;
  dtu_DatumCsysType csysType_ = dtu_CARTESIAN;

private:
  gsl_Matrix RotationFrom(const dtu_DatumCsys& other) const;
};

class gsl_Dot;
class gsl_StLine;

/// A cartesian system from up to three dots and two lines; any of them may be null. The first direction gives
/// the axis whose flag is set (the first of several): from dots[0], the origin, to dots[1], else along
/// lines[0], else that axis itself. The second direction, from dots[2] or lines[1] in the same way, lies in
/// the plane of that axis and the next one. The axes are not normalised: they are products of the two
/// directions. Without a flag all three are (0, 0, 1). Coincident dots give zero axes.
CORE_GEOMETRY_API dtu_DatumCsys dtu_CreateCsys(gsl_Dot** dots, gsl_StLine** lines, bool xFirst, bool yFirst,
                                               bool zFirst);
