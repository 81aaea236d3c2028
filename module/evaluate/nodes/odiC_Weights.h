// odiC_Weights.h: from the values of a block to other places of its elements
#pragma once

#include <CoreGeometry/bme_ElementClass.h>
#include <CoreGeometry/odiC_Run.h>
#include <CoreGeometry/shp_Weights.h>
#include <functional>

/// What the values of an element of the block count at its nodes, faces or centroid; empty when it has none of these.
shp_Weights odiC_WeightsOf(const odiC_LayoutBlock& block, const bme_ElementClass& type,
                           const std::function<const odiC_PointSet&(int)>& pointSet, shp_Target target);
