// shp_LocateLanes.h: four points searched side by side
#pragma once

#include "shp_MapTable.h"

#include <CoreGeometry/shp_ElementSearch.h>

/// Of four questions.
struct shp_LaneHits {
  std::array<shp_IsoPoint, 4> isos;
  std::array<double, 4> excesses; ///< beyond the bounds in iso coordinates, negative inside
  std::array<bool, 4> isFound;    ///< within the tolerance of the element; iso and excess are set
  std::array<bool, 4> isSound;    ///< neither flat nor inside out there
};

/// True when this processor can, and the map has a form for it.
bool shp_CanLocateLanes(const shp_MapTable& table) noexcept;

/// The same steps with the same results as for one point; those not found by them need a search.
void shp_LocateLanes(const shp_MapTable& table, std::span<const shp_ElementQuestion, 4> questions,
                     const float* coordinates, double tolerance, shp_LaneHits& hits);
