#include <CoreGeometry/dtu_DynamicDatumCsys.h>

#include "dtu_Component.h"
#include "dtu_StoredFields.h"
#include <CoreGeometry/gsl_ThreePoints.h>

constexpr auto dtu_DynamicDatumCsys::StoredFields() {
  return dtu_DatumCsys::StoredFields()
         + cls_Fields{cls_Field{"_nodesPackage", &dtu_DynamicDatumCsys::nodesPackage_}};
}

unsigned dtu_DynamicDatumCsys::TypeId() noexcept { return dtu_kDynamicDatumCsys; }
unsigned dtu_DynamicDatumCsys::DynTypeId() const noexcept { return TypeId(); }
void* dtu_DynamicDatumCsys::Ctor(cls_ReadVisitor& visitor) { return new dtu_DynamicDatumCsys(visitor); }
void dtu_DynamicDatumCsys::InitializeMetadata(cls_ClassRegistrar& registrar) {
  cls_DescribeBase<dtu_DynamicDatumCsys, dtu_DatumCsys>(cls_DescribeClass<dtu_DynamicDatumCsys>(
      registrar, "dtu_DynamicDatumCsys", dtu_kVersion, StoredFields()));
}

dtu_DynamicDatumCsys::dtu_DynamicDatumCsys(const cls_ReadVisitor& visitor) {
  uid_ = visitor.GetUid();
  cls_ReadFields(visitor, *this, StoredFields());
}

void dtu_DynamicDatumCsys::DBWrite(const cls_WriteVisitor& visitor) const {
  cls_WriteFields(visitor, TypeId(), uid_, *this, StoredFields());
}

dtu_Datum* dtu_DynamicDatumCsys::Copy() const { return new dtu_DynamicDatumCsys(*this); }

dtu_DynamicDatumCsys::dtu_DynamicDatumCsys(unsigned id, unsigned secondId, int inst1, int inst2, int inst3,
                                           int node1, int node2, int node3, dtu_DatumCsysType csysType,
                                           bool nodesOnCircle)
    : dtu_DatumCsys(id, secondId, {}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}, csysType),
      nodesPackage_(inst1, inst2, inst3, node1, node2, node3, nodesOnCircle) {}

cow_String dtu_DynamicDatumCsys::GetNodeInfo() const {
  cow_String text;
  for (int i = 1; i <= 3; ++i)
    text += "inst" + std::to_string(i) + ":" + std::to_string(nodesPackage_.ConstGetInstanceID(i)) + " ";
  for (int i = 1; i <= 3; ++i)
    text += "node" + std::to_string(i) + ":" + std::to_string(nodesPackage_.ConstGetNodeLabel(i)) + " ";
  text.pop_back();
  return text;
}

dtu_DatumCsys* dtu_DynamicDatumCsys::GetDisplayCoordSystem() const {
  return new dtu_DatumCsys(featId_, instFeatId_, display_.origin, display_.x, display_.y, display_.z,
                           csysType_);
}

void dtu_DynamicDatumCsys::DisplayGeometry(gsl_Point& origin, gsl_Vector& x, gsl_Vector& y,
                                           gsl_Vector& z) const {
  origin = display_.origin;
  x = display_.x;
  y = display_.y;
  z = display_.z;
}

bool dtu_DynamicDatumCsys::Regenerate(const dtu_NodesCoordPackage& coords, bool display) {
  const auto node = [&](unsigned i) {
    const auto& at = coords.coordinates[i];
    return gsl_Point(at[0], at[1], at[2]);
  };
  const gsl_Point p1 = node(0), p2 = node(1), p3 = node(2);
  gsl_Vector normal;
  if (!gsl_NormalToThreePoints(p1, p2, p3, normal)) return false;
  const bool circular = nodesPackage_.NodesOnCircle();
  if (display)
    gsl_Transcribe3PointsIntoOriginAndAxes(circular, p1, p2, p3, display_.origin, display_.x, display_.y,
                                           display_.z);
  else
    gsl_Transcribe3PointsIntoOriginAndAxes(circular, p1, p2, p3, origin_, xAxis_.Vector(), yAxis_.Vector(),
                                           zAxis_.Vector());
  return true;
}

bool dtu_DynamicDatumCsys::IsSame(const dtu_Datum& other) const {
  return dtu_DatumCsys::IsSame(other)
         && nodesPackage_ == static_cast<const dtu_DynamicDatumCsys&>(other).nodesPackage_;
}
