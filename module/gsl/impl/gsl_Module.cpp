#include <CoreGeometry/gsl_Module.h>

#include "gsl_Component.h"
#include <CoreGeometry/gsl_BBox.h>
#include <CoreGeometry/gsl_ModelSegment.h>
#include <CoreGeometry/gsl_ObjectArray.h>
#include <CoreGeometry/gsl_PersistentMatrix.h>
#include <CoreGeometry/gsl_Segment.h>
#include <CoreGeometry/gsl_Util.h>

namespace {
omi_CallCounter theCounter;

constexpr cls_MetadataFunction kClasses[] = {&gsl_Point::InitializeMetadata,
                                             &gsl_ModelSegment::InitializeMetadata,
                                             &gsl_Dot::InitializeMetadata,
                                             &gsl_StLine::InitializeMetadata,
                                             &gsl_Segment::InitializeMetadata,
                                             &gsl_Plane::InitializeMetadata,
                                             &gsl_PersistentVector::InitializeMetadata,
                                             &gsl_PersistentMatrix::InitializeMetadata,
                                             &gsl_BBox::InitializeMetadata,
                                             &gsl_DotArray::InitializeMetadata,
                                             &gsl_PlaneArray::InitializeMetadata,
                                             &gsl_LineArray::InitializeMetadata};

constexpr omu_EnumRegistrar::Entry kEnumerations[] = {omu_EnumRegistrar::Of<gsl_DotMethod>(),
                                                      omu_EnumRegistrar::Of<gsl_DirMethod>(),
                                                      omu_EnumRegistrar::Of<gsl_LineMethod>()};

constexpr ddb_Module kModule{gsl_kComponent, "gsl", kClasses, {}, kEnumerations};
} // namespace

void gsl_initialize(int& tally) {
  // made here, so that threads find the tolerances ready
  if (ddb_Initialize(theCounter, kModule, tally)) omi_Singleton<gsl_Util>::Instance();
}

void gsl_finalize(int& tally) {
  if (ddb_Finalize(theCounter, tally)) omi_Singleton<gsl_Util>::Release();
}
