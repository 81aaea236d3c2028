#include <CoreGeometry/bme_DivideMesh.h>

#include "bme_ClassWalk.h"
#include "bme_NodeMaker.h"
#include "bme_PieceMaker.h"
#include "bme_RefinedPieces.h"
#include "bme_TypeLike.h"

#include <BasicUtils/thr_ThreadSingleton.h>
#include <CoreGeometry/shp_ShapeDictionary.h>
#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

namespace {
const shp_Shape* ShapeOf(const cow_String& label) {
  return thr_ThreadSingleton<shp_ShapeDictionary>::Instance().GetShape(label);
}

using Piece = bme_Piece;

/// For each node of the shape the corner functions of a linear element there.
std::vector<std::vector<double>> CornerWeights(const shp_Shape& shape, std::size_t numCorners) {
  constexpr struct {
    int dims;
    std::size_t corners;
    const char* label;
  } kLinear[] = {{1, 2, "T3D2"}, {2, 3, "S3"}, {2, 4, "S4"}, {3, 4, "C3D4"}, {3, 6, "C3D6"}, {3, 8, "C3D8"}};
  const shp_Shape* linear = nullptr;
  for (const auto& [dims, corners, label] : kLinear)
    if (dims == shape.NumGeomDims() && corners == numCorners) linear = ShapeOf(label);
  std::vector<std::vector<double>> weights;
  for (const shp_IsoPoint& node : shape.NodeCoordinates())
    linear->ShapeFunctions(node, weights.emplace_back(numCorners));
  return weights;
}

/// The nodes of an element of the target shape with these corners.
Piece Placed(const Piece& corners, const shp_Shape& target) {
  Piece places;
  for (const std::vector<double>& weights : CornerWeights(target, corners.size())) {
    shp_IsoPoint place{};
    for (std::size_t c = 0; c < corners.size(); ++c)
      for (std::size_t k = 0; k < 3; ++k) place[k] += weights[c] * corners[c][k];
    places.push_back(place);
  }
  return places;
}

/// Places as sums of the nodes of the old element.
std::vector<bme_NodeSum> SumsOf(const Piece& places, const shp_Shape& old) {
  std::vector<double> functions(old.NodeCoordinates().size());
  std::vector<bme_NodeSum> sums;
  for (const shp_IsoPoint& place : places) {
    old.ShapeFunctions(place, functions);
    bme_NodeSum sum;
    for (std::size_t n = 0; n < functions.size(); ++n) {
      // the same numbers from either side of a face
      constexpr double kSteps = 1 << 20;
      const double weight = std::round(functions[n] * kSteps) / kSteps;
      if (weight != 0) sum.emplace_back(static_cast<int>(n), weight);
    }
    sums.push_back(std::move(sum));
  }
  return sums;
}

/// Makes a mesh whose elements are pieces of those of another one.
class Divider {
public:
  explicit Divider(const bme_MeshAndSets& source)
      : source_(source), nodes_(source.mesh.NodeData().NumNodes()), pieces_(source) {}

  void Keep(const bme_ElementClass& type) { pieces_.Keep(type); }

  /// choose(row) gives the pieces of an element, as positions in `pieces`, which hold the places of all nodes.
  template<class Choose>
  void Divide(const bme_ElementClass& type, const cow_String& label, const std::vector<Piece>& pieces,
              Choose choose) {
    pieces_.Begin(type);
    const shp_Shape &old = *type.Shape(), &target = *ShapeOf(label);
    std::vector<std::vector<bme_NodeSum>> sums;
    sums.reserve(pieces.size());
    for (const Piece& piece : pieces) sums.push_back(SumsOf(piece, old));
    wip_Poll poll(8192);
    std::vector<int> made;
    for (int i = 0; i < type.NumElements(); ++i) {
      poll.Advance();
      const std::span<const int> row = type.Connectivity(i);
      const auto& chosen = choose(row);
      for (const int piece : chosen) {
        made.clear();
        for (const bme_NodeSum& sum : sums[static_cast<std::size_t>(piece)])
          made.push_back(nodes_.Node(sum, row));
        pieces_.Add(type, i, made);
      }
      if (chosen.empty())
        throw nex_TextException(bme_Describe(type) + ": element " + std::to_string(pieces_.LabelOf(type, i))
                                + " has too few different corners");
    }
    pieces_.End(type, label, target.NodeCoordinates().size());
  }

  void Remark(const cow_String& text) { remarks_.push_back(text); }

  bme_Edited Finish() {
    const bme_NodeData nodes = nodes_.Nodes(source_.mesh.NodeData());
    bme_Edited edited = pieces_.Make(nodes, std::move(nodes_).Take());
    bme_SendSets(source_, edited);
    edited.remarks.insert(edited.remarks.begin(), remarks_.begin(), remarks_.end());
    return edited;
  }

private:
  const bme_MeshAndSets& source_;
  bme_NodeMaker nodes_;
  bme_PieceMaker pieces_;
  std::vector<cow_String> remarks_;
};

bool CanDivide(const bme_ElementClass& type) {
  const shp_Shape* shape = type.Shape();
  return shape && type.NumElements() > 0 && shape->NumGeomDims() > 0 && shape->NumRings() == 1
         && !shape->IsInteraction() && !shape->IsAnalyticalRigidSurface()
         && shape->NodeCoordinates().size() == static_cast<std::size_t>(type.NumNodesPerElem());
}

Piece CornersOf(const shp_Shape& shape) {
  const std::span<const shp_IsoPoint> nodes = shape.NodeCoordinates();
  return {nodes.begin(), nodes.begin() + static_cast<std::ptrdiff_t>(bme_NumCorners(shape))};
}

/// Drops nodes that were mid nodes and have no element any more.
bme_Edited WithoutFormerMidNodes(bme_Edited edited, const bme_MeshAndSets& source) {
  std::vector<unsigned char> kept(edited.result.mesh.NodeData().NumNodes(), 1);
  const auto mark = [&](const bme_Mesh& mesh, unsigned char value) {
    for (unsigned c = 0; c < mesh.ElementData().NumClasses(); ++c)
      for (const int node : mesh.ElementData().GetClass(c).ElementConnectivity().Const())
        kept[static_cast<std::size_t>(node)] = value;
  };
  mark(source.mesh, 0);
  mark(edited.result.mesh, 1);
  if (std::ranges::find(kept, 0) == kept.end()) return edited;
  bme_Renumbering drop = bme_Renumbering::Identity(edited.result.mesh);
  drop.nodes = bme_IndexMap::OfKept(kept);
  bme_Edited dropped = bme_Renumber(edited.result, std::move(drop));
  dropped.renumbering = edited.renumbering.Then(dropped.renumbering);
  dropped.remarks.insert(dropped.remarks.begin(), edited.remarks.begin(), edited.remarks.end());
  return dropped;
}

void StayRemark(Divider& divider, const bme_ElementClass& type, std::size_t nodes) {
  divider.Remark(bme_Describe(type) + " stays as it is: there is no type of its kind with "
                 + std::to_string(nodes) + " nodes");
}
} // namespace

bme_Edited bme_ChangeOrder(const bme_MeshAndSets& source, bool toQuadratic, const bme_TypeChoice& types) {
  constexpr struct {
    int dims;
    std::size_t corners, nodes;
  } kQuadratic[] = {{1, 2, 3}, {2, 3, 6}, {2, 4, 8}, {3, 4, 10}, {3, 6, 15}, {3, 8, 20}};
  Divider divider(source);
  for (unsigned c = 0; c < source.mesh.ElementData().NumClasses(); ++c) {
    const bme_ElementClass& type = source.mesh.ElementData().GetClass(c);
    const shp_Shape* shape = type.Shape();
    if (!CanDivide(type) || (shape->InterpOrder() > 1) == toQuadratic) {
      divider.Keep(type);
      continue;
    }
    const std::size_t corners = bme_NumCorners(*shape);
    std::size_t wanted = corners;
    for (const auto& [dims, ofCorners, nodes] : kQuadratic)
      if (toQuadratic && dims == shape->NumGeomDims() && ofCorners == corners) wanted = nodes;
    if (const auto chosen = types.find(type.ElemTypeLabel()); chosen != types.end())
      if (const shp_Shape* own = ShapeOf(chosen->second); own && (own->InterpOrder() > 1) == toQuadratic)
        wanted = static_cast<std::size_t>(own->NumNodes());
    const cow_String label = bme_TypeLike(type.ElemTypeLabel(), corners, wanted, types);
    if (label.empty()) {
      StayRemark(divider, type, wanted);
      divider.Keep(type);
      continue;
    }
    const std::vector<int> whole{0};
    divider.Divide(type, label, {Placed(CornersOf(*shape), *ShapeOf(label))},
                   [&](std::span<const int>) -> const std::vector<int>& { return whole; });
  }
  bme_Edited edited = divider.Finish();
  return toQuadratic ? edited : WithoutFormerMidNodes(std::move(edited), source);
}

namespace {
/// Simplices of the corners of one shape, with mid nodes if their type has them. Those with a node twice are left out.
class Simplices {
public:
  Simplices(const shp_Shape& shape, const shp_Shape& target, const bme_NodeData& nodes)
      : shape_(shape), nodes_(nodes), corners_(CornersOf(shape)) {
    for (const std::vector<double>& weights : CornerWeights(target, bme_NumCorners(target))) {
      std::vector<int> ends;
      for (std::size_t k = 0; k < weights.size(); ++k)
        if (weights[k] != 0) ends.push_back(static_cast<int>(k));
      ends_.emplace_back(ends.front(), ends.back());
    }
  }

  /// Numbers of the pieces of an element; new ones are added to those that are known.
  const std::vector<int>& Of(std::span<const int> row) {
    chosen_.clear();
    const auto labelOf = [&](int local) {
      return bme_LabelOfNode(nodes_, static_cast<unsigned>(row[static_cast<std::size_t>(local)]));
    };
    const auto add = [&](std::vector<int> locals) {
      for (std::size_t i = 0; i < locals.size(); ++i)
        for (std::size_t k = 0; k < i; ++k)
          if (row[static_cast<std::size_t>(locals[i])] == row[static_cast<std::size_t>(locals[k])]) return;
      std::vector<std::pair<int, int>> ends;
      for (const auto& [a, b] : ends_)
        ends.push_back(
            Nearest(row, locals[static_cast<std::size_t>(a)], locals[static_cast<std::size_t>(b)]));
      chosen_.push_back(NumberOf(ends));
    };
    if (shape_.NumGeomDims() == 2) {
      Fan(bme_Corners(shape_, 0), labelOf, [&](int a, int b, int c) { add({a, b, c}); });
      return chosen_;
    }
    int apex = 0;
    for (int corner = 1; corner < static_cast<int>(corners_.size()); ++corner)
      if (labelOf(corner) < labelOf(apex)) apex = corner;
    for (int face = 0; face < shape_.NumFaces(); ++face) {
      const std::span<const int> loop = bme_Corners(shape_, static_cast<unsigned>(face));
      const auto isApex = [&](int corner) {
        return row[static_cast<std::size_t>(corner)] == row[static_cast<std::size_t>(apex)];
      };
      if (std::ranges::any_of(loop, isApex)) continue;
      Fan(loop, labelOf, [&](int a, int b, int c) { add({a, c, b, apex}); }); // faces look outwards
    }
    return chosen_;
  }

  std::vector<Piece> Pieces() const {
    std::vector<Piece> pieces;
    for (const auto& ends : known_) {
      Piece piece;
      for (const auto& [a, b] : ends)
        piece.push_back(
            bme_Middle(corners_[static_cast<std::size_t>(a)], corners_[static_cast<std::size_t>(b)]));
      pieces.push_back(std::move(piece));
    }
    return pieces;
  }

private:
  /// Triangles of a loop of three or four corners, from the one with the lowest label on.
  template<class LabelOf, class Visit>
  static void Fan(std::span<const int> loop, LabelOf labelOf, Visit visit) {
    std::size_t first = 0;
    for (std::size_t k = 1; k < loop.size(); ++k)
      if (labelOf(loop[k]) < labelOf(loop[first])) first = k;
    for (std::size_t k = 1; k + 1 < loop.size(); ++k)
      visit(loop[first], loop[(first + k) % loop.size()], loop[(first + k + 1) % loop.size()]);
  }
  /// Of corners that are these nodes, too, the two that are next to each other: of collapsed elements the mid node
  /// of a side is not in the middle of any two.
  std::pair<int, int> Nearest(std::span<const int> row, int a, int b) const {
    if (a == b) return {a, b};
    const auto count = static_cast<int>(corners_.size());
    const auto nodeOf = [&](int local) { return row[static_cast<std::size_t>(local)]; };
    std::pair<int, int> nearest{a, b};
    double least = std::numeric_limits<double>::max();
    for (int i = 0; i < count; ++i)
      for (int k = 0; k < count && nodeOf(i) == nodeOf(a); ++k) {
        if (nodeOf(k) != nodeOf(b)) continue;
        double square = 0;
        for (std::size_t axis = 0; axis < 3; ++axis) {
          const double d =
              corners_[static_cast<std::size_t>(i)][axis] - corners_[static_cast<std::size_t>(k)][axis];
          square += d * d;
        }
        if (square >= least) continue;
        least = square;
        nearest = {i, k};
      }
    return nearest;
  }
  int NumberOf(const std::vector<std::pair<int, int>>& ends) {
    const auto found = std::ranges::find(known_, ends);
    if (found != known_.end()) return static_cast<int>(found - known_.begin());
    known_.push_back(ends);
    return static_cast<int>(known_.size()) - 1;
  }

  const shp_Shape& shape_;
  const bme_NodeData& nodes_;
  Piece corners_;
  std::vector<std::pair<int, int>> ends_;               ///< corners that each node of a simplex is between
  std::vector<std::vector<std::pair<int, int>>> known_; ///< the same as corners of the element
  std::vector<int> chosen_;
};
} // namespace

bme_Edited bme_SplitElements(const bme_MeshAndSets& source, const bme_TypeChoice& types) {
  Divider divider(source);
  for (unsigned c = 0; c < source.mesh.ElementData().NumClasses(); ++c) {
    const bme_ElementClass& type = source.mesh.ElementData().GetClass(c);
    const shp_Shape* shape = type.Shape();
    const std::size_t simplex = shape ? static_cast<std::size_t>(shape->NumGeomDims()) + 1 : 0;
    if (!CanDivide(type) || shape->NumGeomDims() < 2 || bme_NumCorners(*shape) == simplex) {
      divider.Keep(type);
      continue;
    }
    const std::size_t wanted = shape->InterpOrder() > 1 ? (simplex == 3 ? 6 : 10) : simplex;
    const cow_String label = bme_TypeLike(type.ElemTypeLabel(), simplex, wanted, types);
    if (label.empty()) {
      StayRemark(divider, type, wanted);
      divider.Keep(type);
      continue;
    }
    Simplices simplices(*shape, *ShapeOf(label), source.mesh.NodeData());
    wip_Poll poll(8192);
    for (int i = 0; i < type.NumElements(); ++i) { // which there are
      poll.Advance();
      simplices.Of(type.Connectivity(i));
    }
    divider.Divide(type, label, simplices.Pieces(),
                   [&](std::span<const int> row) -> const std::vector<int>& { return simplices.Of(row); });
  }
  return divider.Finish();
}

namespace {
/// Which of the diagonals between middles of opposite edges is the shortest.
int ShortestDiagonal(std::span<const int> row, std::span<const float> xyz) {
  constexpr int kEnds[3][4] = {{0, 1, 2, 3}, {1, 2, 0, 3}, {0, 2, 1, 3}};
  int shortest = 0;
  double least = std::numeric_limits<double>::max();
  for (int d = 0; d < 3; ++d) {
    double square = 0;
    for (std::size_t axis = 0; axis < 3; ++axis) {
      const auto at = [&](int k) {
        return static_cast<double>(
            xyz[3 * static_cast<std::size_t>(row[static_cast<std::size_t>(kEnds[d][k])]) + axis]);
      };
      const double difference = at(0) + at(1) - at(2) - at(3);
      square += difference * difference;
    }
    if (square < least) {
      least = square;
      shortest = d;
    }
  }
  return shortest;
}
} // namespace

bme_Edited bme_RefineMesh(const bme_MeshAndSets& source) {
  Divider divider(source);
  const std::span<const float> xyz = source.mesh.NodeData().Coordinates().Const();
  for (unsigned c = 0; c < source.mesh.ElementData().NumClasses(); ++c) {
    const bme_ElementClass& type = source.mesh.ElementData().GetClass(c);
    if (!CanDivide(type)) {
      if (type.NumElements() > 0 && type.NumNodesPerElem() > 1)
        divider.Remark(bme_Describe(type) + " stays as it is: its elements have no parts");
      divider.Keep(type);
      continue;
    }
    const shp_Shape& shape = *type.Shape();
    const Piece corners = CornersOf(shape);
    const bool isTetrahedron = shape.NumGeomDims() == 3 && corners.size() == 4;
    std::vector<Piece> pieces = bme_RefinedPieces(corners, shape.NumGeomDims());
    for (Piece& piece : pieces) piece = Placed(piece, shape);
    std::vector<int> all(isTetrahedron ? 8 : pieces.size());
    std::iota(all.begin(), all.end(), 0);
    divider.Divide(type, type.ElemTypeLabel(), pieces,
                   [&](std::span<const int> row) -> const std::vector<int>& {
                     if (isTetrahedron)
                       std::iota(all.begin() + 4, all.end(), 4 + 4 * ShortestDiagonal(row, xyz));
                     return all;
                   });
  }
  return divider.Finish();
}
