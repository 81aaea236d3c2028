// odiC_Probe.h: values at points of the body
#pragma once

#include <CoreGeometry/bme_ElementLocator.h>
#include <CoreGeometry/odiC_Values.h>

/// Places of points in the elements that have values, found once for any number of frames: in the body as it is
/// meshed, not deformed. There the values are interpolated by the shape functions of the element from its nodes: nodal
/// values, means at nodes if those are asked for (odiC_Values::AtNodes), else the element's own. On a boundary
/// those of the first element are taken.
///
/// Units      those of the mesh, without its placement.
/// Errors     odiC_Exception when the values are at no nodes or elements, or at several section points; wip_Cancelled.
/// Cost       the locator of the mesh, 100 bytes a point, and one pass over the values of a frame.
/// Threads    one thread at a time.
class CORE_GEOMETRY_API odiC_Probe {
public:
  /// Three coordinates for each point. Points outside have no value, or with `nearest` that of the closest place.
  odiC_Probe(const odiC_Values& values, std::span<const double> points, bool nearest = false);

  /// Where a point lies: bme_kNotFound when outside; the distance is 0 inside.
  std::span<const bme_NearestElement> Places() const noexcept { return places_; }
  int NumComponents() const noexcept { return width_; }
  /// A row for each point; not a number where there is no value.
  std::vector<double> Read(const odiC_When& when) const;

private:
  odiC_Values values_;
  int width_ = 1;
  std::vector<bme_NearestElement> places_;
};

/// n points from a to b at equal distances, three coordinates each; the middle for one point.
CORE_GEOMETRY_API std::vector<double> odiC_LinePoints(const std::array<double, 3>& a,
                                                      const std::array<double, 3>& b, int count);
