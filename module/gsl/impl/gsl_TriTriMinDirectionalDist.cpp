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

/// The ways from the moving element to the other. The pairs of points that the direction joins are a convex
/// set, so the two are in contact as soon as there is a way back and one ahead.
struct Ways {
  struct End {
    double way;
    gsl_Point onMoving, onTarget;
  };
  End least{std::numeric_limits<double>::infinity(), {}, {}};
  End most{-std::numeric_limits<double>::infinity(), {}, {}};

  void Add(const View& view, const gsl_Point& onMoving, const gsl_Point& onTarget) {
    const double way = view.Depth(onTarget) - view.Depth(onMoving);
    if (way < least.way) least = {way, onMoving, onTarget};
    if (way > most.way) most = {way, onMoving, onTarget};
  }
  void OfferTo(Nearest& nearest) const {
    if (!(most.way >= -gsl_Tol())) return;
    // where the way is 0 when they overlap
    const double t =
        least.way < 0 && most.way > least.way ? std::min(least.way / (least.way - most.way), 1.0) : 0.0;
    nearest.Offer(std::max(least.way, 0.0), gsl_Point(least.onMoving, 1 - t, most.onMoving, t),
                  gsl_Point(least.onTarget, 1 - t, most.onTarget, t));
  }
};

bool Carry(const gsl_Point& p, const gsl_Vector& u, const Triangle& onto, gsl_Point& hit) {
  double weights[3];
  gsl_Point foot;
  return gsl_StLine(p, u).Intersect(onto.plane, hit)
         && hit.ProjectOn(onto.vertex[0], onto.vertex[1], onto.vertex[2], foot, weights);
}

/// Visits the places where an edge of a crosses an edge of b in the view.
template<class Visit> void CrossEdges(const View& view, const Triangle& a, const Triangle& b, Visit visit) {
  gsl_Point onA, onB;
  for (unsigned i = 0; i < 3; ++i)
    for (unsigned j = 0; j < 3; ++j)
      if (view.Cross(a.vertex[i], a.vertex[(i + 1) % 3], b.vertex[j], b.vertex[(j + 1) % 3], onA, onB))
        visit(onA, onB);
}

/// One triangle is edge-on to the direction: its vertices over the other, and where edges cross.
void EdgeOn(const View& view, const Triangle& a, const Triangle& b, bool isFirst, Nearest& nearest) {
  Ways ways;
  gsl_Point hit;
  const Triangle &edgeOn = isFirst ? a : b, &other = isFirst ? b : a;
  for (const gsl_Point& p : edgeOn.vertex)
    if (Carry(p, view.along, other, hit)) ways.Add(view, isFirst ? p : hit, isFirst ? hit : p);
  CrossEdges(view, a, b, [&](const gsl_Point& onA, const gsl_Point& onB) { ways.Add(view, onA, onB); });
  ways.OfferTo(nearest);
}

void General(const View& view, const Triangle& a, const Triangle& b, Nearest& nearest) {
  gsl_Point hit;
  for (const gsl_Point& p : a.vertex)
    if (Carry(p, view.along, b, hit)) nearest.Offer(std::fabs(p.GetDistance(b.plane, view.along)), p, hit);
  for (const gsl_Point& p : b.vertex)
    if (Carry(p, view.along, a, hit)) nearest.Offer(std::fabs(p.GetDistance(a.plane, view.along)), hit, p);
  CrossEdges(view, a, b, [&](const gsl_Point& onA, const gsl_Point& onB) {
    nearest.OfferAhead(view.Depth(onB) - view.Depth(onA), onA, onB);
  });
}

/// Visits the points of a segment that the direction joins with a point.
template<class Visit>
void FindOn(const View& view, const gsl_Point& p, const gsl_Point& s0, const gsl_Point& s1, Visit visit) {
  const gsl_Point flat = view.Flat(p), flat0 = view.Flat(s0), flat1 = view.Flat(s1);
  if (flat0.GetDistance(flat1) < gsl_Tol()) { // the segment runs along the direction: its ends
    if (!flat.IsOn(flat0)) return;
    visit(s0);
    visit(s1);
    return;
  }
  double t;
  gsl_Point foot;
  if (flat.ProjectOn(gsl_Segment(flat0, flat1), foot, t) && flat.IsOn(foot))
    visit(gsl_Point(s0, 1 - t, s1, t));
}

/// The ways of segment p to segment q, of one plane along the direction or of two that cross.
void InPlane(const View& view, const gsl_Point& p0, const gsl_Point& p1, const gsl_Point& q0,
             const gsl_Point& q1, Ways& ways) {
  for (const gsl_Point* end : {&p0, &p1})
    FindOn(view, *end, q0, q1, [&](const gsl_Point& onQ) { ways.Add(view, *end, onQ); });
  for (const gsl_Point* end : {&q0, &q1})
    FindOn(view, *end, p0, p1, [&](const gsl_Point& onP) { ways.Add(view, onP, *end); });
  gsl_Point onP, onQ;
  if (view.Cross(p0, p1, q0, q1, onP, onQ)) ways.Add(view, onP, onQ);
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
    Ways ways;
    for (unsigned i = 0; i < 3; ++i)
      for (unsigned j = 0; j < 3; ++j)
        InPlane(view, a.vertex[i], a.vertex[(i + 1) % 3], b.vertex[j], b.vertex[(j + 1) % 3], ways);
    ways.OfferTo(nearest);
  } else if (edgeOnA || edgeOnB) {
    EdgeOn(view, a, b, edgeOnA, nearest);
  } else {
    General(view, a, b, nearest);
  }
  return nearest.found;
}

bool gsl_InPlaneSegSegMinDirectionalDist(const gsl_Vector& dir, const gsl_Point& p0, const gsl_Point& p1,
                                         const gsl_Point& q0, const gsl_Point& q1, int sign,
                                         gsl_Point contact[], double& d) {
  gsl_Vector u = dir;
  if (!u.Normalize()) return false;
  const View view{u, p0};
  Ways ways;
  if (sign < 0)
    InPlane(view, q0, q1, p0, p1, ways);
  else
    InPlane(view, p0, p1, q0, q1, ways);
  Nearest nearest{contact, d};
  ways.OfferTo(nearest); // contact may be some of the ends
  return nearest.found;
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
