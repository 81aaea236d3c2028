#include "dtu_Component.h"

#include <CoreGeometry/dtu_DynamicDatumCsys.h>
#include <cls_Fields.h>

constexpr auto dtu_NodesPackage::StoredFields() {
  return cls_Fields{cls_Field{"node1", &dtu_NodesPackage::node1_},
                    cls_Field{"node2", &dtu_NodesPackage::node2_},
                    cls_Field{"node3", &dtu_NodesPackage::node3_},
                    cls_Field{"nodesOnCircle", &dtu_NodesPackage::nodesOnCircle_}};
}

unsigned dtu_NodesPackage::TypeId() noexcept { return dtu_kNodesPackage; }
unsigned dtu_NodesPackage::DynTypeId() const noexcept { return TypeId(); }
void* dtu_NodesPackage::Ctor(cls_ReadVisitor& visitor) { return new dtu_NodesPackage(visitor); }
void dtu_NodesPackage::InitializeMetadata(cls_ClassRegistrar& registrar) {
  cls_DescribeClass<dtu_NodesPackage>(registrar, "dtu_NodesPackage", dtu_kVersion, StoredFields());
}

dtu_NodesPackage::dtu_NodesPackage(int inst1, int inst2, int inst3, int node1, int node2, int node3,
                                   bool nodesOnCircle)
    : node1_(inst1, node1), node2_(inst2, node2), node3_(inst3, node3), nodesOnCircle_(nodesOnCircle) {}

dtu_NodesPackage::dtu_NodesPackage(const cls_ReadVisitor& visitor) : uid_(visitor.GetUid()) {
  cls_ReadFields(visitor, *this, StoredFields());
}

void dtu_NodesPackage::DBWrite(const cls_WriteVisitor& visitor) const {
  cls_WriteFields(visitor, TypeId(), uid_, *this, StoredFields());
}

const gsl_Dot* dtu_NodesPackage::Node(int i) const noexcept {
  return i == 1 ? &node1_ : i == 2 ? &node2_ : i == 3 ? &node3_ : nullptr;
}

int dtu_NodesPackage::ConstGetInstanceID(int i) const noexcept {
  return Node(i) ? Node(i)->GetInstanceId() : 0;
}

int dtu_NodesPackage::ConstGetNodeLabel(int i) const noexcept { return Node(i) ? Node(i)->GetEntityId() : 0; }

bool dtu_NodesPackage::operator==(const dtu_NodesPackage& other) const noexcept {
  for (int i = 1; i <= 3; ++i)
    if (ConstGetInstanceID(i) != other.ConstGetInstanceID(i)
        || ConstGetNodeLabel(i) != other.ConstGetNodeLabel(i))
      return false;
  return nodesOnCircle_ == other.nodesOnCircle_;
}
