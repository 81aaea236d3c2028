// odiC_Lanes.h: what the loops over rows are compiled with
#pragma once

#include <algorithm>
#include <cstring>
#include <type_traits>
#ifdef __SSE2__
#include <immintrin.h>
#endif
#if defined(__x86_64__) && !defined(__clang__)
#define ODI_HAS_AVX2
#endif

// Lanes are handed to functions that are always inlined, so it does not matter how a call would pass them.
#pragma GCC diagnostic ignored "-Wpsabi"
