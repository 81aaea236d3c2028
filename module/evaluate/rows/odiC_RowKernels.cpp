#include "odiC_RowKernels.h"
#include "odiC_Lanes.h"

#include <cmath>

namespace {
#define ODI_KERNEL "odiC_RowKernel.inl"
#include "odiC_Bodies.inl"

constexpr std::array kComponents = {res_XX_COMPONENT, res_YY_COMPONENT, res_ZZ_COMPONENT,
                                    res_XY_COMPONENT, res_XZ_COMPONENT, res_YZ_COMPONENT};
} // namespace

odiC_RowForm::odiC_RowForm(const odiC_Variable& variable)
    : width(variable.components.size()), shear(variable.isEngineeringShear && variable.IsTensor() ? 0.5 : 1) {
  for (std::size_t k = 0; k < at.size(); ++k) {
    const auto found = std::ranges::find(variable.components, kComponents[k]);
    at[k] = found == variable.components.end() ? -1 : static_cast<int>(found - variable.components.begin());
  }
  if (width == 1) at[0] = 0; // the number of a scalar
}

odiC_RowBody odiC_BestRowBody() noexcept {
#ifdef ODI_HAS_AVX2
  static const bool hasAvx2 = __builtin_cpu_supports("avx2");
  if (hasAvx2) return odiC_RowBody::Avx2;
#endif
  return odiC_RowBody::Plain;
}

double odiC_CubeRoot(double x) noexcept {
  if (x == 0 || !std::isfinite(x)) return x;
  int exponent = 0;
  double m = std::frexp(std::fabs(x), &exponent);
  for (; exponent % 3 != 0; ++exponent) m /= 2; // from 1/8 to 1
  double root = 0.35 + 0.68 * m;
  for (int k = 0; k < 6; ++k) root -= (root * root * root - m) / (3 * root * root);
  return std::copysign(std::ldexp(root, exponent / 3), x);
}

template<class T>
void odiC_ReduceRows([[maybe_unused]] odiC_RowBody body, odiC_RowWork work, int which,
                     const odiC_RowForm& form, const T* rows, std::size_t n, T* out) {
  if (n == 0) return;
#ifdef ODI_HAS_AVX2
  if (body == odiC_RowBody::Avx2) return avx2::ReduceRows(work, which, form, rows, n, out);
#endif
  plain::ReduceRows(work, which, form, rows, n, out);
}
void odiC_SolveRows([[maybe_unused]] odiC_RowBody body, const double* tensors, std::size_t n, double* values,
                    double* axes) {
  if (n == 0) return;
#ifdef ODI_HAS_AVX2
  if (body == odiC_RowBody::Avx2) return avx2::SolveRows(tensors, n, values, axes);
#endif
  plain::SolveRows(tensors, n, values, axes);
}
template<class T>
void odiC_TurnTensors([[maybe_unused]] odiC_RowBody body, const odiC_RowForm& form, const double* matrices,
                      std::size_t stride, const T* rows, std::size_t n, T* out) {
  if (n == 0) return;
#ifdef ODI_HAS_AVX2
  if (body == odiC_RowBody::Avx2) return avx2::TurnTensors(form, matrices, stride, rows, n, out);
#endif
  plain::TurnTensors(form, matrices, stride, rows, n, out);
}
template<class T>
void odiC_TurnVectors([[maybe_unused]] odiC_RowBody body, const odiC_RowForm& form, const double* matrices,
                      std::size_t stride, const T* rows, std::size_t n, T* out) {
  if (n == 0) return;
#ifdef ODI_HAS_AVX2
  if (body == odiC_RowBody::Avx2) return avx2::TurnVectors(form, matrices, stride, rows, n, out);
#endif
  plain::TurnVectors(form, matrices, stride, rows, n, out);
}
template void odiC_ReduceRows(odiC_RowBody, odiC_RowWork, int, const odiC_RowForm&, const float*, std::size_t,
                              float*);
template void odiC_TurnTensors(odiC_RowBody, const odiC_RowForm&, const double*, std::size_t, const float*,
                               std::size_t, float*);
template void odiC_TurnVectors(odiC_RowBody, const odiC_RowForm&, const double*, std::size_t, const float*,
                               std::size_t, float*);
template void odiC_ReduceRows(odiC_RowBody, odiC_RowWork, int, const odiC_RowForm&, const double*,
                              std::size_t, double*);
template void odiC_TurnTensors(odiC_RowBody, const odiC_RowForm&, const double*, std::size_t, const double*,
                               std::size_t, double*);
template void odiC_TurnVectors(odiC_RowBody, const odiC_RowForm&, const double*, std::size_t, const double*,
                               std::size_t, double*);
