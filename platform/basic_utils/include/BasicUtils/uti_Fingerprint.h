// uti_Fingerprint.h: 128 bits that tell contents apart
#pragma once

#include <CoreUtils/PlatformExport.h>
#include <array>
#include <cstdint>
#include <span>

using uti_FingerprintBits = std::array<std::uint64_t, 2>;

/// Equal for equal bytes; for different ones equal by chance in 2^128 only (XXH3).
CORE_GEOMETRY_PLATFORM_API uti_FingerprintBits uti_Fingerprint(std::span<const std::byte> bytes) noexcept;
