// uti_Fingerprint.h: 128-bit hash of bytes
#pragma once

#include <CoreUtils/PlatformExport.h>
#include <array>
#include <cstdint>
#include <span>

using uti_FingerprintBits = std::array<std::uint64_t, 2>;

/// The hash XXH3: equal for equal bytes; different bytes have the same hash with a probability of about 1 in
/// 2^128.
CORE_GEOMETRY_PLATFORM_API uti_FingerprintBits uti_Fingerprint(std::span<const std::byte> bytes) noexcept;
