// The file BME_KERNEL, which works on several elements at a time, once for each kind of processor: in namespaces of the
// source that includes this one. Results do not depend on the kind.

#define BME_LANES 2
namespace plain {
#include "bme_Lanes.inl"
// the lanes come first
#include BME_KERNEL
} // namespace plain
#undef BME_LANES
#if defined(__x86_64__) && !defined(__clang__)
#define BME_LANES 4
#pragma GCC push_options
#pragma GCC target("avx2")
namespace avx2 {
#include "bme_Lanes.inl"
// the lanes come first
#include BME_KERNEL
} // namespace avx2
#pragma GCC pop_options
#undef BME_LANES
#define BME_LANES 8
#pragma GCC push_options
#pragma GCC target("avx512f,avx512dq,avx512vl,prefer-vector-width=512")
namespace avx512 {
#include "bme_Lanes.inl"
// the lanes come first
#include BME_KERNEL
} // namespace avx512
#pragma GCC pop_options
#undef BME_LANES

/// That of the processor's kind.
template<class Body> Body bme_BestBody(Body plain, Body avx2, Body avx512) {
  if (__builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512dq")
      && __builtin_cpu_supports("avx512vl"))
    return avx512;
  return __builtin_cpu_supports("avx2") ? avx2 : plain;
}
#else
namespace avx2 = plain;
namespace avx512 = plain;
template<class Body> Body bme_BestBody(Body plain, Body /*avx2*/, Body /*avx512*/) { return plain; }
#endif
