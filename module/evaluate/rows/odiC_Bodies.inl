// The loops of ODI_KERNEL for each kind of processor, in namespaces of their own.

namespace plain {
#include "odiC_Lanes.inl"
// the lanes come first
#include ODI_KERNEL
} // namespace plain
#ifdef ODI_HAS_AVX2
#pragma GCC push_options
#pragma GCC target("avx2")
#define ODI_USE_AVX2
namespace avx2 {
#include "odiC_Lanes.inl"
// the lanes come first
#include ODI_KERNEL
} // namespace avx2
#pragma GCC pop_options
#endif
