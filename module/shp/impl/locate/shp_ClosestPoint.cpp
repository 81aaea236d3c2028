// The place of an element that is closest to a point.
#include "shp_MappedElement.h"

#include <CoreGeometry/shp_ElementSearch.h>

namespace {
using State = shp_MappedElement::State;
using shp_Map::Dot, shp_Map::Minus;

class Search {
public:
  Search(const shp_MappedElement& element, const shp_Vector& target)
      : element_(element), facts_(*shp_FindFacts(element.Table().family)), target_(target) {}

  /// Squared distance; the place is on the rim of solids.
  double Run(shp_IsoPoint& iso) {
    for (const shp_FaceLoop& loop : facts_.faces) {
      const std::size_t size = loop.size();
      if (size > 2) TryFace(Corner(loop[0]), Corner(loop[1]), Corner(loop[size - 1]), size == 3);
      for (std::size_t k = 0; k + (size == 2) < size; ++k) {
        const int from = loop[k], to = loop[(k + 1) % size];
        if (facts_.numDims < 3 || from < to) TryEdge(Corner(from), Corner(to)); // solids have each edge twice
      }
    }
    iso = best_;
    return least_;
  }

private:
  const shp_IsoPoint& Corner(int corner) const { return facts_.corners[static_cast<std::size_t>(corner)]; }
  bool IsLinear() const { return element_.Table().numNodes == element_.Table().numCorners; }

  /// Image of a place, its derivatives along the directions, and the squared distance.
  double Evaluate(const shp_IsoPoint& iso, std::span<const shp_IsoPoint> directions, shp_Vector& residual,
                  std::array<shp_Vector, 2>& along) const {
    State state;
    element_.Evaluate(iso, state);
    residual = Minus(target_, state.position);
    for (std::size_t k = 0; k < directions.size(); ++k) {
      along[k] = {};
      for (std::size_t j = 0; j < 3; ++j)
        for (std::size_t axis = 0; axis < 3; ++axis)
          along[k][axis] += directions[k][j] * state.columns[j][axis];
    }
    return Dot(residual, residual);
  }

  void Keep(const shp_IsoPoint& iso, double squared) {
    if (squared < least_) {
      least_ = squared;
      best_ = iso;
    }
  }

  static shp_IsoPoint Along(const shp_IsoPoint& from, std::span<const shp_IsoPoint> directions,
                            const std::array<double, 2>& local) {
    shp_IsoPoint iso = from;
    for (std::size_t k = 0; k < directions.size(); ++k)
      for (std::size_t axis = 0; axis < 3; ++axis) iso[axis] += local[k] * directions[k][axis];
    return iso;
  }

  /// Damped steps of least squares from a start. Local coordinates are kept within the bounds; on the rim of
  /// a face the search ends, because the edges are searched by themselves.
  void Descend(const shp_IsoPoint& from, std::span<const shp_IsoPoint> directions, bool isTriangle,
               std::array<double, 2> local) {
    constexpr int kMaxRounds = 40, kMaxHalvings = 10;
    shp_Vector residual;
    std::array<shp_Vector, 2> along{};
    double squared = Evaluate(Along(from, directions, local), directions, residual, along);
    for (int round = 0; round < kMaxRounds; ++round) {
      const double aa = Dot(along[0], along[0]), ra = Dot(residual, along[0]);
      std::array<double, 2> step{};
      if (directions.size() == 1) {
        step[0] = ra / aa;
      } else {
        const double ab = Dot(along[0], along[1]), bb = Dot(along[1], along[1]), rb = Dot(residual, along[1]);
        const double determinant = aa * bb - ab * ab;
        step = {(ra * bb - rb * ab) / determinant, (rb * aa - ra * ab) / determinant};
      }
      if (!std::isfinite(step[0]) || !std::isfinite(step[1])) break;
      std::array<double, 2> next{};
      shp_Vector nextResidual;
      std::array<shp_Vector, 2> nextAlong{};
      double factor = 1, nextSquared = 0;
      for (int halvings = 0; halvings <= kMaxHalvings; ++halvings, factor /= 2) {
        for (std::size_t k = 0; k < directions.size(); ++k)
          next[k] = std::clamp(local[k] + factor * step[k], 0.0, 1.0);
        if (isTriangle && next[0] + next[1] > 1) {
          const double sum = next[0] + next[1];
          for (double& value : next) value /= sum;
        }
        nextSquared = Evaluate(Along(from, directions, next), directions, nextResidual, nextAlong);
        if (nextSquared < squared) break;
      }
      if (!(nextSquared < squared)) break;
      const double moved = std::abs(next[0] - local[0]) + std::abs(next[1] - local[1]);
      local = next;
      squared = nextSquared;
      residual = nextResidual;
      along = nextAlong;
      if (moved < 1e-8) break; // the distance changes by the square of it
    }
    Keep(Along(from, directions, local), squared);
  }

  void TryFace(const shp_IsoPoint& corner, const shp_IsoPoint& toU, const shp_IsoPoint& toV,
               bool isTriangle) {
    const std::array<shp_IsoPoint, 2> directions = {Minus(toU, corner), Minus(toV, corner)};
    const double middle = isTriangle ? 1.0 / 3 : 0.5;
    Descend(corner, directions, isTriangle, {middle, middle});
    if (isTriangle && IsLinear()) return;
    for (const double u : {0.15, 0.7})
      for (const double v : {0.15, 0.7})
        if (!isTriangle || u + v < 1) Descend(corner, directions, isTriangle, {u, v});
  }

  void TryEdge(const shp_IsoPoint& from, const shp_IsoPoint& to) {
    const shp_IsoPoint direction = Minus(to, from);
    const std::span<const shp_IsoPoint> directions(&direction, 1);
    Descend(from, directions, false, {0.5, 0});
    if (IsLinear()) return;
    for (const double start : {0.0, 1.0}) Descend(from, directions, false, {start, 0});
  }

  const shp_MappedElement& element_;
  const shp_Facts& facts_;
  const shp_Vector target_;
  shp_IsoPoint best_{};
  double least_ = std::numeric_limits<double>::infinity();
};
} // namespace

double shp_ElementSearch::FindClosestPoint(const std::array<double, 3>& target,
                                           std::span<const int> elementNodes,
                                           std::span<const float> coordinates, shp_IsoPoint& iso) const {
  constexpr double kNone = std::numeric_limits<double>::infinity();
  if (!table_) return kNone;
  const shp_Location location = FindInElement(target, elementNodes, coordinates, iso);
  if (shp_IsHeld(location)) return 0;
  const auto nodeAt = [&](std::size_t node) {
    return coordinates.data() + 3 * static_cast<std::size_t>(elementNodes[node]);
  };
  const shp_Frame frame(*table_, nodeAt);
  if (!frame.IsSound()) return kNone;
  const shp_MappedElement element(*table_, nodeAt, frame);
  return std::sqrt(Search(element, frame.Normalised(target)).Run(iso)) * frame.size;
}
