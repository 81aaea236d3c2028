// The kernels of the directional distance: two triangles, two segments, two boxes.
#include "gsl_Tolerances.h"
#include <CoreGeometry/gsl_Plane.h>
#include <CoreGeometry/gsl_Segment.h>
#include <CoreGeometry/gsl_StLine.h>
#include <CoreGeometry/gsl_TriTriDirDist.h>
#include <algorithm>
#include <cmath>
#include <limits>

namespace {
struct Triangle {
  gsl_Point vertex[3];
  gsl_Plane plane;
};

/// What one sees along a unit direction: places in the plane normal to it, and depths along it.
struct View {
  gsl_Vector along;
  gsl_Point origin;

  double Depth(const gsl_Point& p) const { return gsl_Vector(origin, p).DotProduct(along); }
  gsl_Point Flat(const gsl_Point& p) const { return p - along * Depth(p); }

  /// Where two segments cross in the view: the place on each.
  bool Cross(const gsl_Point& p0, const gsl_Point& p1, const gsl_Point& q0, const gsl_Point& q1,
             gsl_Point& onP, gsl_Point& onQ) const {
    const gsl_Point flat[4] = {Flat(p0), Flat(p1), Flat(q0), Flat(q1)};
    gsl_Point crossing;
    double gap, p[2], q[2];
    if (!gsl_StLine(flat[0], flat[1]).Intersect(gsl_StLine(flat[2], flat[3]), crossing, gap)
        || !(gap <= gsl_Tol()) || !gsl_SegmentWeights(crossing, flat[0], flat[1], p)
        || !gsl_SegmentWeights(crossing, flat[2], flat[3], q))
      return false;
    onP = gsl_Point(p0, 1 - p[0], p1, p[0]);
    onQ = gsl_Point(q0, 1 - q[0], q1, q[0]);
    return true;
  }
};

/// The smallest candidate below the bound on entry.
struct Nearest {
  gsl_Point* contact;
  double& d;
  bool found = false;

  void Offer(double travel, const gsl_Point& onMoving, const gsl_Point& onTarget) {
    if (!(travel < d)) return;
    d = travel;
    contact[0] = onMoving;
    contact[1] = onTarget;
    found = true;
  }
  /// Only ahead; what is behind by no more than the tolerance touches.
  void OfferAhead(double travel, const gsl_Point& onMoving, const gsl_Point& onTarget) {
    if (travel >= -gsl_Tol()) Offer(std::max(travel, 0.0), onMoving, onTarget);
  }
};

bool Carry(const gsl_Point& p, const gsl_Vector& u, const Triangle& onto, gsl_Point& hit) {
  double weights[3];
  gsl_Point foot;
  return gsl_StLine(p, u).Intersect(onto.plane, hit)
         && hit.ProjectOn(onto.vertex[0], onto.vertex[1], onto.vertex[2], foot, weights);
}

/// Edges of a, which moves along the view's direction, against edges of b.
void CrossEdges(const View& view, const Triangle& a, const Triangle& b, Nearest& nearest) {
  gsl_Point onA, onB;
  for (unsigned i = 0; i < 3; ++i)
    for (unsigned j = 0; j < 3; ++j)
      if (view.Cross(a.vertex[i], a.vertex[(i + 1) % 3], b.vertex[j], b.vertex[(j + 1) % 3], onA, onB))
        nearest.OfferAhead(view.Depth(onB) - view.Depth(onA), onA, onB);
}

/// The vertices of a triangle edge-on to the direction against the plane of another: with a sign of 1 the
/// edge-on one moves, with -1 the other.
void CarryEdgeOn(const gsl_Vector& u, const Triangle& edgeOn, const Triangle& other, int sign,
                 Nearest& nearest) {
  gsl_Point hit;
  for (const gsl_Point& p : edgeOn.vertex)
    if (Carry(p, u, other, hit))
      nearest.OfferAhead(sign * gsl_Vector(p, hit).DotProduct(u), sign > 0 ? p : hit, sign > 0 ? hit : p);
}

void General(const gsl_Vector& u, const Triangle& a, const Triangle& b, Nearest& nearest) {
  gsl_Point hit;
  for (const gsl_Point& p : a.vertex)
    if (Carry(p, u, b, hit)) nearest.Offer(std::fabs(p.GetDistance(b.plane, u)), p, hit);
  for (const gsl_Point& p : b.vertex)
    if (Carry(p, u, a, hit)) nearest.Offer(std::fabs(p.GetDistance(a.plane, u)), hit, p);
}

bool InPlane(const View& view, const gsl_Point& p0, const gsl_Point& p1, const gsl_Point& q0,
             const gsl_Point& q1, int sign, Nearest& nearest) {
  const bool foundBefore = nearest.found;
  nearest.found = false;
  const auto meet = [&](const gsl_Point& onP, const gsl_Point& onQ) {
    nearest.OfferAhead(sign * (view.Depth(onQ) - view.Depth(onP)), sign > 0 ? onP : onQ,
                       sign > 0 ? onQ : onP);
  };
  const gsl_Point flat0 = view.Flat(q0), flat1 = view.Flat(q1);
  const gsl_Segment flat(flat0, flat1);
  for (const gsl_Point* end : {&p0, &p1}) {
    const gsl_Point flatEnd = view.Flat(*end);
    if (flat.Length() < gsl_Tol()) { // q runs along the direction: its ends are what can be met
      if (!flatEnd.IsOn(flat0)) continue;
      meet(*end, q0);
      meet(*end, q1);
      continue;
    }
    double t;
    gsl_Point foot;
    if (flatEnd.ProjectOn(flat, foot, t) && flatEnd.IsOn(foot)) meet(*end, gsl_Point(q0, 1 - t, q1, t));
  }
  gsl_Point onP, onQ;
  if (view.Cross(p0, p1, q0, q1, onP, onQ)) meet(onP, onQ);
  const bool found = nearest.found;
  nearest.found = found || foundBefore;
  return found;
}

/// The interval of depths of a triangle.
void Depths(const View& view, const Triangle& triangle, double& low, double& high) {
  low = std::numeric_limits<double>::max();
  high = -low;
  for (const gsl_Point& p : triangle.vertex) {
    low = std::min(low, view.Depth(p));
    high = std::max(high, view.Depth(p));
  }
}
} // namespace

bool gsl_TriTriMinDirectionalDist(const gsl_Vector& dir, const gsl_Point& a0, const gsl_Point& a1,
                                  const gsl_Point& a2, const gsl_Point& b0, const gsl_Point& b1,
                                  const gsl_Point& b2, const bool flip[2], double tol, gsl_Point contact[],
                                  double& d) {
  gsl_Vector u = dir;
  const gsl_Vector normalA(a0, a1, a2), normalB(b0, b1, b2);
  if (!u.Normalize() || normalA.Magnitude() < 0.5 || normalB.Magnitude() < 0.5) return false;
  const bool edgeOnA = normalA.IsOrthogonal(u), edgeOnB = normalB.IsOrthogonal(u);
  if (!edgeOnA && normalA.DotProduct(u) < 0 && !flip[0]) return false;
  if (!edgeOnB && normalB.DotProduct(u) > 0 && !flip[1]) return false;
  const Triangle a{{a0, a1, a2}, gsl_Plane(a0, normalA)}, b{{b0, b1, b2}, gsl_Plane(b0, normalB)};

  const View view{u, a0};
  double lowA, highA, lowB, highB;
  Depths(view, a, lowA, highA);
  Depths(view, b, lowB, highB);
  if (lowA > highB || lowB - highA > tol + d) return false;

  Nearest nearest{contact, d};
  if (edgeOnA && edgeOnB) {
    if (!(a.plane.GetDistance(b.plane) <= gsl_Tol())) return false;
    for (unsigned i = 0; i < 3; ++i)
      for (unsigned j = 0; j < 3; ++j) {
        const gsl_Point &p0 = a.vertex[i], &p1 = a.vertex[(i + 1) % 3];
        const gsl_Point &q0 = b.vertex[j], &q1 = b.vertex[(j + 1) % 3];
        InPlane(view, p0, p1, q0, q1, 1, nearest);
        InPlane(view, q0, q1, p0, p1, -1, nearest);
      }
    return nearest.found;
  }
  if (edgeOnA)
    CarryEdgeOn(u, a, b, 1, nearest);
  else if (edgeOnB)
    CarryEdgeOn(u, b, a, -1, nearest);
  else
    General(u, a, b, nearest);
  CrossEdges(view, a, b, nearest);
  return nearest.found;
}

bool gsl_InPlaneSegSegMinDirectionalDist(const gsl_Vector& dir, const gsl_Point& p0, const gsl_Point& p1,
                                         const gsl_Point& q0, const gsl_Point& q1, int sign,
                                         gsl_Point contact[], double& d) {
  gsl_Vector u = dir;
  if (!u.Normalize()) return false;
  Nearest nearest{contact, d};
  return InPlane({u, p0}, p0, p1, q0, q1, sign < 0 ? -1 : 1, nearest);
}

bool gsl_BoxBoxDirectionalDist(const gsl_Vector& dir, const gsl_BBox& fixed, const gsl_BBox& movable,
                               double& distance) {
  gsl_Vector u = dir;
  if (!std::isfinite(u.Magnitude()) || !u.Normalize() || fixed.IsEmpty() || movable.IsEmpty()) return false;
  double enter = 0, leave = std::numeric_limits<double>::max();
  for (unsigned i = 0; i < 3; ++i) {
    const double ahead = fixed.Min()[i] - movable.Max()[i], behind = fixed.Max()[i] - movable.Min()[i];
    if (std::fabs(u[i]) <= gsl_RelTol()) {
      if (ahead > gsl_Tol() || behind < -gsl_Tol()) return false;
      continue;
    }
    enter = std::max(enter, (u[i] > 0 ? ahead : behind) / u[i]);
    leave = std::min(leave, (u[i] > 0 ? behind : ahead) / u[i]);
  }
  if (!(enter <= leave + gsl_Tol())) return false;
  distance = enter;
  return true;
}
