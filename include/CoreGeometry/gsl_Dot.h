// gsl_Dot.h: point construction
#pragma once

#include <CaeUtils/omu_PrimEnum.h>
#include <CoreGeometry/gsl_Point.h>

class ftr_FeatureList;

/// How a dot was obtained. The invalid marker is not the largest value: test for equality only.
enum gsl_DotMethod : int {
  gsl_FROM_POINT = 0,
  gsl_FROM_VERTEX = 1,
  gsl_FROM_DATUM_POINT = 2,
  gsl_FROM_EDGE_PARAM = 3,
  gsl_FROM_FACE_DIM = 4,
  gsl_FROM_EDGE_VTX = 5,
  gsl_FROM_FACE_VTX = 6,
  gsl_FROM_IP_VTX_ONTO_EDGE = 7,
  gsl_FROM_IP_CENTER_OF_EDGE = 8,
  gsl_FROM_IP_MIDPT_OF_EDGE = 9,
  gsl_FROM_NODE = 10,
  gsl_DOT_INVALID = 11,
  gsl_FROM_DATUM_CSYS_ORIGIN = 12
};
template<> struct omu_EnumTable<gsl_DotMethod> {
  static constexpr const char* name = "gsl_DotMethod";
  static constexpr omu_EnumEntry entries[] = {{gsl_FROM_POINT, "gsl_FROM_POINT"},
                                              {gsl_FROM_VERTEX, "gsl_FROM_VERTEX"},
                                              {gsl_FROM_DATUM_POINT, "gsl_FROM_DATUM_POINT"},
                                              {gsl_FROM_EDGE_PARAM, "gsl_FROM_EDGE_PARAM"},
                                              {gsl_FROM_FACE_DIM, "gsl_FROM_FACE_DIM"},
                                              {gsl_FROM_EDGE_VTX, "gsl_FROM_EDGE_VTX"},
                                              {gsl_FROM_FACE_VTX, "gsl_FROM_FACE_VTX"},
                                              {gsl_FROM_IP_VTX_ONTO_EDGE, "gsl_FROM_IP_VTX_ONTO_EDGE"},
                                              {gsl_FROM_IP_CENTER_OF_EDGE, "gsl_FROM_IP_CENTER_OF_EDGE"},
                                              {gsl_FROM_IP_MIDPT_OF_EDGE, "gsl_FROM_IP_MIDPT_OF_EDGE"},
                                              {gsl_FROM_NODE, "gsl_FROM_NODE"},
                                              {gsl_DOT_INVALID, "gsl_DOT_INVALID"},
                                              {gsl_FROM_DATUM_CSYS_ORIGIN, "gsl_FROM_DATUM_CSYS_ORIGIN"}};
};

/// A point, with the method and the entity that it was obtained from.
///
/// Every constructor allocates a fresh uid for the dot, also when it copies; the point in it keeps the uid of
/// the point it was made from.
///
/// Units      model length.
/// Empty      the default dot is the origin, given by coordinates.
/// Threads    a value: concurrent reads are safe, and copies are independent.
/// Stored as  _point, _method, _instanceId, _entityId
class CORE_GEOMETRY_API gsl_Dot {
public:
  static unsigned TypeId() noexcept;
  virtual unsigned DynTypeId() const noexcept;
  static void* Ctor(cls_ReadVisitor& visitor);
  static void InitializeMetadata(cls_ClassRegistrar& registrar);

  // make
  gsl_Dot() noexcept = default;
  gsl_Dot(double x, double y, double z) noexcept : point_(x, y, z) {}
  explicit gsl_Dot(const gsl_Point& point) noexcept { point_ = point; }
  /// At a node whose position is not known yet: SetValues sets it.
  gsl_Dot(int instanceId, int entityId) noexcept;
  gsl_Dot(const gsl_Dot& other) noexcept;
  gsl_Dot& operator=(const gsl_Dot&) noexcept = default;
  explicit gsl_Dot(const cls_ReadVisitor& visitor);
  virtual ~gsl_Dot() = default;
  virtual gsl_Dot* Copy() const; ///< of the same dynamic class, owned by the caller
  virtual void DBWrite(const cls_WriteVisitor& visitor) const;

  // ask
  const gsl_Point& GetPoint() const noexcept { return point_; }
  gsl_DotMethod GetMethod() const noexcept { return method_; }
  int GetInstanceId() const noexcept { return instanceId_; } ///< 0 unless given
  int GetEntityId() const noexcept { return entityId_; }     ///< -1 unless given
  const cls_Uid& Uid() const noexcept { return uid_; }
  virtual int GetUserNodeLabel() const { return 0; } ///< for dots that follow a node
  /// The first of the identifiers that the dot was built from; 0 when there is none.
  int OwnerFeatID() const { return NumParentIds() > 0 ? ParentId(0) : 0; }
  /// True when the dot's dynamic class is the given one or derives from it.
  bool IsA(unsigned typeId) const;

  // change
  /// Keeps the method, the identifiers and the uids.
  void SetValues(double x, double y, double z) noexcept;
  /// Does nothing and returns true: the code that built the dot rebuilds it from its parents.
  virtual bool Regenerate(const ftr_FeatureList* features);

protected:
  virtual int NumParentIds() const { return 0; }
  virtual int ParentId(int) const { return 0; }

private:
  static constexpr auto StoredFields();

  gsl_Point point_;
  gsl_DotMethod method_ = gsl_FROM_POINT;
  int instanceId_ = 0;
  int entityId_ = -1;
  cls_OwnUid uid_;
};

/// True when gsl_Point::IsOn holds for the points of both dots. False when a dot is missing.
CORE_GEOMETRY_API bool gsl_PointsAreCoincident(const gsl_Dot* a, const gsl_Dot* b) noexcept;
/// True when gsl_NormalToThreePoints finds no normal. False when a dot is missing.
CORE_GEOMETRY_API bool gsl_ThreePointsColinear(const gsl_Dot* a, const gsl_Dot* b, const gsl_Dot* c) noexcept;
