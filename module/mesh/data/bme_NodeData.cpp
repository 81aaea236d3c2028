#include <CoreGeometry/bme_NodeData.h>

#include "bme_Component.h"
#include "bme_FindLabels.h"

#include <cls_Fields.h>
#include <limits>

constexpr auto bme_NodeData::StoredFields() {
  return cls_Fields{cls_Field{"coordinates", &bme_NodeData::coordinates_},
                    cls_Field{"userNodeLabels", &bme_NodeData::labels_},
                    cls_Field{"numDim", &bme_NodeData::numDim_}};
}

namespace {
/// Labels and node numbers in connectivity are 32-bit integers.
void CheckCount(std::size_t nodes) {
  if (nodes > static_cast<std::size_t>(std::numeric_limits<int>::max()))
    throw nex_TextException("a mesh of " + std::to_string(nodes) + " nodes is more than 2147483647");
}
} // namespace

unsigned bme_NodeData::TypeId() noexcept { return bme_TypeId(3); }
unsigned bme_NodeData::DynTypeId() const noexcept { return TypeId(); }
void* bme_NodeData::Ctor(cls_ReadVisitor& visitor) { return new bme_NodeData(visitor); }
void bme_NodeData::InitializeMetadata(cls_ClassRegistrar& registrar) {
  cls_DescribeClass<bme_NodeData>(registrar, "bme_NodeData", 203, StoredFields());
}

bme_NodeData::bme_NodeData() : uid_(cls_Uid::AllocateUid()) {}
bme_NodeData::bme_NodeData(uti_CoordCont3D coordinates, unsigned numDim)
    : coordinates_(std::move(coordinates)), numDim_(numDim), uid_(cls_Uid::AllocateUid()) {
  CheckCount(coordinates_.Size());
}
bme_NodeData::bme_NodeData(const cls_ReadVisitor& visitor) : uid_(visitor.GetUid()) {
  gsl_BBox box;
  bool areTriples = true; // in each piece
  visitor.Watch<float>("coordinates", [&](std::span<const float> xyz) {
    areTriples &= xyz.size() % 3 == 0;
    box.Add(xyz);
  });
  visitor.Watch<int>("userNodeLabels", [this](std::span<const int> labels) { RaiseNextFreeLabel(labels); });
  cls_ReadFields(visitor, *this, StoredFields());
  CheckCount(coordinates_.Size());
  if (areTriples) boxAsRead_ = box;
}
bme_NodeData::~bme_NodeData() = default;
bme_NodeData* bme_NodeData::Copy() const { return new bme_NodeData(*this); }

void bme_NodeData::DBWrite(const cls_WriteVisitor& visitor) const {
  cls_WriteFields(visitor, TypeId(), uid_, *this, StoredFields());
}

bool bme_NodeData::operator==(const bme_NodeData& other) const noexcept {
  return cls_SameFields(*this, other, StoredFields());
}

bool bme_NodeData::GetNodalCoord(unsigned node, float& x, float& y, float& z) const {
  return coordinates_.GetCoord(node, x, y, z);
}
bool bme_NodeData::GetNodalCoord(unsigned node, float& x, float& y) const {
  return coordinates_.GetCoord(node, x, y);
}

uti_Coord3D bme_NodeData::operator[](unsigned node) const {
  uti_Coord3D point;
  if (!GetNodalCoord(node, point.x, point.y, point.z)) throw nex_OutOfRangeException(node, NumNodes());
  return point;
}

bool bme_NodeData::AreNodesEqual(unsigned a, unsigned b, float tolerance) const {
  return coordinates_.AreCoordsEqual(a, b, tolerance);
}

const omi_LabelTable& bme_NodeData::LabelMap() const {
  if (!map_.isValid) {
    map_.content.Clear();
    if (HasUserNodeLabels()) map_.content.Insert(labels_.Const(), 0);
    map_.isValid = true;
  }
  return map_.content;
}

int bme_NodeData::GetMaxUserNodeLabel() const {
  if (!HasUserNodeLabels()) return static_cast<int>(NumNodes());
  return *std::ranges::max_element(labels_.Const());
}

unsigned bme_NodeData::GetMeshNodeIndex(int label) const { return LabelMap().Find(label); }

void bme_NodeData::GetMeshNodeIndices(std::span<const int> labels, std::span<unsigned> indices) const {
  bme_FindLabels(LabelMap(), labels, indices);
}

int bme_NodeData::CheckUserNodeLabels(const cow_List<int>& labels) const {
  const omi_LabelTable& map = LabelMap();
  int position = 0;
  for (const int label : labels) {
    if (map.Find(label) == omi_LabelTable::kNotFound) break;
    ++position;
  }
  return position;
}

int bme_NodeData::NextFreeLabel() const {
  if (nextFreeLabel_ > std::numeric_limits<int>::max())
    throw nex_TextException("no node label is left above 2147483647");
  return static_cast<int>(nextFreeLabel_);
}

int bme_NodeData::TakeFreeLabel() {
  const int label = NextFreeLabel();
  ++nextFreeLabel_;
  return label;
}

void bme_NodeData::RaiseNextFreeLabel(std::span<const int> stored) {
  if (!stored.empty())
    nextFreeLabel_ = std::max(nextFreeLabel_, static_cast<long long>(*std::ranges::max_element(stored)) + 1);
}

bool bme_NodeData::SetNodalCoord(unsigned node, float x, float y, float z) {
  return coordinates_.SetCoord(node, x, y, z);
}

void bme_NodeData::AppendNode(float x, float y, float z, int label) {
  // an empty node table counts as labelled: 0 labels for 0 nodes
  if (labels_.Size() == coordinates_.Size()) {
    labels_.Append(label);
    nextFreeLabel_ = std::max(nextFreeLabel_, static_cast<long long>(label) + 1);
  }
  coordinates_.Append(x, y, z);
  map_.isValid = false;
}

void bme_NodeData::AppendNode(float x, float y, float z) {
  if (HasUserNodeLabels()) labels_.Append(TakeFreeLabel());
  coordinates_.Append(x, y, z);
  map_.isValid = false;
}

void bme_NodeData::AppendNodes(const uti_CoordCont3D& coordinates) {
  if (HasUserNodeLabels()) {
    const long long last = nextFreeLabel_ + static_cast<long long>(coordinates.Size()) - 1;
    if (last > std::numeric_limits<int>::max())
      throw nex_TextException("node labels " + std::to_string(nextFreeLabel_) + " to " + std::to_string(last)
                              + " are needed, which pass 2147483647");
    labels_.Reserve(labels_.Size() + coordinates.Size());
    for (std::size_t i = 0; i < coordinates.Size(); ++i) labels_.Append(static_cast<int>(nextFreeLabel_++));
  }
  CheckCount(coordinates_.Size() + coordinates.Size());
  coordinates_.Append(coordinates);
  map_.isValid = false;
}

void bme_NodeData::AppendNodes(const bme_NodeData& other) {
  const bool takesLabels = other.HasUserNodeLabels() && (coordinates_.IsEmpty() || HasUserNodeLabels());
  if (!takesLabels) {
    AppendNodes(uti_CoordCont3D(other.coordinates_));
    return;
  }
  const cls_xp1DArrayListInt labels = other.labels_; // a handle of its own: `other` may be this table
  if (coordinates_.IsEmpty()) labels_.Clear();
  labels_.Append(labels.Const());
  coordinates_.Append(uti_CoordCont3D(other.coordinates_));
  map_.isValid = false;
  RaiseNextFreeLabel(labels.Const());
}

bool bme_NodeData::DeleteNode(unsigned node) {
  const bool labelled = HasUserNodeLabels();
  if (!coordinates_.Remove(node)) return false;
  map_.isValid = false;
  if (labelled) labels_.Remove(node);
  return true;
}

void bme_NodeData::DeleteNodes(const int* newIndex) {
  const std::span<const int> target(newIndex, NumNodes());
  const auto kept =
      static_cast<std::size_t>(std::ranges::count_if(target, [](int index) { return index >= 0; }));
  std::vector<bool> taken(kept);
  for (std::size_t node = 0; node < target.size(); ++node) {
    if (target[node] < 0) continue;
    const auto index = static_cast<std::size_t>(target[node]);
    if (index >= kept || taken[index])
      throw nex_AssertionException("node " + std::to_string(node) + ": new index " + std::to_string(index)
                                   + (index >= kept ? " is outside the kept nodes" : " is given twice"));
    taken[index] = true;
  }
  // the old table stays as it is while the new one is filled, so any order of new indices is safe
  const uti_CoordCont3D old = coordinates_;
  const bool labelled = HasUserNodeLabels();
  std::vector<int> labels(labelled ? kept : 0);
  uti_CoordCont3D moved;
  moved.Resize(kept);
  const std::span<float> to = moved.Modify();
  for (std::size_t node = 0; node < target.size(); ++node) {
    if (target[node] < 0) continue;
    const auto index = static_cast<std::size_t>(target[node]);
    std::ranges::copy(old.Const().subspan(3 * node, 3), to.begin() + static_cast<std::ptrdiff_t>(3 * index));
    if (labelled) labels[index] = labels_.Const()[node];
  }
  coordinates_ = moved;
  if (labelled) {
    labels_.Clear();
    if (kept > 0) SetUserNodeLabels(labels.data());
  }
  map_.isValid = false;
}

void bme_NodeData::SetUserNodeLabels(const int* labels) {
  const std::size_t count = NumNodes();
  cls_xp1DArrayListInt stored;
  stored.Reserve(count * 5 < 4 ? count : count * 5 / 4);
  stored.Append(std::span(labels, count));
  SetUserNodeLabels(std::move(stored));
}

void bme_NodeData::SetUserNodeLabels(const cow_List<int>& labels) {
  SetUserNodeLabels(cls_xp1DArrayListInt(labels));
}

void bme_NodeData::SetUserNodeLabels(const bme_NodeData& other) { SetUserNodeLabels(other.labels_); }

void bme_NodeData::SetUserNodeLabels(cls_xp1DArrayListInt labels) {
  labels_ = std::move(labels);
  map_.isValid = false;
  RaiseNextFreeLabel(labels_.Const());
  // a list of another length leaves the labels implicit, up to the number of nodes
  if (!HasUserNodeLabels()) nextFreeLabel_ = std::max(nextFreeLabel_, 1LL + NumNodes());
}
