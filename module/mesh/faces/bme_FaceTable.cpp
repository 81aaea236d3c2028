#include "bme_FaceTable.h"

#include "bme_Work.h"

bme_SolidClass::bme_SolidClass(const bme_ElementClass& elements, const shp_Shape& ofElements,
                               std::span<const unsigned> listed)
    : shape(&ofElements), words(listed), rows(elements.ElementConnectivity().Const().data()),
      columns(static_cast<std::size_t>(elements.NumNodesPerElem())),
      firstElement(static_cast<unsigned>(elements.FirstElementIndex())),
      numFaces(bme_NumListedFaces(ofElements)), elementCorners(bme_CornersOfElement(ofElements)) {
  for (unsigned face = 0; face < numFaces; ++face) {
    const std::span<const int> local = bme_Corners(ofElements, face);
    numCorners[face] = static_cast<std::uint8_t>(local.size());
    std::ranges::copy(local, corners[face].begin());
    for (std::size_t k = 0; k < local.size(); ++k) picks[k][face] = local[k];
    isTriangle[face] = local.size() == 3 ? -1 : 0;
  }
  ChooseCorners();
}

/// Two corners where there are such: opposite ones of hexahedra, any of tetrahedra.
void bme_SolidClass::ChooseCorners() {
  for (const int a : elementCorners)
    for (const int b : elementCorners) {
      bool areEnough = true;
      for (unsigned face = 0; face < numFaces; ++face)
        areEnough &= std::ranges::any_of(bme_Corners(*shape, face), [=](int c) { return c == a || c == b; });
      if (areEnough) {
        everyFace = {a, b};
        return;
      }
    }
  everyFace = elementCorners;
}

bool bme_SolidClass::HasNodes(unsigned element, unsigned numNodes) const {
  const int* row = Row(element);
  for (const int corner : elementCorners)
    if (static_cast<unsigned>(row[corner]) >= numNodes) {
      bme_Report(bme_FACE_LIST_ERROR, std::to_string(row[corner]));
      return false;
    }
  return true;
}

bool bme_Solids::HaveSameNodes(unsigned wordA, unsigned wordB) const {
  const auto nodesOf = [&](unsigned word) {
    const bme_SolidClass& solids = ClassOf(word);
    const int* row = solids.Row(bme_ElementOf(word));
    std::array<int, 16> nodes{};
    const std::span<const int> local = solids.FaceNodes(word);
    for (std::size_t i = 0; i < local.size(); ++i) nodes[i] = row[local[i]];
    std::sort(nodes.begin(), nodes.begin() + local.size());
    std::fill(std::unique(nodes.begin(), nodes.begin() + local.size()), nodes.end(), -1);
    return nodes;
  };
  return nodesOf(wordA) == nodesOf(wordB);
}

void bme_FaceTable::Reset(unsigned firstNode, std::size_t numNodes, std::size_t numFaces,
                          std::size_t nodesPerCorner) {
  constexpr std::size_t kFacesPerChain = 7;
  firstNode_ = firstNode;
  chainShift_ = 0;
  while (chainShift_ < 3 && numFaces * nodesPerCorner > kFacesPerChain * (numNodes << chainShift_))
    ++chainShift_;
  chainMask_ = (1U << chainShift_) - 1;
  heads_.assign(numNodes << chainShift_, bme_kNone);
  records_.clear();
  free_ = bme_kNone;
}

/// Memory that nobody marks is never touched.
bme_SeenFaces::bme_SeenFaces(std::size_t numNodes, std::size_t numFaces, std::size_t nodesPerCorner) {
  constexpr std::size_t kFacesPerWord = 16;
  while (shift_ < 4 && numFaces * nodesPerCorner > kFacesPerWord * (numNodes << shift_)) ++shift_;
  seen_.reset(static_cast<std::uint64_t*>(
      std::calloc(std::max<std::size_t>(numNodes, 1) << shift_, sizeof(std::uint64_t))));
  if (!seen_) throw std::bad_alloc();
}

void bme_FaceGroups::Add(const bme_FaceKey& key, unsigned word) {
  if (Find(key, word) != bme_kNone) return;
  for (const unsigned corner : key)
    if (corner != bme_kNone) corners_.Set(corner);
  groups_.push_back({.key = key, .next = heads_[key[0]], .word = word});
  heads_[key[0]] = static_cast<unsigned>(groups_.size() - 1);
}

unsigned bme_FaceGroups::Find(const bme_FaceKey& key, unsigned word) const {
  unsigned at = heads_[key[0]];
  while (at != bme_kNone
         && (groups_[at].key != key
             || (solids_.matchAllNodes && !solids_.HaveSameNodes(groups_[at].word, word))))
    at = groups_[at].next;
  return at;
}

unsigned bme_FaceGroups::FindByCorners(const bme_FaceKey& key) const noexcept {
  unsigned at = heads_[key[0]];
  while (at != bme_kNone && groups_[at].key != key) at = groups_[at].next;
  return at;
}
