// dbc_OldClassVersion.h: superseded layouts of persistent classes
#pragma once

#include <BasicUtils/cls_ClassRegistrar.h>
#include <BasicUtils/cow_CountedHld.h>
#include <ROM/dbc_DatabaseConverter.h>
#include <memory>

/// One superseded layout of one class: describes itself and how it is upgraded.
class CORE_GEOMETRY_PLATFORM_API dbc_OldClassVersion {
public:
  virtual ~dbc_OldClassVersion();
  virtual void InitializeMetadata(cls_ClassRegistrar& registrar) = 0;
  virtual void SchemaChanges(dbc_DatabaseConverter& converter) = 0;
  virtual void ClassesToDelete(dbc_DatabaseConverter& converter);
  virtual void ClassesToRename(dbc_DatabaseConverter& converter);
  virtual void TablesToRename(dbc_DatabaseConverter& converter);
};

/// A field of a superseded layout.
struct dbc_OldField {
  const char* name;
  cls_AttributeType type;
  unsigned elemTypeId = 1;
  cls_CollectionType collection = cls_CollectionType::Single;
};

/// A superseded layout as a row of data.
struct dbc_OldLayout {
  const char* className;
  unsigned typeId;
  int version;
  int successor;           ///< version that it is converted into
  int release;             ///< converter that declares the upgrade
  const char* upgradeName; ///< class name under which the upgrade is declared
  std::span<const dbc_OldField> fields;
  dbc_ConversionFunction convert = nullptr;
};

/// A superseded layout that is described completely by its row of data.
class CORE_GEOMETRY_PLATFORM_API dbc_TabledOldVersion : public dbc_OldClassVersion {
public:
  explicit dbc_TabledOldVersion(const dbc_OldLayout& layout) : layout_(layout) {} ///< the row must be static
  ~dbc_TabledOldVersion() override;
  void InitializeMetadata(cls_ClassRegistrar& registrar) override;
  void SchemaChanges(dbc_DatabaseConverter& converter) override;

private:
  const dbc_OldLayout& layout_;
};

/// The superseded layouts that modules have registered; use omi_Singleton<dbc_OldClassRegistrar>::Instance().
/// They are described at the next use of the class registry, in the order of their ranks.
class CORE_GEOMETRY_PLATFORM_API dbc_OldClassRegistrar {
public:
  struct Entry {
    unsigned rank;
    cow_CountedHld<dbc_OldClassVersion> version;
  };

  dbc_OldClassRegistrar();
  /// Takes a reference to the version and takes over the holder object itself.
  void Register(cow_CountedHld<dbc_OldClassVersion>* version, unsigned rank);
  const std::vector<Entry>& Entries() const noexcept { return entries_; } ///< in registration order
  const dbc_DatabaseConverter& Converter() const noexcept { return converter_; }
  void Describe(cls_ClassRegistrar& registrar); ///< those that were registered since the last time
  void Clear();

private:
  std::vector<Entry> entries_;
  std::size_t described_ = 0;
  dbc_DatabaseConverter converter_;
};
