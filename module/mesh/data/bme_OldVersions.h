// bme_OldVersions.h: superseded layouts of the mesh classes
#pragma once

#include <ROM/dbc_OldClassVersion.h>

class bme_Mesh_203 final : public dbc_TabledOldVersion {
public:
  bme_Mesh_203();
};

class bme_ElementData_203 final : public dbc_TabledOldVersion {
public:
  bme_ElementData_203();
};

class bme_ElementClass_203 final : public dbc_TabledOldVersion {
public:
  bme_ElementClass_203();
};

class bme_ElemCtrlParams_203 final : public dbc_TabledOldVersion {
public:
  bme_ElemCtrlParams_203();
};

class bme_ElemCtrlParams_204 final : public dbc_TabledOldVersion {
public:
  bme_ElemCtrlParams_204();
};

class bme_ElemCtrlParams_508 final : public dbc_TabledOldVersion {
public:
  bme_ElemCtrlParams_508();
};
