// vtu_Document.h: a VTU file as it is written, array by array
#pragma once

#include "vtu_Numbers.h"
#include <BasicUtils/uti_OutputFile.h>
#include <CoreGeometry/fmt_Format.h>
#include <functional>

/// XML with arrays whose numbers are made when they are written, so that none is in memory as a whole.
///
/// In binary files the arrays follow the XML as they are, or compressed by zlib in blocks of their own.
class vtu_Document {
public:
  using Put = std::function<void(std::span<const unsigned char>)>;

  void Text(cow_String xml) { parts_.push_back({std::move(xml), {}, {}}); }
  /// `produce` hands over the numbers in any number of parts, `count` in all.
  template<class T>
  void Array(const cow_String& name, int components, std::size_t count,
             std::function<void(const std::function<void(std::span<const T>)>&)> produce,
             std::span<const cow_String> componentNames = {}) {
    Add(name, TypeOf(T()), components, count, componentNames, [produce = std::move(produce)](const Put& put) {
      produce([&](std::span<const T> some) {
        put({reinterpret_cast<const unsigned char*>(some.data()), some.size_bytes()});
      });
    });
  }

  /// Writes the file and commits it.
  void Write(uti_OutputFile& output, fmt_Encoding encoding) const;

private:
  struct Numbers {
    vtu_Type type = vtu_Type::Int8;
    int components = 1;
    std::size_t count = 0;
    std::function<void(const Put&)> produce{};
  };
  struct Part {
    cow_String text; ///< XML, or the attributes of an array
    std::optional<Numbers> numbers;
    cow_String name; ///< of the array
  };
  static vtu_Type TypeOf(float) { return vtu_Type::Float32; }
  static vtu_Type TypeOf(double) { return vtu_Type::Float64; }
  static vtu_Type TypeOf(int) { return vtu_Type::Int32; }
  static vtu_Type TypeOf(std::int64_t) { return vtu_Type::Int64; }
  static vtu_Type TypeOf(signed char) { return vtu_Type::Int8; }
  static vtu_Type TypeOf(unsigned char) { return vtu_Type::UInt8; }
  void Add(const cow_String& name, vtu_Type type, int components, std::size_t count,
           std::span<const cow_String> componentNames, std::function<void(const Put&)> produce);
  void WriteText(std::ostream& out) const;
  void WriteAppended(std::ostream& out, bool isCompressed) const;

  std::vector<Part> parts_;
};
