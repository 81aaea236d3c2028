// chk_Sets.h: what is wrong with the sets of a model
#pragma once

#include <CoreGeometry/chk_Findings.h>

/// Contents of sets against the meshes that they name, and references of regions to their sets.
void chk_Sets(cls_Database& model, std::vector<chk_Finding>& findings);
