#include "gsl_TravelKernel.h"

#include <CoreGeometry/gsl_Vector.h>
#include <cmath>

namespace {
constexpr int kNext[3] = {1, 2, 0};
constexpr double kMismatch = 1e3; ///< tolerances by which places that rounding has moved may differ

/// Twice the signed area of a, b, c in the view along the direction.
double Turn(const double* a, const double* b, const double* c) {
  return (b[0] - a[0]) * (c[1] - a[1]) - (b[1] - a[1]) * (c[0] - a[0]);
}

double Squared(const double* a, const double* b) {
  const double dx = b[0] - a[0], dy = b[1] - a[1];
  return dx * dx + dy * dy;
}

void Between(const double* a, const double* b, double t, double* out) {
  for (int axis = 0; axis < 3; ++axis) out[axis] = a[axis] + (b[axis] - a[axis]) * t;
}

/// The ends of the range of ways from the movable triangle to the fixed one.
struct Range {
  double low = std::numeric_limits<double>::infinity(), high = -low;
  double lowEnd[2][3], highEnd[2][3]; ///< the points that are joined: fixed, movable

  void Add(const double* fixed, const double* movable) {
    const double way = fixed[2] - movable[2];
    if (way < low) Set(low, lowEnd, way, fixed, movable);
    if (way > high) Set(high, highEnd, way, fixed, movable);
  }
  static void Set(double& value, double (&end)[2][3], double way, const double* fixed,
                  const double* movable) {
    value = way;
    std::copy_n(fixed, 3, end[0]);
    std::copy_n(movable, 3, end[1]);
  }
};

/// One triangle as seen from the vertices of the other.
struct Side {
  const double (&p)[3][3];
  double length[3];  ///< of the edges in the view, squared; edge i runs from vertex i to the next
  double area;       ///< twice, signed
  double turn[3][3]; ///< turn[i][k]: vertex k of the other triangle from edge i

  Side(const gsl_TravelTriangle& triangle, const gsl_TravelTriangle& other) : p(triangle.p) {
    for (int i = 0; i < 3; ++i) {
      length[i] = Squared(p[i], p[kNext[i]]);
      for (int k = 0; k < 3; ++k) turn[i][k] = Turn(p[i], p[kNext[i]], other.p[k]);
    }
    area = Turn(p[0], p[1], p[2]);
  }

  /// An edge has its triangle on one side and all vertices of the other beyond the tolerance on the other. An
  /// edge along the direction has no sides.
  bool Separates(double tolerance) const {
    const double limit = tolerance * tolerance;
    for (int i = 0; i < 3; ++i) {
      const double* t = turn[i];
      const double least = t[0] > 0 ? std::min({t[0], t[1], t[2]}) : -std::max({t[0], t[1], t[2]});
      if (least > 0 && length[i] > limit && least * least > limit * length[i]
          && (t[0] > 0 ? area <= 0 : area >= 0))
        return true;
    }
    return false;
  }

  /// Offers the places of this triangle that the direction joins with vertex k of the other.
  template<class Offer> void FindPlaces(const double* vertex, int k, double tolerance, Offer offer) const {
    const double limit = tolerance * tolerance;
    const double t0 = turn[0][k], t1 = turn[1][k], t2 = turn[2][k];
    if ((t0 >= 0 && t1 >= 0 && t2 >= 0) || (t0 <= 0 && t1 <= 0 && t2 <= 0)) {
      const double sum = t0 + t1 + t2;
      double place[3];
      for (int axis = 0; axis < 3; ++axis)
        place[axis] = (t1 * p[0][axis] + t2 * p[1][axis] + t0 * p[2][axis]) / sum;
      // of a triangle edge-on the weights are noise
      if (Squared(place, vertex) <= kMismatch * kMismatch * limit) offer(place);
    }
    for (int i = 0; i < 3; ++i) {
      if (turn[i][k] * turn[i][k] > limit * length[i] && length[i] > limit) continue;
      const double *a = p[i], *b = p[kNext[i]];
      if (length[i] <= limit) { // along the direction
        if (Squared(a, vertex) <= limit) offer(a);
        if (Squared(b, vertex) <= limit) offer(b);
        continue;
      }
      const double t = ((b[0] - a[0]) * (vertex[0] - a[0]) + (b[1] - a[1]) * (vertex[1] - a[1])) / length[i];
      double place[3];
      Between(a, b, std::clamp(t, 0.0, 1.0), place);
      if (Squared(place, vertex) <= limit) offer(place);
    }
  }
};

bool Opposite(double a, double b) { return (a < 0 && b > 0) || (a > 0 && b < 0); }
} // namespace

// Duff and others, "Building an Orthonormal Basis, Revisited", JCGT 6 (2017)
gsl_TravelFrame gsl_FrameAlong(const gsl_Vector& direction) noexcept {
  const double x = direction[0], y = direction[1], z = direction[2];
  if (!(x * x + y * y + z * z > 0)) return {{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}};
  const double sign = std::copysign(1.0, z), a = -1 / (sign + z), b = x * y * a;
  return {{{1 + sign * x * x * a, sign * b, -sign * x}, {b, sign + y * y * a, -y}, {x, y, z}}};
}

void gsl_TravelTriangle::FindPlane() noexcept {
  const double ax = p[1][0] - p[0][0], ay = p[1][1] - p[0][1], az = p[1][2] - p[0][2];
  const double bx = p[2][0] - p[0][0], by = p[2][1] - p[0][1], bz = p[2][2] - p[0][2];
  const double area = ax * by - ay * bx;
  slope[0] = (az * by - ay * bz) / area;
  slope[1] = (ax * bz - az * bx) / area;
  // thin in the view: the plane would be noise
  const bool isFlat = area * area > 1e-8 * (ax * ax + ay * ay) * (bx * bx + by * by)
                      && std::fabs(slope[0]) + std::fabs(slope[1]) < gsl_kSteepest;
  if (isFlat) {
    near = far = p[0][2] - slope[0] * p[0][0] - slope[1] * p[0][1];
  } else {
    slope[0] = slope[1] = 0;
    near = low[2];
    far = high[2];
  }
}

bool gsl_MeetTriangles(const gsl_TravelTriangle& fixed, const gsl_TravelTriangle& movable, double tolerance,
                       gsl_TravelContact& contact) noexcept {
  if (fixed.low[2] - movable.high[2] >= contact.distance || fixed.high[2] - movable.low[2] < -tolerance)
    return false;
  gsl_Ways ways{fixed.near - movable.far, fixed.far - movable.near};
  for (int axis = 0; axis < 2; ++axis) {
    const double from = std::max(fixed.low[axis], movable.low[axis]),
                 to = std::min(fixed.high[axis], movable.high[axis]);
    if (from - to > tolerance) return false;
    ways.Widen(fixed.slope[axis] - movable.slope[axis], from - tolerance, to + tolerance);
  }
  if (ways.low >= contact.distance || ways.high < -kMismatch * tolerance) return false;
  const Side f(fixed, movable);
  if (f.Separates(tolerance)) return false;
  const Side m(movable, fixed);
  if (m.Separates(tolerance)) return false;

  Range range;
  for (int k = 0; k < 3; ++k) {
    f.FindPlaces(m.p[k], k, tolerance, [&](const double* place) { range.Add(place, m.p[k]); });
    m.FindPlaces(f.p[k], k, tolerance, [&](const double* place) { range.Add(f.p[k], place); });
  }
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 3; ++j) {
      const double f0 = f.turn[i][j], f1 = f.turn[i][kNext[j]], m0 = m.turn[j][i], m1 = m.turn[j][kNext[i]];
      if (!Opposite(f0, f1) || !Opposite(m0, m1)) continue;
      double onFixed[3], onMovable[3];
      Between(f.p[i], f.p[kNext[i]], m0 / (m0 - m1), onFixed);
      Between(m.p[j], m.p[kNext[j]], f0 / (f0 - f1), onMovable);
      // of parallel edges the crossing is noise
      if (Squared(onFixed, onMovable) <= kMismatch * kMismatch * tolerance * tolerance)
        range.Add(onFixed, onMovable);
    }

  if (!(range.high >= -tolerance) || !(std::max(range.low, 0.0) < contact.distance)) return false;
  contact.distance = std::max(range.low, 0.0);
  // where the way is 0 when they overlap
  const double t =
      range.low < 0 && range.high > range.low ? std::min(range.low / (range.low - range.high), 1.0) : 0.0;
  Between(range.lowEnd[0], range.highEnd[0], t, contact.fixed);
  Between(range.lowEnd[1], range.highEnd[1], t, contact.movable);
  return true;
}
