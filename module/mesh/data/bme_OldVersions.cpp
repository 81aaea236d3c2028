#include "bme_OldVersions.h"

#include "bme_Component.h"

#include <CoreGeometry/gsl_PersistentMatrix.h>

// The upgrade keys (release and class name) are those under which stored databases were converted, the mesh's
// transposed letters included.

namespace {
using enum cls_AttributeType;

/// Fields that a layout lacks take their default values and all others carry over, which the engine has done
/// before a conversion is called: nothing is left to do for these classes.
void* CarryOver(const dbc_Row&, dbc_Row&, int) { return nullptr; }

constexpr unsigned kMesh = bme_TypeId(1), kElementClass = bme_TypeId(2), kNodeData = bme_TypeId(3),
                   kElementData = bme_TypeId(4), kElemCtrlParams = bme_TypeId(9);
constexpr unsigned kPersistentMatrix = ddb_TypeId(778, 4);

constexpr dbc_OldField kMesh203[] = {
    {"id", Int},        {"nodeData", Object, kNodeData}, {"elemData", Object, kElementData},
    {"meshType", Enum}, {"timeStamp", Double},           {"transform", Object, kPersistentMatrix}};

constexpr dbc_OldField kElementData203[] = {{"classes", ObjectMap, kElementClass}};

constexpr dbc_OldField kElementClass203[] = {
    {"numElements", Int},         {"firstElementIndex", Int},
    {"elemTypeLabel", String},    {"elemCtrlParams", Object, kElemCtrlParams},
    {"meshIndex", Int},           {"classIndex", Int},
    {"regionClassIndex", Int},    {"regionIndex", Int},
    {"categoryLabel", String},    {"DDBuserElementLabel", IntArray},
    {"DDBconnectivity", IntArray}};

/// Versions 203 and 204 have the first twelve of these, version 508 all.
constexpr dbc_OldField kElemCtrlParams508[] = {
    {"elemLib", Enum},        {"hrGlsStiffness", Double}, {"bendingHrGls", Double}, {"drillingHrGls", Double},
    {"kineSplit", Enum},      {"hrGlsControl", Enum},     {"weightFactor", Double}, {"stressRate", Enum},
    {"displHrGls", Double},   {"rotHrGls", Double},       {"OOPDispHrGls", Double}, {"soAccuracy", Enum},
    {"distortionCtrl", Enum}, {"lengthRatio", Double}};
constexpr auto kElemCtrlParams203 = std::span(kElemCtrlParams508).first<12>();

const dbc_OldLayout kMeshLayout203{"bme_Mesh", kMesh, 203, 508, 508, "bem_Mesh", kMesh203, CarryOver};
const dbc_OldLayout kElementDataLayout203{"bme_ElementData", kElementData,   203, 319, 319,
                                          "bme_ElementData", kElementData203};
const dbc_OldLayout kElementClassLayout203{"bme_ElementClass", kElementClass,    203,      862, 862,
                                           "bme_ElementClass", kElementClass203, CarryOver};
const dbc_OldLayout kControlsLayout203{"bme_ElemCtrlParams", kElemCtrlParams,    203,      204, 203,
                                       "bme_ElemCtrlParams", kElemCtrlParams203, CarryOver};
const dbc_OldLayout kControlsLayout204{"bme_ElemCtrlParams", kElemCtrlParams,    204,      508, 508,
                                       "bme_ElemCtrlParams", kElemCtrlParams203, CarryOver};
const dbc_OldLayout kControlsLayout508{"bme_ElemCtrlParams", kElemCtrlParams,    508,      868, 868,
                                       "bme_ElemCtrlParams", kElemCtrlParams508, CarryOver};
} // namespace

bme_Mesh_203::bme_Mesh_203() : dbc_TabledOldVersion(kMeshLayout203) {}
bme_ElementData_203::bme_ElementData_203() : dbc_TabledOldVersion(kElementDataLayout203) {}
bme_ElementClass_203::bme_ElementClass_203() : dbc_TabledOldVersion(kElementClassLayout203) {}
bme_ElemCtrlParams_203::bme_ElemCtrlParams_203() : dbc_TabledOldVersion(kControlsLayout203) {}
bme_ElemCtrlParams_204::bme_ElemCtrlParams_204() : dbc_TabledOldVersion(kControlsLayout204) {}
bme_ElemCtrlParams_508::bme_ElemCtrlParams_508() : dbc_TabledOldVersion(kControlsLayout508) {}
