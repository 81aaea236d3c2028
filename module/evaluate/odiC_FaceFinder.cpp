#include "odiC_FaceFinder.h"

#include "odiC_Stages.h"

#include <CoreGeometry/bme_CleanMesh.h>
#include <CoreGeometry/bme_FaceTriangles.h>
#include <CoreGeometry/odiC_Exception.h>
#include <CoreGeometry/rgnC_Facet.h>
#include <CoreGeometry/shp_Shape.h>
#include <algorithm>
#include <cmath>
#include <limits>

namespace {
std::vector<float> NormalsOf(const bme_FEMFaceList& faces) {
  auto normals = bme_ComputeNormals(faces);
  if (!normals) throw odiC_Exception("a surface has nodes that are not in its mesh");
  return std::move(*normals);
}

/// 0 to 5: the axis, and whether the normal looks against it.
std::size_t DirectionOf(std::span<const float> normal) {
  const auto largest = std::ranges::max_element(normal, {}, [](float part) { return std::abs(part); });
  return 2 * static_cast<std::size_t>(largest - normal.begin()) + (*largest < 0 ? 1 : 0);
}
} // namespace

odiC_FaceFinder::odiC_FaceFinder(const bme_FEMFaceList& faces, odiC_Sides sides)
    : sides_(sides), normals_(NormalsOf(faces)) {
  constexpr std::size_t kDirections = 6;
  std::vector<std::vector<unsigned>> words(kDirections);
  for (std::size_t i = 0; i < faces.Count(); ++i) {
    positions_.emplace_hint(positions_.end(), faces[i], i);
    const std::size_t group =
        sides == odiC_Sides::Any ? 0 : DirectionOf(std::span<const float>(normals_).subspan(3 * i, 3));
    words[group].push_back(faces[i]);
  }
  for (std::vector<unsigned>& some : words) {
    if (some.empty()) continue;
    bme_Edited shells = bme_ExtractFaces({faces.Mesh()}, some);
    groups_.push_back(std::make_unique<Group>(
        Group{shells.result.mesh, std::move(some), std::move(shells.renumbering.nodes.from), nullptr}));
    groups_.back()->locator = std::make_unique<bme_ElementLocator>(groups_.back()->shells);
  }
}

odiC_FaceFinder::Point odiC_FaceFinder::NormalOf(unsigned word) const {
  const std::size_t at = 3 * positions_.at(word);
  return {normals_[at], normals_[at + 1], normals_[at + 2]};
}

bool odiC_FaceFinder::Find(const Point& point, const Point& normal, odiC_FaceHit& hit) const {
  hit.word = bme_kNotFound;
  hit.distance = std::numeric_limits<double>::infinity();
  const Group* best = nullptr;
  bme_NearestElement nearest;
  for (const auto& group : groups_) {
    const bme_NearestElement found = group->locator->FindNearest(point);
    if (found.element == bme_kNotFound || found.distance >= hit.distance) continue;
    const bme_ElementClass& type = group->shells.ElementData().GetElemClass(found.element);
    const auto label = static_cast<std::size_t>(
        type.UserElementLabels()[found.element - static_cast<unsigned>(type.FirstElementIndex())]);
    const unsigned word = group->words[label - 1];
    const Point own = NormalOf(word);
    if (!IsMeant(own[0] * normal[0] + own[1] * normal[1] + own[2] * normal[2])) continue;
    hit.word = word;
    hit.distance = found.distance;
    best = group.get();
    nearest = found;
  }
  if (!best) return false;
  const bme_ElementClass& type = best->shells.ElementData().GetElemClass(nearest.element);
  const std::span<const int> row =
      type.Connectivity(static_cast<int>(nearest.element) - type.FirstElementIndex());
  hit.weights.resize(row.size());
  type.Shape()->ShapeFunctions(nearest.iso, hit.weights);
  hit.nodes.clear();
  for (const int node : row) hit.nodes.push_back(best->nodes[static_cast<std::size_t>(node)]);
  return true;
}

std::map<unsigned, odiC_FaceFinder::Point> odiC_NodeNormals(const bme_FEMFaceList& faces) {
  const std::vector<float> normals = NormalsOf(faces);
  std::map<unsigned, odiC_FaceFinder::Point> ofNodes;
  for (std::size_t i = 0; i < faces.Count(); ++i) {
    const bme_LocalNodes nodes = faces.FaceNodes(i);
    for (const int node : nodes.Nodes())
      for (std::size_t axis = 0; axis < 3; ++axis)
        ofNodes[static_cast<unsigned>(node)][axis] += static_cast<double>(normals[3 * i + axis]);
  }
  return ofNodes;
}

namespace {
bool AreOfFaces(const odiC_Values& values, const odiC_When& when) {
  if (values.CarriedTo() != odiC_CarriedTo::AsStored) return false;
  const odiC_SourcePointer source = values.Open(when, res_USE_ENVELOPE);
  return std::ranges::any_of(source->Layout().blocks, &odiC_LayoutBlock::HasFaces);
}
} // namespace

odiC_FaceRows::odiC_FaceRows(const odiC_Values& values, const odiC_When& when) : mesh_(values.Run().Mesh()) {
  const odiC_SourcePointer source =
      (AreOfFaces(values, when) ? values : odiC_AtElementNodes(values)).Open(when, res_USE_ENVELOPE);
  if (odiC_HasSeveralSectionPoints(source->Places()))
    throw odiC_Exception(values.Text() + ": there are values at several section points; choose one");
  width_ = static_cast<std::size_t>(source->NumComponents());
  gathered_ = odiC_Gather(*source);
  for (const odiC_LayoutBlock& block : gathered_.layout.blocks) {
    if (block.IsNodal()) {
      ofNodes_.resize(mesh_.NodeData().NumNodes(), -1);
      for (int at = 0; at < block.numEntities; ++at)
        ofNodes_[static_cast<std::size_t>(block.Entity(at))] = block.firstRow + at;
    } else if (block.HasFaces()) {
      const bme_ElementClass& type = mesh_.ElementData().GetClass(static_cast<unsigned>(block.classIndex));
      for (int at = 0; at < block.numEntities && type.Shape(); ++at) {
        const rgnC_Facet facet =
            rgnC_FacetOf(*type.Shape(), block.faces.Const()[static_cast<std::size_t>(at)]);
        const unsigned word = bme_FaceWord(static_cast<unsigned>(type.FirstElementIndex() + block.Entity(at)),
                                           static_cast<unsigned>(facet.face), facet.isBack);
        ofFaces_.emplace(word, block.firstRow + static_cast<long long>(at) * block.valuesPerEntity);
      }
    }
  }
}

long long odiC_FaceRows::RowOf(const bme_ElementClass& type, unsigned word, int node) const {
  if (!ofFaces_.empty()) {
    const auto found = ofFaces_.find(word);
    return found == ofFaces_.end() ? -1 : found->second;
  }
  if (!ofNodes_.empty()) return ofNodes_[static_cast<std::size_t>(node)];
  const int inClass = static_cast<int>(bme_ElementOf(word)) - type.FirstElementIndex();
  const std::span<const int> row = type.Connectivity(inClass);
  const auto local = std::ranges::find(row, node) - row.begin();
  for (const odiC_LayoutBlock& block : gathered_.layout.blocks)
    if (block.classIndex == type.ClassIndex())
      if (const int at = block.Find(inClass); at >= 0)
        return block.firstRow + static_cast<long long>(at) * block.valuesPerEntity
               + (block.position == res_ELEMENT_NODAL ? local : 0);
  return -1;
}

void odiC_FaceRows::Read(unsigned word, std::span<const int> nodes, std::span<const double> weights,
                         std::span<double> sum) const {
  std::ranges::fill(sum, 0);
  const bme_ElementClass& type = mesh_.ElementData().GetElemClass(bme_ElementOf(word));
  for (std::size_t k = 0; k < nodes.size(); ++k) {
    const long long row = RowOf(type, word, nodes[k]);
    for (std::size_t c = 0; c < width_; ++c)
      sum[c] += row < 0 ? std::numeric_limits<double>::quiet_NaN()
                        : weights[k] * gathered_.values[static_cast<std::size_t>(row) * width_ + c];
  }
}
