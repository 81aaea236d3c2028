#include "dtmC_OldVersions.h"

#include "dtmC_Component.h"

namespace {
using enum cls_AttributeType;

/// References were by instance alone, at first to whole datums only.
constexpr dbc_OldField kFields209[] = {{"_datumId", Int}, {"_instanceId", Int}, {"_axisId", Int}};
constexpr auto kFields203 = std::span(kFields209).first<2>();

const dbc_OldLayout kLayout203{"dtmC_DatumRef", dtmC_kDatumRef, 203, 209, 209, "dtmC_DatumRef", kFields203};
const dbc_OldLayout kLayout209{"dtmC_DatumRef",       dtmC_kDatumRef,  209,       dtmC_kDatumRefVersion,
                               dtmC_kDatumRefVersion, "dtmC_DatumRef", kFields209};
} // namespace

dtmC_DatumRef_203::dtmC_DatumRef_203() : dbc_TabledOldVersion(kLayout203) {}
dtmC_DatumRef_209::dtmC_DatumRef_209() : dbc_TabledOldVersion(kLayout209) {}
