#include <CoreGeometry/bme_OrientMesh.h>

#include "bme_ClassWalk.h"
#include "bme_Making.h"

#include <CoreGeometry/bme_FEMConnect.h>
#include <algorithm>
#include <cmath>

namespace {
/// Turns the elements with a mark; numbered as before.
bme_Edited Turn(const bme_MeshAndSets& source, std::span<const unsigned char> marks) {
  bme_Edited edited{{source.mesh}, bme_Renumbering::Identity(source.mesh)};
  const bme_ElementData& elements = source.mesh.ElementData();
  bme_Classes classes;
  for (unsigned c = 0; c < elements.NumClasses(); ++c) {
    const bme_ElementClass& type = elements.GetClass(c);
    classes.push_back(std::make_unique<bme_ElementClass>(type));
    const auto first = static_cast<std::size_t>(type.FirstElementIndex()),
               columns = static_cast<std::size_t>(type.NumNodesPerElem());
    const auto own = marks.subspan(first, static_cast<std::size_t>(type.NumElements()));
    const auto at = std::ranges::find_if(own, [](unsigned char mark) { return mark != 0; });
    if (at == own.end()) continue;
    const shp_Shape* shape = type.Shape();
    if (!shape || shape->ReversalPermutation().empty())
      throw nex_TextException(
          bme_Describe(type) + ": element "
          + std::to_string(bme_LabelOfElement(elements, static_cast<unsigned>(first)
                                                            + static_cast<unsigned>(at - own.begin())))
          + " cannot be turned, as its type has no reversal");
    const unsigned char turn = shape->NumGeomDims() == 2
                                   ? bme_Renumbering::kNodesExchanged | bme_Renumbering::kSidesExchanged
                                   : bme_Renumbering::kNodesExchanged;
    std::vector<unsigned char>& turns = edited.renumbering.turns;
    turns.resize(elements.NumElements(), 0);
    const std::span<int> rows = classes.back()->ConnectivityToModify();
    wip_InBlocks(own.size(), bme_kWordsBetween, [&](std::size_t begin, std::size_t end) {
      for (std::size_t i = begin; i < end; ++i) {
        if (own[i] == 0) continue;
        shape->ReverseElemConnectivity(rows.subspan(i * columns, columns));
        turns[first + i] = turn;
      }
    });
  }
  edited.result.mesh = bme_MeshLike(source.mesh, source.mesh.NodeData(), std::move(classes));
  bme_SendSets(source, edited);
  return edited;
}

bool IsShell(const shp_Shape* shape) {
  return shape && shape->NumGeomDims() == 2 && shape->NumSpatialDims() == 3 && !shape->FaceNodes(0).empty();
}

std::vector<unsigned char> Marked(const bme_Mesh& mesh, std::span<const unsigned> elements) {
  std::vector<unsigned char> marks(mesh.ElementData().NumElements(), 0);
  for (const unsigned element : elements) {
    if (element >= marks.size()) throw nex_OutOfRangeException(element, static_cast<long long>(marks.size()));
    marks[element] = 1;
  }
  return marks;
}

/// Finds patches, and which of their shells look the other way than the first one.
class Patches {
public:
  Patches(const bme_Mesh& mesh, const bme_OrientOptions& options, bme_Oriented& found)
      : mesh_(mesh), connect_(mesh), options_(options), found_(found),
        isShell_(options.elements ? Marked(mesh, *options.elements)
                                  : std::vector<unsigned char>(mesh.ElementData().NumElements(), 1)),
        isSeed_(Marked(mesh, options.seeds)), side_(isShell_.size(), kUnknown) {
    const bme_ElementData& elements = mesh.ElementData();
    for (unsigned c = 0; c < elements.NumClasses(); ++c) {
      const bme_ElementClass& type = elements.GetClass(c);
      if (!IsShell(type.Shape()))
        std::fill_n(isShell_.begin() + type.FirstElementIndex(), type.NumElements(),
                    static_cast<unsigned char>(0));
    }
    for (const unsigned seed : options.seeds)
      if (isShell_[seed] == 0)
        throw nex_TextException("element " + std::to_string(bme_LabelOfElement(elements, seed))
                                + " is a seed, but none of the shells that are oriented");
  }

  /// The shells to turn.
  std::vector<unsigned char> Find() {
    std::vector<unsigned char> marks(isShell_.size(), 0);
    for (unsigned first = 0; first < isShell_.size(); ++first) {
      if (isShell_[first] == 0 || side_[first] != kUnknown) continue;
      const bool isOneSided = !Walk(first);
      ++found_.numPatches;
      std::ranges::sort(patch_);
      if (isOneSided) {
        found_.oneSided.insert(found_.oneSided.end(), patch_.begin(), patch_.end());
        continue;
      }
      const unsigned char wrong = WrongSide();
      for (const unsigned element : patch_) marks[element] = side_[element] == wrong ? 1 : 0;
    }
    std::ranges::sort(found_.oneSided);
    return marks;
  }

private:
  static constexpr unsigned char kSame = 0, kOther = 1, kUnknown = 2;

  struct Edge {
    int first = -1, last = -1;
  };
  Edge EdgeOf(const bme_FEMConnect::Side& side) const {
    const bme_ElementClass& type = mesh_.ElementData().GetElemClass(side.element);
    const std::span<const int> row = bme_Row(type, side.element),
                               local = type.Shape()->EdgeNodes(0, side.side);
    return {row[static_cast<std::size_t>(local.front())], row[static_cast<std::size_t>(local.back())]};
  }

  /// The shells across an edge.
  std::span<const bme_FEMConnect::Side> Across(const bme_FEMConnect::Side& side) {
    across_.clear();
    for (auto next = connect_.NextAcross(side); next != side; next = connect_.NextAcross(next))
      if (isShell_[next.element] != 0) across_.push_back(next);
    return across_;
  }

  /// All that can be reached; false when some shell would have to look both ways.
  bool Walk(unsigned first) {
    patch_.assign(1, first);
    side_[first] = kSame;
    bool isTwoSided = true;
    for (std::size_t at = 0; at < patch_.size(); ++at) {
      poll_.Advance();
      const unsigned element = patch_[at];
      const shp_Shape& shape = *mesh_.ElementData().GetElemClass(element).Shape();
      bool isBranching = false;
      for (int k = 0; k < static_cast<int>(bme_NumEdges(shape, 0)); ++k) {
        const std::span<const bme_FEMConnect::Side> others = Across({element, k});
        isBranching |= others.size() > 1;
        if (others.size() != 1) continue;
        const Edge own = EdgeOf({element, k}), other = EdgeOf(others[0]);
        const auto wanted =
            static_cast<unsigned char>(own.first == other.first ? 1 - side_[element] : side_[element]);
        unsigned char& known = side_[others[0].element];
        if (known == kUnknown) {
          known = wanted;
          patch_.push_back(others[0].element);
        } else {
          isTwoSided &= known == wanted;
        }
      }
      if (isBranching) found_.branching.push_back(element);
    }
    return isTwoSided;
  }

  unsigned char WrongSide() {
    const unsigned* seed = nullptr;
    for (const unsigned& element : patch_) {
      if (isSeed_[element] == 0) continue;
      if (seed && side_[*seed] != side_[element])
        throw nex_TextException("elements " + std::to_string(bme_LabelOfElement(mesh_.ElementData(), *seed))
                                + " and " + std::to_string(bme_LabelOfElement(mesh_.ElementData(), element))
                                + " are seeds of one patch, but look to different sides of it");
      if (!seed) seed = &element;
    }
    if (seed) return static_cast<unsigned char>(1 - side_[*seed]);
    if (options_.direction || options_.awayFrom) {
      const double flux = Flux();
      if (flux != 0) return flux > 0 ? kOther : kSame;
      found_.remarks.push_back("the patch of element "
                               + std::to_string(bme_LabelOfElement(mesh_.ElementData(), patch_[0]))
                               + " looks neither way, and stays as it is");
    }
    const auto numOther = static_cast<std::size_t>(
        std::ranges::count_if(patch_, [&](unsigned element) { return side_[element] == kOther; }));
    return 2 * numOther > patch_.size() ? kSame : kOther;
  }

  /// Of the patch as its first shell looks: area vectors times the direction, or times the way from the point. The area
  /// vector of a loop is half the sum of the products of its corners, which needs no flat face; about the loop's first
  /// corner, for accuracy.
  double Flux() const {
    const std::span<const float> xyz = mesh_.NodeData().Coordinates().Const();
    double flux = 0;
    for (const unsigned element : patch_) {
      const bme_ElementClass& type = mesh_.ElementData().GetElemClass(element);
      const std::span<const int> row = bme_Row(type, element), loop = bme_Corners(*type.Shape(), 0);
      const auto at = [&](std::size_t k, std::size_t axis) {
        return static_cast<double>(
            xyz[3 * static_cast<std::size_t>(row[static_cast<std::size_t>(loop[k])]) + axis]);
      };
      for (std::size_t k = 1; k + 1 < loop.size(); ++k) {
        std::array<double, 3> a{}, b{}, towards{};
        for (std::size_t axis = 0; axis < 3; ++axis) {
          a[axis] = at(k, axis) - at(0, axis);
          b[axis] = at(k + 1, axis) - at(0, axis);
          towards[axis] = options_.direction ? (*options_.direction)[axis]
                                             : (at(0, axis) + at(k, axis) + at(k + 1, axis)) / 3
                                                   - (*options_.awayFrom)[axis];
        }
        const double product = (a[1] * b[2] - a[2] * b[1]) * towards[0]
                               + (a[2] * b[0] - a[0] * b[2]) * towards[1]
                               + (a[0] * b[1] - a[1] * b[0]) * towards[2];
        flux += side_[element] == kSame ? product : -product;
      }
    }
    return flux;
  }

  const bme_Mesh& mesh_;
  bme_FEMConnect connect_;
  const bme_OrientOptions& options_;
  bme_Oriented& found_;
  std::vector<unsigned char> isShell_, isSeed_;
  std::vector<unsigned char> side_; ///< against the first one of the patch
  std::vector<unsigned> patch_;
  std::vector<bme_FEMConnect::Side> across_;
  wip_Poll poll_{8192};
};
} // namespace

bme_Oriented bme_OrientMesh(const bme_MeshAndSets& source, const bme_OrientOptions& options) {
  if (options.direction && options.awayFrom)
    throw nex_TextException("shells look along a direction or away from a point, not both");
  for (const auto& vector : {options.direction, options.awayFrom})
    if (vector && !std::isfinite((*vector)[0] + (*vector)[1] + (*vector)[2]))
      throw nex_TextException("a direction or point for shells is not finite");
  if (options.direction && *options.direction == std::array<double, 3>{})
    throw nex_TextException("0, 0, 0 is no direction for shells to look along");
  bme_CheckNodes(source.mesh);
  bme_Oriented found{};
  const std::vector<unsigned char> marks = Patches(source.mesh, options, found).Find();
  for (unsigned element = 0; element < marks.size(); ++element)
    if (marks[element] != 0) found.turned.push_back(element);
  std::ranges::sort(found.branching);
  bme_Edited turned = Turn(source, marks);
  turned.remarks.insert(turned.remarks.end(), found.remarks.begin(), found.remarks.end());
  static_cast<bme_Edited&>(found) = std::move(turned);
  return found;
}

bme_Edited bme_ReverseElements(const bme_MeshAndSets& source, std::span<const unsigned> elements) {
  return Turn(source, Marked(source.mesh, elements));
}
