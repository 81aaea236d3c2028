// dbc_DatabaseConverter.h: converters of superseded layouts
#pragma once

#include <BasicUtils/cls_ClassRegistrar.h>
#include <ROM/dbc_Row.h>
#include <map>

using dbc_ConversionFunction = void* (*)(const dbc_Row& oldRow, dbc_Row& newRow, int fromVersion);

/// Upgrade of one layout of one class.
class dbc_ClassConverter {
public:
  /// Without a bound function same-named fields are copied and new ones take their default values; a bound
  /// function gets the new row in this state and changes what differs.
  void BindConversionFunction(dbc_ConversionFunction function) noexcept { function_ = function; }
  dbc_ConversionFunction ConversionFunction() const noexcept { return function_; }

private:
  dbc_ConversionFunction function_ = nullptr;
};

/// Upgrades that were declared for one release. Name and release are kept as they were given: stored
/// databases were converted under these keys.
class dbc_Converter {
public:
  struct Key {
    cow_String className;
    unsigned typeId;
    int fromVersion;
    friend auto operator<=>(const Key&, const Key&) = default;
  };

  dbc_ClassConverter& Upgrade(const cow_String& className, const unsigned& typeId, int fromVersion) {
    return upgrades_[{className, typeId, fromVersion}];
  }
  const std::map<Key, dbc_ClassConverter>& Upgrades() const noexcept { return upgrades_; }

private:
  std::map<Key, dbc_ClassConverter> upgrades_;
};

/// Converters by release, and what an upgrade of a whole database deletes and renames.
class dbc_DatabaseConverter {
public:
  dbc_Converter& GetConverter(int release) { return converters_[release]; }
  const std::map<int, dbc_Converter>& Converters() const noexcept { return converters_; }
  /// The upgrade of a stored layout: found by class and version alone. Null when none was declared.
  const dbc_ClassConverter* Find(unsigned typeId, int fromVersion) const noexcept {
    for (const auto& [release, converter] : converters_)
      for (const auto& [key, upgrade] : converter.Upgrades())
        if (key.typeId == typeId && key.fromVersion == fromVersion) return &upgrade;
    return nullptr;
  }

  // further changes by an upgrade of a whole database; reading ignores deletions
  void DeleteClass(unsigned typeId) { changes_.deletedClasses.push_back(typeId); }
  void RenameClass(const cow_String& from, const cow_String& to) {
    changes_.renamedClasses.push_back({from, to});
  }
  /// A table is a folder of roots: "from/x" becomes "to/x".
  void RenameTable(const cow_String& from, const cow_String& to) {
    changes_.renamedTables.push_back({from, to});
  }
  const cls_SchemaChanges& Changes() const noexcept { return changes_; }

private:
  std::map<int, dbc_Converter> converters_;
  cls_SchemaChanges changes_;
};
