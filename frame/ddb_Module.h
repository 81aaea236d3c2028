// ddb_Module.h: table of the classes, old layouts and enumerations that a module registers at start-up
#pragma once

#include <BasicUtils/cls_MetadataRegistrar.h>
#include <CaeUtils/omu_PrimEnum.h>
#include <CoreGeometry/CoreGeometryExport.h>
#include <CoreUtils/omi_CallCounter.h>
#include <ROM/dbc_OldClassVersion.h>

/// A superseded layout to register: the function that makes its object, and its rank.
struct ddb_OldVersion {
  dbc_OldClassVersion* (*make)();
  unsigned rank;
};

/// Everything that one module registers.
struct ddb_Module {
  unsigned short component;
  const char* prefix;
  std::span<const cls_MetadataFunction> classes; ///< in registration order
  std::span<const ddb_OldVersion> oldVersions;
  std::span<const omu_EnumRegistrar::Entry> enumerations;
};

/// Starts a module: the first call registers the contents of `module`. True when this call started it.
CORE_GEOMETRY_API bool ddb_Initialize(omi_CallCounter& counter, const ddb_Module& module, int& tally);
/// Stops a module; nothing is unregistered. True when this call stopped it.
CORE_GEOMETRY_API bool ddb_Finalize(omi_CallCounter& counter, int& tally);

/// Type identifier of a class: the component in the high half, the ordinal in the low one.
constexpr unsigned ddb_TypeId(unsigned short component, unsigned ordinal) {
  return component * 65536U + ordinal;
}
