// dbc_Row.h: stored objects as rows, and the operations on them inside conversions
#pragma once

#include <BasicUtils/cls_Row.h>
#include <BasicUtils/omi_Singleton.h>

using dbc_Row = cls_Row;

/// Row operations of conversion functions; use omi_Singleton<dbc_Utils>::Instance().
class CORE_GEOMETRY_PLATFORM_API dbc_Utils {
public:
  /// Makes a field refer to an object that is stored already.
  void SetObj(dbc_Row& row, std::string_view field, long long object) const;
  /// (key, row) pairs of a map of objects; empty when the field is absent.
  std::vector<std::pair<long long, long long>> GetAttributeMapFromInputDatabase(const dbc_Row& row,
                                                                                std::string_view field) const;
  void SetNewAttributeListInOutputDatabase(dbc_Row& row, std::string_view field,
                                           std::span<const long long> objects) const;
  void SetNewAttributeArrayDoubleInOutputDatabase(dbc_Row& row, std::string_view field,
                                                  std::span<const double> values, unsigned width = 1) const;
  void SetNewAttributeArrayIntInOutputDatabase(dbc_Row& row, std::string_view field,
                                               std::span<const int> values, unsigned width = 1) const;
};
