// The facts of each family are checked here: a wrong row does not compile.
#include "shp_FactsCheck.h"

static_assert(shp_FactsCheck::IsSound(kLine) && shp_FactsCheck::IsSound(kTriangle)
              && shp_FactsCheck::IsSound(kQuadrilateral));
static_assert(shp_FactsCheck::IsSound(kTetrahedron) && shp_FactsCheck::IsSound(kHexahedron)
              && shp_FactsCheck::IsSound(kWedge));
static_assert(shp_FactsCheck::HasFixedOrder(kLine) && shp_FactsCheck::HasFixedOrder(kTriangle)
              && shp_FactsCheck::HasFixedOrder(kQuadrilateral) && shp_FactsCheck::HasFixedOrder(kTetrahedron)
              && shp_FactsCheck::HasFixedOrder(kHexahedron) && shp_FactsCheck::HasFixedOrder(kWedge));
