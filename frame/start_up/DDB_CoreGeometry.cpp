#include <CoreGeometry/DDB_CoreGeometry.h>

#include <BasicUtils/UTI_BasicUtils.h>
#include <CaeUtils/UTI_CaeUtils.h>
#include <CoreGeometry/bdo_Module.h>
#include <CoreGeometry/bme_Module.h>
#include <CoreGeometry/dtmC_Module.h>
#include <CoreGeometry/dtu_Module.h>
#include <CoreGeometry/gsl_Module.h>
#include <CoreGeometry/odiC_Module.h>
#include <CoreGeometry/rgnC_Module.h>
#include <CoreGeometry/shp_Module.h>
#include <CoreUtils/UTI_CoreUtils.h>
#include <CoreUtils/omi_CallCounter.h>
#include <DiagnosticExtractor/DDB_DiagnosticExtractor.h>
#include <ROM/DDB_ROM.h>
#include <RfmInterface/UTI_RfmInterface.h>
#include <iterator>

namespace {
omi_CallCounter theCounter;

struct Pair {
  void (*initialize)(int&);
  void (*finalize)(int&);
};

/// Everything that the library starts, in order.
constexpr Pair kPairs[] = {
    {UTI_CoreUtils_initialize, UTI_CoreUtils_finalize},
    {UTI_BasicUtils_initialize, UTI_BasicUtils_finalize},
    {UTI_CaeUtils_initialize, UTI_CaeUtils_finalize},
    {UTI_RfmInterface_initialize, UTI_RfmInterface_finalize},
    {DDB_ROM_initialize, DDB_ROM_finalize},
    {DDB_DiagnosticExtractor_initialize, DDB_DiagnosticExtractor_finalize},
    {rgnC_initialize, rgnC_finalize},
    {odiC_initialize, odiC_finalize},
    {gsl_initialize, gsl_finalize},
    {dtmC_initialize, dtmC_finalize},
    {bdo_initialize, bdo_finalize},
    {shp_initialize, shp_finalize},
    {dtu_initialize, dtu_finalize},
    {bme_initialize, bme_finalize},
};
} // namespace

void DDB_CoreGeometry_initialize(int& tally) {
  if (!theCounter.Up(tally)) return;
  for (const Pair& pair : kPairs) pair.initialize(tally);
}

void DDB_CoreGeometry_finalize(int& tally) {
  if (!theCounter.Down(tally)) return;
  for (auto pair = std::rbegin(kPairs); pair != std::rend(kPairs); ++pair) pair->finalize(tally);
}
