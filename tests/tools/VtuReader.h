// VtuReader.h: reads the VTU files that tests write, and refuses what is not exactly as it must be
#pragma once

#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <string>
#include <vector>

/// The arrays of a VTU file by name: appended as they are or with zlib, 64-bit headers. Every array must begin where the
/// one before ends and the last end with the block, have the numbers that points and cells ask for, and a
/// name of its own.
class Vtu {
public:
  explicit Vtu(const std::string& file);

  std::size_t NumPoints() const { return numPoints_; }
  std::size_t NumCells() const { return numCells_; }
  /// Names of one section, as they are in the file: "PointData" or "CellData".
  std::vector<std::string> Names(const std::string& section) const;
  bool Has(const std::string& name) const;
  /// Throws when it is not there, or of another type.
  template<class T> std::vector<T> Values(const std::string& name) const {
    const Array& array = Find(name, TypeName(T()));
    std::vector<T> values(array.bytes.size() / sizeof(T));
    if (!values.empty()) std::memcpy(values.data(), array.bytes.data(), array.bytes.size());
    return values;
  }
  std::size_t NumBlocks(const std::string& name) const; ///< it was compressed in; 0 when it was not

private:
  struct Array {
    std::string section, name, type;
    std::size_t components = 1, numBlocks = 0;
    std::string bytes;
  };
  static const char* TypeName(float) { return "Float32"; }
  static const char* TypeName(int) { return "Int32"; }
  static const char* TypeName(std::int64_t) { return "Int64"; }
  static const char* TypeName(signed char) { return "Int8"; }
  static const char* TypeName(unsigned char) { return "UInt8"; }
  const Array& Find(const std::string& name, const std::string& type = {}) const;
  void CheckNumbers() const;

  std::vector<Array> arrays_;
  std::size_t numPoints_ = 0, numCells_ = 0;
};
