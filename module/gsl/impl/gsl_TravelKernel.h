// gsl_TravelKernel.h: travel of one triangle along the third axis until it meets another
#pragma once

#include <algorithm>
#include <array>
#include <limits>

class gsl_Vector;

/// Unit axes, the third along the direction of travel.
using gsl_TravelFrame = std::array<std::array<double, 3>, 3>;

/// A frame along a unit direction; along a coordinate axis its axes are coordinate axes, exactly, and
/// along no direction too.
gsl_TravelFrame gsl_FrameAlong(const gsl_Vector& direction) noexcept;

/// Coordinates of a point in the frame: the same bits wherever it is asked for.
template<class T> void gsl_ToFrame(const gsl_TravelFrame& frame, const T* xyz, double (&out)[3]) noexcept {
  const double x = xyz[0], y = xyz[1], z = xyz[2];
  for (int i = 0; i < 3; ++i) out[i] = frame[i][0] * x + frame[i][1] * y + frame[i][2] * z;
}

/// A triangle in a frame whose third axis is the direction of travel, with its box and its plane.
struct gsl_TravelTriangle {
  double p[3][3];
  double low[3], high[3];
  double slope[2], near,
      far; ///< the depths above the origin of a slab that holds it: its plane, unless steep

  void FindBox() noexcept {
    for (int axis = 0; axis < 3; ++axis) {
      low[axis] = std::min({p[0][axis], p[1][axis], p[2][axis]});
      high[axis] = std::max({p[0][axis], p[1][axis], p[2][axis]});
    }
  }
  void FindPlane() noexcept; ///< after the box
};

/// Slope beyond which rounding would show in the depths of a plane.
inline constexpr double gsl_kSteepest = 16;

struct gsl_TravelContact {
  double distance = std::numeric_limits<double>::infinity(); ///< the bound before
  double fixed[3], movable[3];
};

/// The ways along the third axis from a movable slab to a fixed one lie in [low, high] above a rectangle.
struct gsl_Ways {
  double low, high;
  void Widen(double slope, double from, double to) noexcept {
    low += slope * (slope > 0 ? from : to);
    high += slope * (slope > 0 ? to : from);
  }
};

/// Replaces the contact by that of the two triangles when they meet after a travel of 0 or more below its
/// distance. What passes within the tolerance meets. The triangles have their boxes and planes.
///
/// The pairs of points, one of each triangle, that the direction joins are a convex polytope, and the way
/// between the two is linear on it, so its range is that of the corners: a vertex over a face, a vertex over
/// an edge, two edges that cross. The triangles meet when the range reaches 0 or more.
bool gsl_MeetTriangles(const gsl_TravelTriangle& fixed, const gsl_TravelTriangle& movable, double tolerance,
                       gsl_TravelContact& contact) noexcept;
