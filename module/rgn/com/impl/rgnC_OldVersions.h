// rgnC_OldVersions.h: superseded layouts of the region classes
#pragma once

#include <ROM/dbc_OldClassVersion.h>

class rgnC_Region_203 final : public dbc_TabledOldVersion {
public:
  rgnC_Region_203();
};

class rgnC_Region_204 final : public dbc_TabledOldVersion {
public:
  rgnC_Region_204();
};

class rgnC_Region_331 final : public dbc_TabledOldVersion {
public:
  rgnC_Region_331();
};

class rgnC_Region_1004 final : public dbc_TabledOldVersion {
public:
  rgnC_Region_1004();
};

class rgnC_SetData_203 final : public dbc_TabledOldVersion {
public:
  rgnC_SetData_203();
};

class rgnC_SubsetData_203 final : public dbc_TabledOldVersion {
public:
  rgnC_SubsetData_203();
};

class rgnC_SubsetData_303 final : public dbc_TabledOldVersion {
public:
  rgnC_SubsetData_303();
};

class rgnC_SubsetData_316 final : public dbc_TabledOldVersion {
public:
  rgnC_SubsetData_316();
};
