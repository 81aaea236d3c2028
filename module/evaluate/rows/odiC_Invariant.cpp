#include <CoreGeometry/odiC_Invariant.h>

#include "odiC_RowChecks.h"
#include "odiC_RowKernels.h"

#include <CoreGeometry/odiC_Exception.h>
#include <CoreUtils/atr_Near.h>
#include <algorithm>

namespace {
/// Which variables have an invariant.
enum class Has { Tensor, Plane, Number };
struct Row {
  res_InvariantEnm invariant;
  Has by;
  odiC_RowWork work;
  int which = 0;
};
constexpr Row kRows[] = {
    {res_MISES, Has::Tensor, odiC_RowWork::Mises},
    {res_TRESCA, Has::Tensor, odiC_RowWork::Tresca},
    {res_PRESS, Has::Tensor, odiC_RowWork::Pressure},
    {res_INV3, Has::Tensor, odiC_RowWork::Third},
    {res_MAX_PRINCIPAL, Has::Tensor, odiC_RowWork::Principal, 0},
    {res_MID_PRINCIPAL, Has::Tensor, odiC_RowWork::Principal, 1},
    {res_MIN_PRINCIPAL, Has::Tensor, odiC_RowWork::Principal, 2},
    {res_MAXIMUM_IN_PLANE_PRINCIPAL, Has::Plane, odiC_RowWork::InPlane, 0},
    {res_MINIMUM_IN_PLANE_PRINCIPAL, Has::Plane, odiC_RowWork::InPlane, 1},
    {res_OUT_OF_PLANE_PRINCIPAL, Has::Plane, odiC_RowWork::OutOfPlane},
    {res_MAGNITUDE, Has::Number, odiC_RowWork::Magnitude},
};

bool HasInvariant(const odiC_Variable& variable, Has by) {
  switch (by) {
  case Has::Tensor: return variable.IsTensor();
  case Has::Plane:
    return variable.dataType >= res_TENSOR_3D_PLANAR && variable.dataType <= res_TENSOR_2D_SURFACE
           && variable.coordSystem != res_PRINCIPAL;
  default:
    return variable.dataType == res_VECTOR || variable.dataType == res_SCALAR
           || variable.dataType == res_INTEGER;
  }
}
cow_String TextOf(res_InvariantEnm invariant) {
  const char* text = omu_FindText(omu_EnumTable<res_InvariantEnm>::entries, invariant);
  return text ? text : std::to_string(static_cast<int>(invariant));
}
[[noreturn]] void Refuse(const odiC_Variable& variable, const cow_String& text) {
  std::vector<cow_String> names;
  for (const res_InvariantEnm one : odiC_InvariantsOf(variable)) names.push_back(TextOf(one));
  throw odiC_Exception(variable.name + " has no invariant \"" + text + "\"" + atr_Alternatives(text, names));
}
} // namespace

std::vector<res_InvariantEnm> odiC_InvariantsOf(const odiC_Variable& variable) {
  std::vector<res_InvariantEnm> invariants;
  for (const Row& row : kRows)
    if (HasInvariant(variable, row.by)) invariants.push_back(row.invariant);
  return invariants;
}

res_InvariantEnm odiC_FindInvariant(const odiC_Variable& variable, const cow_String& text) {
  for (const res_InvariantEnm invariant : odiC_InvariantsOf(variable))
    if (odiC_IsSameWord(TextOf(invariant), text)) return invariant;
  Refuse(variable, text);
}

odiC_Invariant::odiC_Invariant(const odiC_Variable& variable, res_InvariantEnm invariant)
    : form_(std::make_shared<odiC_RowForm>(variable)) {
  const auto* row = std::ranges::find(kRows, invariant, &Row::invariant);
  if (row == std::end(kRows) || !HasInvariant(variable, row->by)) Refuse(variable, TextOf(invariant));
  odiC_RowWork work = row->work;
  if (variable.coordSystem == res_PRINCIPAL) { // the components are the eigenvalues
    if (work == odiC_RowWork::Principal) work = odiC_RowWork::Sorted;
    if (work == odiC_RowWork::Tresca) work = odiC_RowWork::SortedRange;
  }
  work_ = static_cast<int>(work);
  which_ = row->which;
}

template<class T> void odiC_Invariant::ApplyTo(std::span<const T> rows, std::span<T> values) const {
  const std::size_t n = odiC_NumRows(rows.size(), form_->width, values.size(), 1);
  odiC_ReduceRows(odiC_BestRowBody(), static_cast<odiC_RowWork>(work_), which_, *form_, rows.data(), n,
                  values.data());
}
void odiC_Invariant::Apply(std::span<const float> rows, std::span<float> values) const {
  ApplyTo(rows, values);
}
void odiC_Invariant::Apply(std::span<const double> rows, std::span<double> values) const {
  ApplyTo(rows, values);
}

void odiC_PrincipalValues(std::span<const double> tensors, std::span<double> values) {
  const std::size_t n = odiC_NumRows(tensors.size(), 6, values.size(), 3);
  odiC_SolveRows(odiC_BestRowBody(), tensors.data(), n, values.data(), nullptr);
}
void odiC_PrincipalAxes(std::span<const double> tensors, std::span<double> values, std::span<double> axes) {
  const std::size_t n = odiC_NumRows(tensors.size(), 6, values.size(), 3);
  odiC_NumRows(tensors.size(), 6, axes.size(), 9);
  odiC_SolveRows(odiC_BestRowBody(), tensors.data(), n, values.data(), axes.data());
}
