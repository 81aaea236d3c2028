#include <BasicUtils/uti_Fingerprint.h>

#include <xxhash.h>

uti_FingerprintBits uti_Fingerprint(std::span<const std::byte> bytes) noexcept {
  const XXH128_hash_t hash = XXH3_128bits(bytes.data(), bytes.size());
  return {hash.low64, hash.high64};
}
