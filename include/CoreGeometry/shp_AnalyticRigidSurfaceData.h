// shp_AnalyticRigidSurfaceData.h: the older record of an analytic rigid surface, by element
#pragma once

#include <BasicUtils/cls_xoList.h>
#include <CaeUtils/g3d_Types.h>
#include <CaeUtils/omu_PrimEnum.h>
#include <CoreGeometry/CoreGeometryExport.h>

/// Kind of segment that a point of the flat list belongs to. The texts are cut to five letters.
enum shp_SuppDataPairEnm : int { shp_START = 0, shp_LINE = 1, shp_CIRCL = 2, shp_PARAB = 3 };
template<> struct omu_EnumTable<shp_SuppDataPairEnm> {
  static constexpr const char* name = "shp_SuppDataPairEnm";
  static constexpr omu_EnumEntry entries[] = {
      {shp_START, "Start"}, {shp_LINE, "Line"}, {shp_CIRCL, "Circl"}, {shp_PARAB, "Parab"}};
};

/// Kind of an analytic rigid surface. The texts are cut short.
enum shp_AnalyticRigidSurfEnm : int { shp_AXISEGS = 0, shp_EXTSEGS = 1, shp_CYLINDER = 2, shp_REVOLUT = 3 };
template<> struct omu_EnumTable<shp_AnalyticRigidSurfEnm> {
  static constexpr const char* name = "shp_AnalyticRigidSurfEnm";
  static constexpr omu_EnumEntry entries[] = {{shp_AXISEGS, "AxiSegs"},
                                              {shp_EXTSEGS, "ExtSegs"},
                                              {shp_CYLINDER, "Cylinder"},
                                              {shp_REVOLUT, "Revolut"}};
};

/// A point of a profile and the kind of segment it belongs to.
///
/// Stored as  value, dataType
class CORE_GEOMETRY_API shp_SuppDataPair {
public:
  static unsigned TypeId() noexcept;
  virtual unsigned DynTypeId() const noexcept;
  static void* Ctor(cls_ReadVisitor& visitor);
  static void InitializeMetadata(cls_ClassRegistrar& registrar);

  // make
  shp_SuppDataPair() = default; ///< a start at the origin
  shp_SuppDataPair(const g3d_Point& value, shp_SuppDataPairEnm dataType);
  explicit shp_SuppDataPair(const cls_ReadVisitor& visitor);
  shp_SuppDataPair(const shp_SuppDataPair&) = default;
  shp_SuppDataPair& operator=(const shp_SuppDataPair&) = default;
  virtual ~shp_SuppDataPair() = default;
  virtual void DBWrite(const cls_WriteVisitor& visitor) const;

  // ask
  const g3d_Point& Value() const noexcept { return value_; }
  shp_SuppDataPairEnm DataType() const noexcept { return dataType_; }
  const cls_Uid& Uid() const noexcept { return uid_; }
  bool operator==(const shp_SuppDataPair& other) const;

private:
  static constexpr auto StoredFields();

  g3d_Point value_;
  shp_SuppDataPairEnm dataType_ = shp_START;
  cls_OwnUid uid_;
};

using shp_SuppDataPairList = cls_xoList<shp_SuppDataPair>;

/// The rigid surface of one element as a flat list of typed points.
///
/// Empty      the default is of the first kind and has no points.
/// Cost       copy O(1): the lists are shared.
/// Threads    a value: concurrent reads are safe, and copies are independent.
/// Stored as  meshIndex, classIndex, elemIndex, surfaceName, surfaceType, localCoordDef, dataPairList
class CORE_GEOMETRY_API shp_AnalyticRigidSurfaceData {
public:
  using Vectors = cls_xo1DArrayList<g3d_Vector>;

  static unsigned TypeId() noexcept;
  virtual unsigned DynTypeId() const noexcept;
  static void* Ctor(cls_ReadVisitor& visitor);
  static void InitializeMetadata(cls_ClassRegistrar& registrar);

  // make
  shp_AnalyticRigidSurfaceData() = default;
  explicit shp_AnalyticRigidSurfaceData(shp_AnalyticRigidSurfEnm surfaceType);
  explicit shp_AnalyticRigidSurfaceData(const cls_ReadVisitor& visitor);
  shp_AnalyticRigidSurfaceData(const shp_AnalyticRigidSurfaceData&) = default;
  shp_AnalyticRigidSurfaceData& operator=(const shp_AnalyticRigidSurfaceData&) = default;
  virtual ~shp_AnalyticRigidSurfaceData() = default;
  virtual shp_AnalyticRigidSurfaceData* Copy() const; ///< owned by the caller
  virtual void DBWrite(const cls_WriteVisitor& visitor) const;

  // ask
  int MeshIndex() const noexcept { return meshIndex_; }
  int ClassIndex() const noexcept { return classIndex_; }
  int ElemIndex() const noexcept { return elemIndex_; }
  const cow_String& SurfaceName() const noexcept { return surfaceName_; }
  shp_AnalyticRigidSurfEnm SurfaceType() const noexcept { return surfaceType_; }
  const Vectors& LocalCoordDef() const noexcept { return localCoordDef_; }
  const shp_SuppDataPairList& DataPairList() const noexcept { return dataPairList_; }
  const cls_Uid& Uid() const noexcept { return uid_; }
  bool operator==(const shp_AnalyticRigidSurfaceData& other) const;

  // change
  void SetElement(int meshIndex, int classIndex, int elemIndex) noexcept;
  void SetSurfaceName(cow_String name) { surfaceName_ = std::move(name); }
  void SetLocalCoordDef(cow_List<g3d_Vector> vectors) { localCoordDef_.ListToModify() = std::move(vectors); }
  void SetDataPairList(cow_List<shp_SuppDataPair> pairs) { dataPairList_.ListToModify() = std::move(pairs); }

private:
  static constexpr auto StoredFields();

  int meshIndex_ = 0, classIndex_ = 0, elemIndex_ = 0;
  cow_String surfaceName_;
  shp_AnalyticRigidSurfEnm surfaceType_ = shp_AXISEGS;
  Vectors localCoordDef_;
  shp_SuppDataPairList dataPairList_;
  cls_OwnUid uid_;
};
