#include <CoreGeometry/bme_StoredMesh.h>

#include "bme_PrintCounts.h"

#include <BasicUtils/cls_ReadView.h>
#include <BasicUtils/cls_StoredArray.h>
#include <CoreGeometry/bme_EntityWord.h>
#include <CoreGeometry/shp_Shape.h>
#include <algorithm>
#include <bitset>
#include <numeric>

namespace {
constexpr std::size_t kPiece = std::size_t{1}
                               << 19; ///< numbers that are read at once, as many as a chunk has

struct MeshFacts {
  explicit MeshFacts(const cls_ReadVisitor& mesh)
      : id(mesh.GetInt("id")), placement(gsl_PersistentMatrix(cls_ReadVisitor(mesh, "transform")).Matrix()) {}
  int id;
  bme_Placement placement;
};

struct NodeFacts {
  explicit NodeFacts(const cls_ReadVisitor& nodes)
      : numDim(nodes.GetUint("numDim")),
        numNodes(cls_ReadVisitor(nodes, "coordinates").GetArraySize<float>() / 3),
        numLabels(cls_ReadVisitor(nodes, "userNodeLabels").GetArraySize<int>()) {}
  unsigned numDim;
  std::size_t numNodes, numLabels;
};

struct ClassKeys {
  explicit ClassKeys(const cls_ReadVisitor& elements)
      : keys(cls_ReadVisitor(elements, "classes").GetMapKeys()) {}
  std::vector<int> keys;
};

struct ClassFacts {
  explicit ClassFacts(const cls_ReadVisitor& type)
      : kind(0, type.GetString("elemTypeLabel"), type.GetInt("meshIndex"), type.GetInt("regionClassIndex"),
             type.GetInt("regionIndex"), type.GetString("categoryLabel"), type.GetInt("classIndex"),
             bme_ORIENTATION_NONE),
        numElements(type.GetUint("numElements")),
        numLabels(cls_ReadVisitor(type, "DDBuserElementLabel").GetArraySize<int>()) {
    kind.SetElemControlParams(bme_ElemCtrlParams(cls_ReadVisitor(type, "elemCtrlParams")));
    const std::size_t size = cls_ReadVisitor(type, "DDBconnectivity").GetArraySize<int>();
    if (const shp_Shape* shape = kind.Shape())
      nodesPerElement = static_cast<unsigned>(shape->NumNodes());
    else if (numElements > 0)
      nodesPerElement = static_cast<unsigned>(size / numElements);
    if (size != std::size_t{numElements} * nodesPerElement || (numLabels != 0 && numLabels != numElements))
      type.Refuse(std::to_string(size) + " node numbers and " + std::to_string(numLabels)
                  + " labels do not make " + std::to_string(numElements) + " elements");
  }
  bme_ElementClass kind;
  unsigned numElements, nodesPerElement = 0;
  std::size_t numLabels;
};

/// Finds labels among many as these pass by; the last one counts.
class LabelSearch {
public:
  explicit LabelSearch(std::span<const int> wanted) : wanted_(wanted.begin(), wanted.end()) {
    std::ranges::sort(wanted_);
    wanted_.erase(std::unique(wanted_.begin(), wanted_.end()), wanted_.end());
    found_.assign(wanted_.size(), bme_kNotFound);
    for (const int label : wanted_) mayBe_.set(LowBits(label));
  }

  void Pass(std::span<const int> labels, unsigned first) {
    constexpr std::size_t kBlock = 1024; // most blocks have no label between the smallest and the largest one
    const auto low = static_cast<unsigned>(wanted_.front());
    const unsigned range = static_cast<unsigned>(wanted_.back()) - low;
    for (std::size_t begin = 0; begin < labels.size(); begin += kBlock) {
      const std::size_t end = std::min(begin + kBlock, labels.size());
      bool hasAny = false;
      for (std::size_t i = begin; i < end; ++i) hasAny |= static_cast<unsigned>(labels[i]) - low <= range;
      if (!hasAny) continue;
      for (std::size_t i = begin; i < end; ++i) {
        if (!mayBe_[LowBits(labels[i])]) continue;
        const auto at = std::ranges::lower_bound(wanted_, labels[i]);
        if (at != wanted_.end() && *at == labels[i])
          found_[static_cast<std::size_t>(at - wanted_.begin())] = first + static_cast<unsigned>(i);
      }
    }
  }

  std::vector<unsigned> Of(std::span<const int> labels) const {
    std::vector<unsigned> indices(labels.size());
    std::ranges::transform(labels, indices.begin(), [&](int label) {
      return found_[static_cast<std::size_t>(std::ranges::lower_bound(wanted_, label) - wanted_.begin())];
    });
    return indices;
  }

private:
  static constexpr std::size_t kBits = std::size_t{1} << 16;
  static std::size_t LowBits(int label) { return static_cast<unsigned>(label) % kBits; }

  std::vector<int> wanted_; ///< ascending
  std::vector<unsigned> found_;
  std::bitset<kBits> mayBe_;
};

/// Rows of an array by number, in the order in which they are asked for. Rows that are near each other are
/// read together.
template<class T>
std::vector<T> Gather(const cls_Database& model, const cls_Location& field, std::size_t width,
                      std::span<const int> rows) {
  std::vector<T> gathered(rows.size() * width), window;
  std::vector<std::size_t> order(rows.size());
  std::iota(order.begin(), order.end(), 0);
  if (!std::ranges::is_sorted(rows)) std::ranges::sort(order, {}, [&](std::size_t i) { return rows[i]; });
  const std::size_t most = kPiece / width;
  for (std::size_t begin = 0, end = 0; begin < order.size(); begin = end) {
    const auto first = static_cast<std::size_t>(rows[order[begin]]);
    while (end < order.size() && static_cast<std::size_t>(rows[order[end]]) - first < most) ++end;
    window.resize((static_cast<std::size_t>(rows[order[end - 1]]) - first + 1) * width);
    model.ReadRange(field, first * width, std::span(window));
    for (std::size_t i = begin; i < end; ++i)
      std::copy_n(&window[(static_cast<std::size_t>(rows[order[i]]) - first) * width], width,
                  &gathered[order[i] * width]);
  }
  return gathered;
}

void CheckIndices(std::span<const int> indices, unsigned count, const char* what) {
  for (const int index : indices)
    if (static_cast<unsigned>(index) >= count)
      throw nex_TextException(cow_String(what) + " index " + std::to_string(index) + " in a mesh of "
                              + std::to_string(count));
}
} // namespace

bme_StoredMesh::bme_StoredMesh(const cls_Database& model, const cow_String& root) : model_(model) {
  const cls_ReadView view(model);
  const auto mesh = model.GetValue<MeshFacts>(model.Resolve(root));
  id_ = mesh.id;
  placement_ = mesh.placement;
  const auto isThere = [](const cls_Location& location) { return location.field < 0; }; // an owned object
  if (const cls_Location nodes = model.Resolve(root + ".nodeData"); isThere(nodes)) {
    const auto facts = model.GetValue<NodeFacts>(nodes);
    numDim_ = facts.numDim;
    numNodes_ = static_cast<unsigned>(facts.numNodes);
    hasNodeLabels_ = facts.numLabels != 0 && facts.numLabels == facts.numNodes;
    coordinates_ = model.Resolve(root + ".nodeData.coordinates");
    nodeLabels_ = model.Resolve(root + ".nodeData.userNodeLabels");
  }
  const cow_String data = root + ".elemData";
  if (!isThere(model.Resolve(data))) return;
  for (const int key : model.GetValue<ClassKeys>(model.Resolve(data)).keys) {
    const cow_String path = data + ".classes[" + std::to_string(key) + "]";
    const cls_Location object = model.Resolve(path);
    const auto facts = model.GetValue<ClassFacts>(object);
    classes_.push_back({facts.kind, numElements_, facts.numElements, facts.nodesPerElement,
                        facts.numLabels != 0, object, model.Resolve(path + ".DDBuserElementLabel"),
                        model.Resolve(path + ".DDBconnectivity")});
    numElements_ += facts.numElements;
  }
}

const bme_StoredMesh::Class& bme_StoredMesh::ClassOf(unsigned element) const {
  for (const Class& type : classes_)
    if (element - type.firstElement < type.numElements) return type;
  throw nex_OutOfRangeException(element, numElements_);
}

bool bme_StoredMesh::HasUserElementLabels() const noexcept {
  return numElements_ > 0 && std::ranges::all_of(classes_, [](const Class& type) {
           return type.numElements == 0 || type.hasLabels;
         });
}

void bme_StoredMesh::Print(aio_ostream& out) const {
  std::vector<bme_CountedClass> classes;
  classes.reserve(classes_.size());
  for (const Class& type : classes_) classes.push_back({static_cast<int>(type.numElements), &type.kind});
  bme_PrintCounts(out, id_, numNodes_, classes);
}

std::vector<unsigned> bme_StoredMesh::FindNodes(std::span<const int> labels) const {
  if (labels.empty() || !hasNodeLabels_) return std::vector<unsigned>(labels.size(), bme_kNotFound);
  LabelSearch search(labels);
  unsigned first = 0;
  ForEachNodeLabels([&](std::span<const int> piece) {
    search.Pass(piece, first);
    first += static_cast<unsigned>(piece.size());
  });
  return search.Of(labels);
}

std::vector<unsigned> bme_StoredMesh::FindElements(std::span<const int> labels) const {
  std::vector<unsigned> indices(labels.size(), bme_kNotFound);
  if (labels.empty()) return indices;
  if (!HasUserElementLabels()) {
    std::ranges::transform(labels, indices.begin(), [&](int label) {
      return label >= 1 && static_cast<unsigned>(label) <= numElements_ ? static_cast<unsigned>(label) - 1
                                                                        : bme_kNotFound;
    });
    return indices;
  }
  LabelSearch search(labels);
  for (const Class& type : classes_) {
    unsigned first = type.firstElement;
    ForEachLabelsOf(type, [&](std::span<const int> piece) {
      search.Pass(piece, first);
      first += static_cast<unsigned>(piece.size());
    });
  }
  return search.Of(labels);
}

std::vector<float> bme_StoredMesh::Coordinates(std::span<const int> nodes) const {
  CheckIndices(nodes, numNodes_, "node");
  return Gather<float>(model_, coordinates_, 3, nodes);
}

std::vector<int> bme_StoredMesh::NodeLabels(std::span<const int> nodes) const {
  CheckIndices(nodes, numNodes_, "node");
  if (!hasNodeLabels_) return {nodes.begin(), nodes.end()};
  return Gather<int>(model_, nodeLabels_, 1, nodes);
}

std::vector<int> bme_StoredMesh::ElementLabels(std::span<const int> elements) const {
  CheckIndices(elements, numElements_, "element");
  std::vector<int> labels(elements.begin(), elements.end());
  if (!HasUserElementLabels()) {
    for (int& label : labels) ++label;
    return labels;
  }
  std::vector<std::size_t> places;
  std::vector<int> rows;
  for (const Class& type : classes_) {
    places.clear();
    rows.clear();
    for (std::size_t i = 0; i < elements.size(); ++i)
      if (const unsigned row = static_cast<unsigned>(elements[i]) - type.firstElement;
          row < type.numElements) {
        places.push_back(i);
        rows.push_back(static_cast<int>(row));
      }
    const std::vector<int> found = Gather<int>(model_, type.labels, 1, rows);
    for (std::size_t i = 0; i < places.size(); ++i) labels[places[i]] = found[i];
  }
  return labels;
}

std::vector<int> bme_StoredMesh::Connectivity(unsigned element) const {
  const Class& type = ClassOf(element);
  std::vector<int> row(type.nodesPerElement);
  model_.ReadRange(type.connectivity, static_cast<std::size_t>(element - type.firstElement) * row.size(),
                   std::span(row));
  return row;
}

bme_Mesh bme_StoredMesh::NodesAlone(std::span<const int> nodes) const {
  const std::vector<float> xyz = Coordinates(nodes);
  cow_ArrayCOW<float> coordinates;
  coordinates.Append(std::span<const float>(xyz));
  auto data = std::make_unique<bme_NodeData>(uti_CoordCont3D(std::move(coordinates)), numDim_);
  if (hasNodeLabels_) data->SetUserNodeLabels(NodeLabels(nodes).data());
  return {static_cast<unsigned>(id_), data.release(), nullptr, bme_ORPHAN_MESH,
          placement_.IsNone() ? nullptr : &placement_.ToPlaced()};
}

bme_Mesh bme_StoredMesh::ElementAlone(unsigned element) const {
  const Class& type = ClassOf(element);
  std::vector<int> row = Connectivity(element), nodes;
  std::ranges::copy_if(row, std::back_inserter(nodes),
                       [&](int node) { return static_cast<unsigned>(node) < numNodes_; });
  std::ranges::sort(nodes);
  nodes.erase(std::unique(nodes.begin(), nodes.end()), nodes.end());
  bme_Mesh mesh = NodesAlone(nodes);
  for (int& node : row) {
    const auto at = std::ranges::lower_bound(nodes, node);
    node = at != nodes.end() && *at == node ? static_cast<int>(at - nodes.begin()) : -1;
  }
  cow_ArrayCOW<int> connectivity;
  connectivity.Append(std::span<const int>(row));
  const int index = static_cast<int>(element), label = ElementLabels(std::span(&index, 1))[0];
  auto one = std::make_unique<bme_ElementClass>(type.kind.ElemTypeLabel(),
                                                cls_xp2DArrayInt(row.size(), std::move(connectivity)));
  one->SetElemControlParams(type.kind.GetElemControlParams());
  one->SetCategoryLabel(type.kind.CategoryLabel());
  one->SetUserElementLabels(std::span(&label, 1));
  mesh.ElementDataToModify().AddElementClass(one.release());
  return mesh;
}

void bme_StoredMesh::ForEachCoordinates(const std::function<void(std::span<const float>)>& take) const {
  std::vector<float> rest; // of a point that two pieces share: such files are not made by this program
  if (numNodes_ == 0) return;
  cls_ForEachPiece<float>(model_, coordinates_, [&](std::span<const float> piece) {
    if (!rest.empty() || piece.size() % 3 != 0) {
      rest.insert(rest.end(), piece.begin(), piece.end());
      piece = std::span(rest).first(rest.size() / 3 * 3);
    }
    take(piece);
    if (!rest.empty()) rest.erase(rest.begin(), rest.begin() + static_cast<std::ptrdiff_t>(piece.size()));
  });
}

void bme_StoredMesh::ForEachNodeLabels(const std::function<void(std::span<const int>)>& take) const {
  if (hasNodeLabels_) cls_ForEachPiece<int>(model_, nodeLabels_, take);
}

void bme_StoredMesh::ForEachLabelsOf(const Class& type,
                                     const std::function<void(std::span<const int>)>& take) const {
  if (type.hasLabels) cls_ForEachPiece<int>(model_, type.labels, take);
}
