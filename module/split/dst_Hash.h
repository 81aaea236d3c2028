// dst_Hash.h: hashes of arrays, one after the other
#pragma once

#include <BasicUtils/uti_Fingerprint.h>
#include <CoreUtils/cow_String.h>
#include <span>

class bme_Mesh;
class dst_Part;

/// A hash (XXH3) of any number of arrays: each is hashed together with the hash of those before it.
class dst_Hash {
public:
  template<class T> void Add(std::span<const T> values) { AddBytes(std::as_bytes(values)); }
  void Add(const cow_String& text) { Add(std::span<const char>(text.data(), text.size())); }
  void Add(std::uint64_t number) { Add(std::span<const std::uint64_t>(&number, 1)); }
  cow_String Text() const; ///< 32 hexadecimal digits

private:
  void AddBytes(std::span<const std::byte> bytes);
  uti_FingerprintBits state_{};
};

/// Of the arrays of a part's mesh and of its split arrays.
cow_String dst_HashOf(const bme_Mesh& mesh, const dst_Part& part);
