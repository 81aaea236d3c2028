#include <CoreGeometry/dst_Extract.h>

#include <BasicUtils/nex_Exception.h>
#include <algorithm>
#include <array>
#include <bit>
#include <limits>

namespace {
// a message: number of nodes, and of each number, label and coordinates; for each class number of elements, and of each
// number, label and the numbers of its nodes
using Node = std::array<unsigned, 5>;
constexpr unsigned kNoNode = ~0U; ///< of a row that is not filled

std::vector<unsigned> MessageOf(const dst_OpenPart& open, const bme_FEMElemList& elements) {
  const dst_Part& part = *open.part;
  const bme_ElementData& data = open.mesh->ElementData();
  const std::span<const float> xyz = open.mesh->NodeData().Coordinates().Const();
  const std::span<const int> labels = open.mesh->NodeData().UserNodeLabels().Const();
  std::vector<std::vector<unsigned>> ofClass(data.NumClasses());
  std::vector<char> isUsed(part.NumNodes(), 0);
  for (const unsigned element : elements) {
    unsigned classIndex = 0, inClass = 0;
    data.GetClassAndElemIndex(element, classIndex, inClass);
    const bme_ElementClass& type = data.GetClass(classIndex);
    std::vector<unsigned>& rows = ofClass[classIndex];
    rows.push_back(static_cast<unsigned>(part.ElementNumber(element)));
    rows.push_back(static_cast<unsigned>(type.UserElementLabels()[inClass]));
    for (const int node : type.Connectivity(static_cast<int>(inClass))) {
      rows.push_back(node < 0 ? kNoNode : part.NodeNumbers()[static_cast<std::size_t>(node)]);
      if (node >= 0) isUsed[static_cast<std::size_t>(node)] = 1;
    }
  }
  std::vector<unsigned> message = {static_cast<unsigned>(std::ranges::count(isUsed, 1))};
  for (std::size_t i = 0; i < isUsed.size(); ++i) {
    if (isUsed[i] == 0) continue;
    message.insert(message.end(), {part.NodeNumbers()[i], static_cast<unsigned>(labels[i])});
    for (std::size_t axis = 0; axis < 3; ++axis)
      message.push_back(std::bit_cast<unsigned>(xyz[3 * i + axis]));
  }
  for (std::size_t i = 0; i < ofClass.size(); ++i) {
    const auto width =
        static_cast<std::size_t>(data.GetClass(static_cast<unsigned>(i)).NumNodesPerElem()) + 2;
    message.push_back(static_cast<unsigned>(ofClass[i].size() / width));
    message.insert(message.end(), ofClass[i].begin(), ofClass[i].end());
  }
  return message;
}

/// Puts together what the parts have sent.
class Assembly {
public:
  explicit Assembly(const dst_Index& index) : index_(index), rows_(index.NumClasses()) {}

  void Add(std::span<const unsigned> message) {
    const auto take = [&](std::size_t count) {
      const std::span<const unsigned> taken = message.first(count);
      message = message.subspan(count);
      return taken;
    };
    for (std::size_t left = take(1)[0]; left > 0; --left) {
      const std::span<const unsigned> words = take(std::tuple_size_v<Node>);
      std::ranges::copy(words, nodes_.emplace_back().begin());
    }
    for (unsigned i = 0; i < index_.NumClasses(); ++i) {
      const std::size_t numElements = take(1)[0];
      const std::span<const unsigned> rows = take(numElements * Width(i));
      rows_[i].insert(rows_[i].end(), rows.begin(), rows.end());
    }
  }

  dst_Extract Take(const bme_Mesh& shell) {
    std::ranges::sort(nodes_);
    const auto isSame = [](const Node& a, const Node& b) { return a[0] == b[0]; };
    nodes_.erase(std::unique(nodes_.begin(), nodes_.end(), isSame), nodes_.end());
    dst_Extract made;
    made.nodeNumbers.reserve(nodes_.size());
    for (const Node& node : nodes_) made.nodeNumbers.push_back(node[0]);
    std::vector<std::unique_ptr<bme_ElementClass>> classes;
    classes.reserve(index_.NumClasses());
    for (unsigned i = 0; i < index_.NumClasses(); ++i) classes.push_back(TakeClass(i, made));
    std::vector<bme_ElementClass*> list;
    list.reserve(classes.size());
    for (auto& one : classes) list.push_back(one.release());
    auto elements = std::make_unique<bme_ElementData>(list.data(), static_cast<unsigned>(list.size()));
    cow_ArrayCOW<float> xyz;
    cow_ArrayCOW<int> labels;
    xyz.ResizeUninitialised(3 * nodes_.size());
    labels.ResizeUninitialised(nodes_.size());
    float* coordinate = xyz.Modify().data();
    int* label = labels.Modify().data();
    for (const Node& node : nodes_) {
      *label++ = static_cast<int>(node[1]);
      for (std::size_t axis = 0; axis < 3; ++axis) *coordinate++ = std::bit_cast<float>(node[2 + axis]);
    }
    auto nodes =
        std::make_unique<bme_NodeData>(uti_CoordCont3D(std::move(xyz)), shell.NodeData().Dimension());
    nodes->SetUserNodeLabels(cls_xp1DArrayListInt(std::move(labels)));
    made.mesh = bme_Mesh(static_cast<unsigned>(shell.Id()), nodes.release(), elements.release(),
                         shell.MeshType(), shell.Transform());
    return made;
  }

private:
  std::size_t Width(unsigned classIndex) const {
    return static_cast<std::size_t>(index_.Class(classIndex).NodesPerElement()) + 2;
  }

  std::unique_ptr<bme_ElementClass> TakeClass(unsigned classIndex, dst_Extract& made) {
    const std::size_t width = Width(classIndex);
    const std::vector<unsigned> rows = std::move(rows_[classIndex]);
    std::vector<std::size_t> starts(rows.size() / width); // of rows, by the numbers of their elements
    if (starts.size() * (width - 2) > static_cast<std::size_t>(std::numeric_limits<int>::max()))
      throw nex_TextException(std::to_string(starts.size()) + " elements of class "
                              + std::to_string(classIndex) + " are above the limit of one mesh");
    for (std::size_t i = 0; i < starts.size(); ++i) starts[i] = i * width;
    std::ranges::sort(starts, {}, [&](std::size_t start) { return rows[start]; });
    cow_ArrayCOW<int> connectivity, labels;
    connectivity.ResizeUninitialised(starts.size() * (width - 2));
    labels.ResizeUninitialised(starts.size());
    int* node = connectivity.Modify().data();
    int* label = labels.Modify().data();
    for (const std::size_t start : starts) {
      made.elementNumbers.push_back(rows[start]);
      *label++ = static_cast<int>(rows[start + 1]);
      for (std::size_t k = 2; k < width; ++k) *node++ = IndexOf(rows[start + k], made.nodeNumbers);
    }
    return std::unique_ptr<bme_ElementClass>(
        index_.Class(classIndex).MakeClass(std::move(connectivity), std::move(labels)));
  }

  static int IndexOf(unsigned number, const std::vector<unsigned>& numbers) {
    if (number == kNoNode) return -1;
    return static_cast<int>(std::ranges::lower_bound(numbers, number) - numbers.begin());
  }

  const dst_Index& index_;
  std::vector<Node> nodes_;
  std::vector<std::vector<unsigned>> rows_; ///< of each class
};
} // namespace

unsigned dst_Extract::FindElement(std::uint64_t number) const noexcept {
  const auto found = std::ranges::lower_bound(elementNumbers, number);
  return found == elementNumbers.end() || *found != number
             ? bme_kNotFound
             : static_cast<unsigned>(found - elementNumbers.begin());
}

std::optional<dst_Extract> dst_ExtractElements(const dst_Mesh& mesh, const dst_Elements& elements) {
  dst_Exchange& exchange = mesh.Exchange();
  exchange.ForEachPart([&](unsigned number) {
    const dst_OpenPart& part = mesh.Part(number);
    exchange.SendRecords(number, 0, MessageOf(part, elements.In(part)));
  });
  exchange.Deliver();
  std::optional<dst_Extract> made;
  exchange.ForEachPart([&](unsigned number) {
    if (number > 0) return;
    Assembly assembly(mesh.Index());
    for (const dst_Message& message : exchange.Received(0)) assembly.Add(message.As<unsigned>());
    made = assembly.Take(*mesh.Part(0).mesh);
  });
  return made;
}
