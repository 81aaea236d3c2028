#include <CoreGeometry/dtu_6dofNodeDatumCsys.h>

#include "dtu_Component.h"
#include "dtu_StoredFields.h"
#include <CoreGeometry/gsl_Matrix.h>

constexpr auto dtu_6dofNodeDatumCsys::StoredFields() {
  return dtu_DatumCsys::StoredFields() + cls_Fields{cls_Field{"node", &dtu_6dofNodeDatumCsys::node_}};
}

unsigned dtu_6dofNodeDatumCsys::TypeId() noexcept { return dtu_k6dofNodeDatumCsys; }
unsigned dtu_6dofNodeDatumCsys::DynTypeId() const noexcept { return TypeId(); }
void* dtu_6dofNodeDatumCsys::Ctor(cls_ReadVisitor& visitor) { return new dtu_6dofNodeDatumCsys(visitor); }
void dtu_6dofNodeDatumCsys::InitializeMetadata(cls_ClassRegistrar& registrar) {
  cls_DescribeBase<dtu_6dofNodeDatumCsys, dtu_DatumCsys>(cls_DescribeClass<dtu_6dofNodeDatumCsys>(
      registrar, "dtu_6dofNodeDatumCsys", dtu_kVersion, StoredFields()));
}

dtu_6dofNodeDatumCsys::dtu_6dofNodeDatumCsys(const cls_ReadVisitor& visitor) {
  uid_ = visitor.GetUid();
  cls_ReadFields(visitor, *this, StoredFields());
  RecoverReference();
}

void dtu_6dofNodeDatumCsys::DBWrite(const cls_WriteVisitor& visitor) const {
  cls_WriteFields(visitor, TypeId(), uid_, *this, StoredFields());
}

dtu_Datum* dtu_6dofNodeDatumCsys::Copy() const { return new dtu_6dofNodeDatumCsys(*this); }

dtu_6dofNodeDatumCsys::dtu_6dofNodeDatumCsys(unsigned id, unsigned secondId, int instance, int node,
                                             dtu_DatumCsysType csysType, const dtu_DatumCsys* reference)
    : dtu_DatumCsys(id, secondId, {}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}, csysType), node_(instance, node) {
  if (!reference) return;
  reference->Geometry(origin_, reference_[0], reference_[1], reference_[2]);
  xAxis_ = reference_[0];
  yAxis_ = reference_[1];
  zAxis_ = reference_[2];
}

void dtu_6dofNodeDatumCsys::Print(aio_ostream& out) const {
  dtu_DatumCsys::Print(out);
  out << "6-DOF node: " << GetNodeInfo() << std::endl;
}

cow_String dtu_6dofNodeDatumCsys::GetNodeInfo() const {
  return "inst1:" + std::to_string(node_.GetInstanceId()) + " node1:" + std::to_string(node_.GetEntityId());
}

dtu_DatumCsys* dtu_6dofNodeDatumCsys::GetDisplayCoordSystem() const {
  return new dtu_DatumCsys(featId_, instFeatId_, display_.origin, display_.x, display_.y, display_.z,
                           csysType_);
}

void dtu_6dofNodeDatumCsys::DisplayGeometry(gsl_Point& origin, gsl_Vector& x, gsl_Vector& y,
                                            gsl_Vector& z) const {
  origin = display_.origin;
  x = display_.x;
  y = display_.y;
  z = display_.z;
}

namespace {
/// The turn by a vector along the axis, as long as the angle, times the factor 1 or -1.
gsl_Matrix TurnBy(const gsl_Vector& rotation, double factor) {
  gsl_Matrix turn;
  turn.AxisRotation({}, rotation, factor * rotation.Magnitude());
  return turn;
}
} // namespace

void dtu_6dofNodeDatumCsys::RecoverReference() {
  const gsl_Point& stored = node_.GetPoint();
  const gsl_Matrix back = TurnBy({stored[0], stored[1], stored[2]}, -1);
  const gsl_Vector* const axes[] = {&xAxis_.Vector(), &yAxis_.Vector(), &zAxis_.Vector()};
  for (unsigned i = 0; i < 3; ++i) {
    reference_[i] = *axes[i];
    back.Transform(reference_[i]);
  }
}

void dtu_6dofNodeDatumCsys::TransformData(const gsl_Matrix& matrix) {
  dtu_DatumCsys::TransformData(matrix);
  RecoverReference();
}

void dtu_6dofNodeDatumCsys::Regenerate(const dtu_6dofNodeCoord& coords, bool display) {
  const gsl_Point position(coords.position[0], coords.position[1], coords.position[2]);
  const gsl_Vector rotation(coords.rotation[0], coords.rotation[1], coords.rotation[2]);
  const gsl_Matrix turn = TurnBy(rotation, 1);
  gsl_Vector* const axes[] = {display ? &display_.x : &xAxis_.Vector(),
                              display ? &display_.y : &yAxis_.Vector(),
                              display ? &display_.z : &zAxis_.Vector()};
  (display ? display_.origin : origin_) = position;
  for (unsigned i = 0; i < 3; ++i) {
    *axes[i] = reference_[i];
    turn.Transform(*axes[i]);
  }
  if (!display) node_.SetValues(rotation[0], rotation[1], rotation[2]);
}

bool dtu_6dofNodeDatumCsys::IsSame(const dtu_Datum& other) const {
  const gsl_Dot& node = static_cast<const dtu_6dofNodeDatumCsys&>(other).node_;
  return dtu_DatumCsys::IsSame(other) && node_.GetInstanceId() == node.GetInstanceId()
         && node_.GetEntityId() == node.GetEntityId() && node_.GetPoint() == node.GetPoint();
}
