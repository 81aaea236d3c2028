#include <CoreGeometry/shp_MessageTypes.h>

#include <BasicUtils/thr_ThreadSingleton.h>
#include <BasicUtils/wip_WIP.h>
#include <CoreUtils/atr_String.h>

void shp_MessageTypes::ErrorUnsupportedPositionOnMethod(const cow_String& method,
                                                        res_OutputPositionEnm position) {
  const char* text = omu_FindText(omu_EnumTable<res_OutputPositionEnm>::entries, position);
  thr_ThreadSingleton<wip_WIP>::Instance().Error(
      atr_Format("%s: Unsupported position %s", {method, text ? text : std::to_string(position)}));
}
