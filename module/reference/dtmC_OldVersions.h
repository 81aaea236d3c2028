// dtmC_OldVersions.h: superseded layouts of the datum reference
#pragma once

#include <ROM/dbc_OldClassVersion.h>

class dtmC_DatumRef_203 final : public dbc_TabledOldVersion {
public:
  dtmC_DatumRef_203();
};

class dtmC_DatumRef_209 final : public dbc_TabledOldVersion {
public:
  dtmC_DatumRef_209();
};
