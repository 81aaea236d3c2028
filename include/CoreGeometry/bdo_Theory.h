// bdo_Theory.h: modelling space, kind of body and level of the model
#pragma once

#include <CaeUtils/omu_PrimEnum.h>
#include <CoreGeometry/CoreGeometryExport.h>

/// Level of the model that an object belongs to.
enum bdo_Type : int {
  bdo_TYPE_ASSEMBLY = 128,
  bdo_TYPE_GEOM_PART = 129,
  bdo_TYPE_PART_INSTANCE = 130,
  bdo_TYPE_MESH_PART = 131,
  bdo_TYPE_ODB = 132,
  bdo_TYPE_NONE = 133
};
template<> struct omu_EnumTable<bdo_Type> {
  static constexpr const char* name = "bdo_Type";
  static constexpr omu_EnumEntry entries[] = {{bdo_TYPE_ASSEMBLY, "TYPE_ASSEMBLY"},
                                              {bdo_TYPE_GEOM_PART, "TYPE_GEOM_PART"},
                                              {bdo_TYPE_PART_INSTANCE, "TYPE_PART_INSTANCE"},
                                              {bdo_TYPE_MESH_PART, "TYPE_MESH_PART"},
                                              {bdo_TYPE_ODB, "TYPE_ODB"},
                                              {bdo_TYPE_NONE, "TYPE_NONE"}};
};

/// Modelling space.
enum bdo_Space : int {
  bdo_3D_SPACE = 2000,
  bdo_2D_SPACE = 2001,
  bdo_AXISYMMETRIC_SPACE = 2002,
  bdo_UNKNOWN_SPACE = 2003
};
template<> struct omu_EnumTable<bdo_Space> {
  static constexpr const char* name = "bdo_Space";
  static constexpr omu_EnumEntry entries[] = {{bdo_3D_SPACE, "3D_SPACE"},
                                              {bdo_2D_SPACE, "2D_SPACE"},
                                              {bdo_AXISYMMETRIC_SPACE, "AXISYMMETRIC_SPACE"},
                                              {bdo_UNKNOWN_SPACE, "UNKNOWN_SPACE"}};
};

/// Kind of body.
enum bdo_Analysis : int {
  bdo_UNKNOWN_TYPE = 4000,
  bdo_DEFORMABLE_BODY = 4001,
  bdo_DISCRETE_RIGID_SURFACE = 4002,
  bdo_ANALYTIC_RIGID_SURFACE = 4003,
  bdo_EULERIAN = 4004
};
template<> struct omu_EnumTable<bdo_Analysis> {
  static constexpr const char* name = "bdo_Analysis";
  static constexpr omu_EnumEntry entries[] = {{bdo_UNKNOWN_TYPE, "UNKNOWN_TYPE"},
                                              {bdo_DEFORMABLE_BODY, "DEFORMABLE_BODY"},
                                              {bdo_DISCRETE_RIGID_SURFACE, "DISCRETE_RIGID_SURFACE"},
                                              {bdo_ANALYTIC_RIGID_SURFACE, "ANALYTIC_RIGID_SURFACE"},
                                              {bdo_EULERIAN, "EULERIAN"}};
};

/// Modelling space, kind of body and level of an object of the model.
///
/// Empty      a default object has unknown space and kind, no level and no twist degree of freedom.
/// Errors     a value outside its enumeration is accepted here, and refused when it is written or read.
/// Threads    a value: concurrent reads are safe, and copies are independent.
/// Stored as  space, analysis, type, twistDof
class CORE_GEOMETRY_API bdo_Theory {
public:
  static unsigned TypeId() noexcept;
  virtual unsigned DynTypeId() const noexcept;
  static void* Ctor(cls_ReadVisitor& visitor);
  static void InitializeMetadata(cls_ClassRegistrar& registrar);

  // make
  bdo_Theory() = default;
  bdo_Theory(bdo_Space space, bdo_Analysis analysis, bdo_Type type, bool twistDof);
  explicit bdo_Theory(const cls_ReadVisitor& visitor);
  bdo_Theory(const bdo_Theory&) = default;
  bdo_Theory& operator=(const bdo_Theory&) = default;
  virtual ~bdo_Theory() = default;
  virtual void DBWrite(const cls_WriteVisitor& visitor) const;

  // ask
  bdo_Space Space() const noexcept { return space_; }
  bdo_Analysis Analysis() const noexcept { return analysis_; }
  bdo_Type Type() const noexcept { return type_; }
  bool TwistDof() const noexcept { return twistDof_; }
  const cls_Uid& Uid() const noexcept { return uid_; }
  bool operator==(const bdo_Theory& other) const; ///< all four are equal

  // change
  void SetTwistDof(bool twistDof) noexcept { twistDof_ = twistDof; }

private:
  static constexpr auto StoredFields();

  bdo_Space space_ = bdo_UNKNOWN_SPACE;
  bdo_Analysis analysis_ = bdo_UNKNOWN_TYPE;
  bdo_Type type_ = bdo_TYPE_NONE;
  bool twistDof_ = false;
  cls_OwnUid uid_;
};
