#include <CoreGeometry/gsl_Module.h>

#include <CoreGeometry/gsl_PersistentMatrix.h>
#include <CoreGeometry/gsl_Util.h>
#include <ddb_Module.h>

namespace {
omi_CallCounter theCounter;
constexpr cls_MetadataFunction kClasses[] = {&gsl_PersistentMatrix::InitializeMetadata};
constexpr ddb_Module kModule{778, "gsl", kClasses, {}, {}};
} // namespace

void gsl_initialize(int& tally) {
  // made here, so that threads find the tolerances ready
  if (ddb_Initialize(theCounter, kModule, tally)) omi_Singleton<gsl_Util>::Instance();
}

void gsl_finalize(int& tally) {
  if (ddb_Finalize(theCounter, tally)) omi_Singleton<gsl_Util>::Release();
}
