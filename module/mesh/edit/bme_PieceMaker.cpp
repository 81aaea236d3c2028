#include "bme_PieceMaker.h"

#include <algorithm>
#include <limits>

bme_PieceMaker::bme_PieceMaker(const bme_MeshAndSets& source)
    : source_(source), labels_(bme_AllElementLabels(source.mesh.ElementData())) {
  bme_CheckNodes(source.mesh);
  map_.classes.to.assign(source.mesh.ElementData().NumClasses(), -1);
  map_.elements.to.assign(source.mesh.ElementData().NumElements(), -1);
  if (!labels_.empty()) largest_ = *std::ranges::max_element(labels_);
}

int bme_PieceMaker::LabelOf(const bme_ElementClass& type, int position) const {
  return labels_[static_cast<std::size_t>(type.FirstElementIndex()) + static_cast<std::size_t>(position)];
}

void bme_PieceMaker::Begin(const bme_ElementClass& type) {
  int& to = map_.classes.to[static_cast<std::size_t>(type.ClassIndex())];
  if (to < 0) to = static_cast<int>(classes_.size());
  map_.classes.from.push_back(type.ClassIndex());
  positions_.clear();
  rows_.clear();
}

void bme_PieceMaker::Add(const bme_ElementClass& type, int position, std::span<const int> row) {
  rows_.insert(rows_.end(), row.begin(), row.end());
  AddElement(type, position);
}

void bme_PieceMaker::AddElement(const bme_ElementClass& type, int position) {
  const auto old = static_cast<std::size_t>(type.FirstElementIndex()) + static_cast<std::size_t>(position);
  positions_.push_back(position);
  if (map_.elements.to[old] < 0)
    map_.elements.to[old] = static_cast<int>(map_.elements.from.size());
  else
    areSeveral_ = true;
  map_.elements.from.push_back(static_cast<int>(old));
}

void bme_PieceMaker::End(const bme_ElementClass& type, const cow_String& label, std::size_t columns,
                         bool withControls) {
  const bool isSame = label == type.ElemTypeLabel()
                      && positions_.size() == static_cast<std::size_t>(type.NumElements())
                      && std::ranges::equal(rows_, type.ElementConnectivity().Const());
  if (isSame) {
    classes_.push_back(std::make_unique<bme_ElementClass>(type));
    return;
  }
  const std::span<const int> positions =
      withControls ? std::span<const int>(positions_) : std::span<const int>();
  classes_.push_back(
      bme_ClassLike(type, positions, cow_ArrayCOW<int>(std::span<const int>(rows_)), label, columns));
  if (withControls) return;
  classes_.back()->SetElemControlParams({});
  classes_.back()->SetLocationLabels({});
}

void bme_PieceMaker::Keep(const bme_ElementClass& type) {
  Begin(type);
  for (int i = 0; i < type.NumElements(); ++i) AddElement(type, i);
  const std::span<const int> rows = type.ElementConnectivity().Const();
  rows_.assign(rows.begin(), rows.end());
  End(type, type.ElemTypeLabel(), static_cast<std::size_t>(type.NumNodesPerElem()));
}

bme_Edited bme_PieceMaker::Make(const bme_NodeData& nodes, bme_MadeNodes made) {
  map_.nodes = bme_IndexMap::Identity(source_.mesh.NodeData().NumNodes());
  map_.nodes.from.resize(nodes.NumNodes(), -1);
  map_.made = std::move(made);
  if (source_.mesh.ElementData().HasUserElementLabels() || areSeveral_) SetLabels();
  return {{bme_MeshLike(source_.mesh, nodes, std::move(classes_))}, std::move(map_)};
}

void bme_PieceMaker::SetLabels() {
  std::size_t at = 0; // new elements so far
  long long next = largest_;
  for (const auto& made : classes_) {
    std::vector<int> labels;
    labels.reserve(static_cast<std::size_t>(made->NumElements()));
    for (int i = 0; i < made->NumElements(); ++i, ++at) {
      const auto old = static_cast<std::size_t>(map_.elements.from[at]);
      const bool isFirst = map_.elements.to[old] == static_cast<int>(at);
      if (!isFirst && ++next > std::numeric_limits<int>::max())
        throw nex_TextException("element labels from " + std::to_string(largest_ + 1)
                                + " on for new elements are above 2147483647");
      labels.push_back(isFirst ? labels_[old] : static_cast<int>(next));
    }
    made->SetUserElementLabels(std::span<const int>(labels));
  }
}
