#include "odiC_CarryKernels.h"
#include "odiC_Lanes.h"

namespace {
#define ODI_KERNEL "odiC_CarryKernel.inl"
#include "odiC_Bodies.inl"
} // namespace

template<class T>
void odiC_CarryRows([[maybe_unused]] odiC_RowBody body, const odiC_CarryJob& job, const T* rows, T* out) {
#ifdef ODI_HAS_AVX2
  if (body == odiC_RowBody::Avx2) return avx2::CarryRows(job, rows, out);
#endif
  plain::CarryRows(job, rows, out);
}
template<class T>
bool odiC_ScatterRows([[maybe_unused]] odiC_RowBody body, const odiC_ScatterJob& job, const T* rows,
                      double* sums) {
#ifdef ODI_HAS_AVX2
  if (body == odiC_RowBody::Avx2) return avx2::ScatterRows(job, rows, sums);
#endif
  return plain::ScatterRows(job, rows, sums);
}

void odiC_DivideRows([[maybe_unused]] odiC_RowBody body, std::size_t numComponents,
                     std::span<const int> targets, const double* shares, double* sums) {
#ifdef ODI_HAS_AVX2
  if (body == odiC_RowBody::Avx2) return avx2::DivideRows(numComponents, targets, shares, sums);
#endif
  plain::DivideRows(numComponents, targets, shares, sums);
}

template void odiC_CarryRows(odiC_RowBody, const odiC_CarryJob&, const float*, float*);
template bool odiC_ScatterRows(odiC_RowBody, const odiC_ScatterJob&, const float*, double*);
template void odiC_CarryRows(odiC_RowBody, const odiC_CarryJob&, const double*, double*);
template bool odiC_ScatterRows(odiC_RowBody, const odiC_ScatterJob&, const double*, double*);
