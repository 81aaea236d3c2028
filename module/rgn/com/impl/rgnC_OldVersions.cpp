#include "rgnC_OldVersions.h"

#include "rgnC_Component.h"
#include <CoreGeometry/rgnC_Shortcuts.h>

// Same-named fields carry over and new ones take their default values before a conversion is called.

namespace {
using enum cls_AttributeType;

constexpr unsigned kShortcut = ddr_StoredClass<rgnC_SetDataShortcut>::typeId;

void* RenameType(const dbc_Row& oldRow, dbc_Row& newRow, int) {
  newRow.Set("_typeObsolete", oldRow.Get("_type"));
  return nullptr;
}

/// The kind of set becomes one bit.
void* TypeToBits(const dbc_Row& oldRow, dbc_Row& newRow, int) {
  const long long type = oldRow.GetInt("_typeObsolete");
  newRow.SetInt("_setTypeBits", type >= 0 && type < 32 ? static_cast<int>(1U << type) : 0);
  return nullptr;
}

/// A subset is of the kind of its set.
void* TypeFromSet(const dbc_Row& oldRow, dbc_Row& newRow, int) {
  const cls_Cell* const type = oldRow.parent ? oldRow.parent->Find("setType") : nullptr;
  newRow.Set("subsetType", type ? *type : cls_Cell(cow_String("NODE_SET")));
  return nullptr;
}

constexpr dbc_OldField kRegion203[] = {
    {"name", String}, {"internal", Bool}, {"_type", Int}, {"setData", Shortcut, kShortcut}};
constexpr dbc_OldField kRegion204[] = {
    {"name", String}, {"internal", Bool}, {"_typeObsolete", Int}, {"setData", Shortcut, kShortcut}};
constexpr dbc_OldField kRegion331[] = {
    {"name", String}, {"internal", Bool},    {"_ownerNames", StringList},     {"_typeObsolete", Int},
    {"_space", Int},  {"_setTypeBits", Int}, {"setData", Shortcut, kShortcut}};
constexpr dbc_OldField kRegion1004[] = {
    {"name", String}, {"internal", Bool},    {"_ownerNames", StringList},
    {"_space", Int},  {"_setTypeBits", Int}, {"setData", Shortcut, kShortcut}};
constexpr dbc_OldField kSetData203[] = {{"setIndex", Int},
                                        {"setLabel", String},
                                        {"numSubset", Int},
                                        {"setType", Enum},
                                        {"internalSet", Bool},
                                        {"constructionOk", Bool},
                                        {"subsetList", ObjectMap, rgnC_kSubsetData}};
constexpr dbc_OldField kSubset203[] = {{"setIndex", Int},       {"subsetIndex", Int}, {"idArray", IntArray},
                                       {"numItems", Int},       {"meshIndex", Int},   {"classIndex", Int},
                                       {"constructionOk", Bool}};
constexpr dbc_OldField kSubset303[] = {
    {"setIndex", Int},          {"subsetIndex", Int}, {"idArray", IntArray},
    {"facetIdArray", IntArray}, {"subsetType", Enum}, {"numItems", Int},
    {"meshIndex", Int},         {"classIndex", Int},  {"constructionOk", Bool}};
constexpr dbc_OldField kSubset316[] = {
    {"setIndex", Int},    {"subsetIndex", Int}, {"idArray", IntArray}, {"facetIdArray", IntArray},
    {"subsetType", Enum}, {"meshIndex", Int},   {"classIndex", Int},   {"constructionOk", Bool}};

/// A region's release is 1034 and a set's 405 although their present versions are 1.
constexpr int kRegionRelease = 1034, kSetDataRelease = 405;

const dbc_OldLayout kRegionLayout203{"rgnC_Region", rgnC_kRegion,  203,        204,
                                     204,           "rgnC_Region", kRegion203, RenameType};
const dbc_OldLayout kRegionLayout204{"rgnC_Region", rgnC_kRegion,  204,        331,
                                     331,           "rgnC_Region", kRegion204, TypeToBits};
const dbc_OldLayout kRegionLayout331{"rgnC_Region", rgnC_kRegion, 331, 1004, 1004, "rgnC_Region", kRegion331};
const dbc_OldLayout kRegionLayout1004{"rgnC_Region",  rgnC_kRegion,  1004,       rgnC_kRegionVersion,
                                      kRegionRelease, "rgnC_Region", kRegion1004};
const dbc_OldLayout kSetDataLayout203{"rgnC_SetData",  rgnC_kSetData,  203,        rgnC_kSetDataVersion,
                                      kSetDataRelease, "rgnC_SetData", kSetData203};
const dbc_OldLayout kSubsetLayout203{"rgnC_SubsetData", rgnC_kSubsetData, 203,        303, 303,
                                     "rgnC_SubsetData", kSubset203,       TypeFromSet};
const dbc_OldLayout kSubsetLayout303{"rgnC_SubsetData", rgnC_kSubsetData, 303, 316, 316,
                                     "rgnC_SubsetData", kSubset303};
const dbc_OldLayout kSubsetLayout316{
    "rgnC_SubsetData",       rgnC_kSubsetData,  316,       rgnC_kSubsetDataVersion,
    rgnC_kSubsetDataVersion, "rgnC_SubsetData", kSubset316};
} // namespace

rgnC_Region_203::rgnC_Region_203() : dbc_TabledOldVersion(kRegionLayout203) {}
rgnC_Region_204::rgnC_Region_204() : dbc_TabledOldVersion(kRegionLayout204) {}
rgnC_Region_331::rgnC_Region_331() : dbc_TabledOldVersion(kRegionLayout331) {}
rgnC_Region_1004::rgnC_Region_1004() : dbc_TabledOldVersion(kRegionLayout1004) {}
rgnC_SetData_203::rgnC_SetData_203() : dbc_TabledOldVersion(kSetDataLayout203) {}
rgnC_SubsetData_203::rgnC_SubsetData_203() : dbc_TabledOldVersion(kSubsetLayout203) {}
rgnC_SubsetData_303::rgnC_SubsetData_303() : dbc_TabledOldVersion(kSubsetLayout303) {}
rgnC_SubsetData_316::rgnC_SubsetData_316() : dbc_TabledOldVersion(kSubsetLayout316) {}
