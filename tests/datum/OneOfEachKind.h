// OneOfEachKind.h: one datum of each kind, every field away from its default
#pragma once

#include <CoreGeometry/dtu_6dofNodeDatumCsys.h>
#include <CoreGeometry/dtu_DatumAxis.h>
#include <CoreGeometry/dtu_DatumPlane.h>
#include <CoreGeometry/dtu_DatumPoint.h>
#include <memory>
#include <vector>

using DatumPtr = std::unique_ptr<dtu_Datum>;

inline std::vector<DatumPtr> OneOfEachKind() {
  std::vector<DatumPtr> all;
  all.emplace_back(new dtu_Datum(1, 2, dtu_PLANE));
  all.emplace_back(new dtu_DatumPoint(3, 4, {1, 2, 3}));
  all.emplace_back(new dtu_DatumAxis(5, 6, {1, 2, 3}, {0, 2, 0}));
  all.emplace_back(new dtu_DatumPlane(7, 8, {1, 2, 3}, {1, 1, 0}));
  all.emplace_back(new dtu_DatumCsys(9, 10, {1, 2, 3}, {0, 1, 0}, {0, 0, 1}, {1, 0, 0}, dtu_SPHERICAL));
  all.emplace_back(new dtu_DynamicDatumCsys(11, 12, 1, 2, 3, 10, 20, 30, dtu_CYLINDRICAL, true));
  all.emplace_back(
      new dtu_6dofNodeDatumCsys(13, 14, 4, 99, dtu_SPHERICAL, static_cast<dtu_DatumCsys*>(all[4].get())));
  for (const DatumPtr& datum : all) datum->UpdateOutline({{0, 0, 0}, {4, 4, 4}});
  return all;
}
