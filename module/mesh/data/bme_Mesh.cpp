#include <CoreGeometry/bme_Mesh.h>

#include "bme_ClassWalk.h"
#include "bme_Component.h"
#include "bme_PrintCounts.h"

#include <BasicUtils/wip_Executor.h>
#include <CoreGeometry/bme_FEMConnect.h>
#include <CoreGeometry/gsl_Matrix.h>
#include <CoreGeometry/shp_ShapeDictionary.h>
#include <CoreUtils/omi_timers.h>
#include <cls_Fields.h>
#include <typeinfo>

constexpr auto bme_Mesh::StoredFields() {
  return cls_Fields{cls_Field{"id", &bme_Mesh::id_},
                    cls_Field{"nodeData", &bme_Mesh::nodeData_},
                    cls_Field{"elemData", &bme_Mesh::elemData_},
                    cls_Field{"meshType", &bme_Mesh::meshType_},
                    cls_Field{"timeStamp", &bme_Mesh::timeStamp_},
                    cls_Field{"transform", &bme_Mesh::transform_}};
}

unsigned bme_Mesh::TypeId() noexcept { return bme_TypeId(1); }
unsigned bme_Mesh::DynTypeId() const noexcept { return TypeId(); }
void* bme_Mesh::Ctor(cls_ReadVisitor& visitor) {
  if (bme_Traces(2)) aio_DebugStream() << "Reading bme_Mesh\n";
  return new bme_Mesh(visitor);
}
void bme_Mesh::InitializeMetadata(cls_ClassRegistrar& registrar) {
  cls_DescribeClass<bme_Mesh>(registrar, "bme_Mesh", 508, StoredFields()).AddTimeStamp("timeStamp");
}

bme_Mesh::bme_Mesh() : bme_Mesh(bme_ORPHAN_MESH) {}
bme_Mesh::bme_Mesh(bme_MeshType type) : bme_Mesh(0, nullptr, nullptr, type, nullptr) {}

bme_Mesh::bme_Mesh(unsigned id, bme_NodeData* nodes, bme_ElementData* elements, bme_MeshType type,
                   const gsl_Matrix* transform)
    : id_(static_cast<int>(id)), nodeData_(nodes ? nodes : new bme_NodeData),
      elemData_(elements ? elements : new bme_ElementData), meshType_(type), timeStamp_(omi_gettimecounter()),
      uid_(cls_Uid::AllocateUid()) {
  if (transform) transform_ = *transform;
  ComputeSphere();
}

bme_Mesh::bme_Mesh(unsigned id, unsigned /*numNodes*/, uti_CoordCont3D& coordinates, unsigned numClasses,
                   bme_ElementClass** classes, bme_MeshType type, unsigned numDim,
                   const gsl_Matrix* transform)
    : bme_Mesh(id, nullptr, new bme_ElementData(classes, numClasses), type, transform) {
  nodeData_ = cow_COW<bme_NodeData, cow_Virtual<bme_NodeData>>(new bme_NodeData(coordinates, numDim));
  ComputeSphere();
}

bme_Mesh::bme_Mesh(const bme_Mesh& other, unsigned newId) : bme_Mesh(other) {
  id_ = static_cast<int>(newId);
  nodeData_ = cow_COW<bme_NodeData, cow_Virtual<bme_NodeData>>(other.NodeData().Copy());
  elemData_ = cow_COW<bme_ElementData>(new bme_ElementData(other.ElementData()));
}

bme_Mesh::bme_Mesh(const cls_ReadVisitor& visitor) : uid_(visitor.GetUid()) {
  cls_ReadFields(visitor, *this, StoredFields());
  if (nodeData_.IsNull()) nodeData_ = cow_COW<bme_NodeData, cow_Virtual<bme_NodeData>>(new bme_NodeData);
  if (elemData_.IsNull()) elemData_ = cow_COW<bme_ElementData>(new bme_ElementData);
  const bme_NodeData& nodes = NodeData();
  if (nodes.boxAsRead_ && typeid(nodes) == typeid(bme_NodeData))
    sphere_ = nodes.boxAsRead_->GetExtent();
  else
    ComputeSphere();
}

bme_Mesh::~bme_Mesh() = default;
bme_Mesh* bme_Mesh::VirtualCopy() const { return new bme_Mesh(*this); }

void bme_Mesh::DBWrite(const cls_WriteVisitor& visitor) const {
  cls_WriteFields(visitor, TypeId(), uid_, *this, StoredFields());
}

namespace {
constexpr std::size_t kNumbers = 3 * (std::size_t{1} << 16); ///< of coordinates in one piece

template<class T> std::span<T> PieceOf(std::span<T> xyz, std::size_t piece) {
  return xyz.subspan(piece * kNumbers, std::min(kNumbers, xyz.size() - piece * kNumbers));
}
} // namespace

gsl_BBox bme_Mesh::GetBBox() const {
  gsl_BBox box;
  const bme_NodeData& nodes = NodeData();
  if (typeid(nodes) == typeid(bme_NodeData)) {
    const std::span<const float> xyz = nodes.Coordinates().Const();
    if (wip_NumThreads() < 2) {
      box.Add(xyz);
    } else {
      std::vector<gsl_BBox> boxes((xyz.size() + kNumbers - 1) / kNumbers);
      wip_RunAllPieces(boxes.size(), [&](std::size_t k) { boxes[k].Add(PieceOf(xyz, k)); });
      for (const gsl_BBox& one : boxes) box.Add(one);
    }
  } else {
    float point[3];
    for (unsigned node = 0; node < nodes.NumNodes(); ++node)
      if (nodes.GetNodalCoord(node, point[0], point[1], point[2])) box.Add(std::span<const float>(point));
  }
  return box;
}

void bme_Mesh::ComputeSphere() { sphere_ = GetBBox().GetExtent(); }

unsigned bme_Mesh::GetMeshElemIndexFromLabel(int label) const {
  return ElementData().GetMeshElemIndexFromLabel(static_cast<unsigned>(label));
}

bool bme_Mesh::GetClassAndElemIndexFromElementLabel(int label, unsigned& classIndex,
                                                    unsigned& elemIndexInClass) const {
  return ElementData().GetClassAndElemIndex(GetMeshElemIndexFromLabel(label), classIndex, elemIndexInClass);
}

void bme_Mesh::ApplyTransform(const gsl_Matrix& matrix) {
  bme_NodeData& nodes = nodeData_.Modify();
  if (typeid(nodes) == typeid(bme_NodeData)) {
    const std::span<float> xyz = nodes.CoordinatesToModify();
    wip_RunAllPieces((xyz.size() + kNumbers - 1) / kNumbers,
                     [&](std::size_t k) { matrix.Transform(PieceOf(xyz, k)); });
  } else {
    float point[3];
    for (unsigned node = 0; node < nodes.NumNodes(); ++node) {
      if (!nodes.GetNodalCoord(node, point[0], point[1], point[2])) continue;
      matrix.Transform(std::span<float>(point));
      nodes.SetNodalCoord(node, point[0], point[1], point[2]);
    }
  }
  ComputeSphere();
}

void bme_Mesh::CreateInverseConnectivity() const {
  connectivity_.content = std::make_shared<bme_FEMConnect>(*this);
  connectivity_.isValid = true;
}

const bme_FEMConnect& bme_Mesh::Connectivity() const {
  if (!connectivity_.isValid) CreateInverseConnectivity();
  return *connectivity_.content;
}

void bme_Mesh::InvalidateMeshData() noexcept {
  connectivity_.isValid = false;
  connectivity_.content.reset();
  ++changeCount_.count;
}

bool bme_Mesh::ComputeFaceNorml(const bme_ElementClass& elements, unsigned elemIndexInClass, unsigned face,
                                g3d_Vector& normal) const {
  normal = {};
  const shp_Shape* shape = elements.Shape();
  if (!shape || elemIndexInClass >= static_cast<unsigned>(elements.NumElements())
      || face >= bme_NumListedFaces(*shape))
    return false;
  const std::span<const int> row = elements.Connectivity(static_cast<int>(elemIndexInClass));
  for (const int corner : bme_Corners(*shape, face))
    if (static_cast<unsigned>(row[static_cast<std::size_t>(corner)]) >= NodeData().NumNodes()) return false;
  std::array<double, 3> found{};
  const bool hasArea =
      shape->ComputeFaceNormal(row, static_cast<int>(face), NodeData().Coordinates().Const(), found) != 0;
  for (unsigned axis = 0; axis < 3; ++axis) normal[axis] = static_cast<float>(found[axis]);
  return hasArea;
}

void bme_Mesh::Print(aio_ostream& out) const {
  std::vector<bme_CountedClass> classes;
  for (const auto& [position, type] : ElementData().ElementClasses())
    classes.push_back({type->NumElements(), &*type});
  bme_PrintCounts(out, id_, NodeData().NumNodes(), classes);
}

void bme_PrintCounts(aio_ostream& out, int id, unsigned numNodes, std::span<const bme_CountedClass> classes) {
  out << "Mesh ID : " << id << std::endl;
  out << "  Number of nodes:           " << numNodes << std::endl;
  out << "  Number of element classes: " << classes.size() << std::endl;
  for (std::size_t i = 0; i < classes.size(); ++i) {
    const bme_ElementClass& type = *classes[i].type;
    out << "  Element class #: " << i << std::endl;
    out << "    Number of elements :         " << classes[i].numElements << std::endl;
    out << "    Element type label:          " << type.ElemTypeLabel() << std::endl;
    if (const shp_Shape* shape = type.Shape())
      out << "    Number of nodes per element: " << shape->NumNodes() << std::endl;
    else
      out << "    Unsupported shape" << std::endl;
  }
  out << std::endl;
}
