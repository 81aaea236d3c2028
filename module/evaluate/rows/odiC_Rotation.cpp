#include <CoreGeometry/odiC_Rotation.h>

#include "odiC_RowChecks.h"
#include "odiC_RowKernels.h"

#include <CoreGeometry/dtu_Mapping.h>
#include <CoreGeometry/odiC_Exception.h>
#include <CoreUtils/atr_Near.h>
#include <array>
#include <cmath>
#include <limits>

namespace {
constexpr std::size_t kMatrix = 9;
constexpr std::size_t kBlock = 256; ///< rows whose matrices are made at a time

bool IsGeneric(const odiC_Variable& variable) {
  return variable.dataType == res_MATRIX && !variable.IsTensor();
}

/// Rows of nine components, which are turned one by one: Q m Q^T.
template<class T>
void TurnMatrices(const std::vector<res_ComponentEnm>& components, const double* matrices, std::size_t stride,
                  std::span<const T> rows, T* out) {
  const std::size_t width = components.size();
  const std::vector<res_ComponentEnm> order = odiC_ComponentsOf(res_MATRIX);
  for (std::size_t row = 0; row < rows.size() / width; ++row) {
    double m[kMatrix] = {};
    for (std::size_t k = 0; k < width; ++k)
      if (const auto at = std::ranges::find(order, components[k]); at != order.end())
        m[at - order.begin()] = rows[row * width + k];
    const double* q = matrices + row * stride;
    double product[kMatrix];
    for (std::size_t i = 0; i < 3; ++i)
      for (std::size_t j = 0; j < 3; ++j)
        product[3 * i + j] = q[3 * i] * m[j] + q[3 * i + 1] * m[3 + j] + q[3 * i + 2] * m[6 + j];
    for (std::size_t i = 0; i < 3; ++i)
      for (std::size_t j = 0; j < 3; ++j)
        out[kMatrix * row + 3 * i + j] =
            static_cast<T>(product[3 * i] * q[3 * j] + product[3 * i + 1] * q[3 * j + 1]
                           + product[3 * i + 2] * q[3 * j + 2]);
  }
}

/// The matrix of a quaternion, or its transpose.
void MatrixOf(const double* q, bool transposed, double* matrix) {
  const double x = q[0], y = q[1], z = q[2], w = q[3], square = x * x + y * y + z * z + w * w;
  const double length = std::sqrt(square);
  constexpr double kTolerance = 1e-3;
  if (!(std::fabs(length - 1) <= kTolerance)) {
    std::fill_n(matrix, kMatrix, std::numeric_limits<double>::quiet_NaN());
    return;
  }
  const double by = 2 / square;
  const double rows[3][3] = {{1 - by * (y * y + z * z), by * (x * y - z * w), by * (x * z + y * w)},
                             {by * (x * y + z * w), 1 - by * (x * x + z * z), by * (y * z - x * w)},
                             {by * (x * z - y * w), by * (y * z + x * w), 1 - by * (x * x + y * y)}};
  for (std::size_t i = 0; i < 3; ++i)
    for (std::size_t j = 0; j < 3; ++j) matrix[3 * i + j] = transposed ? rows[j][i] : rows[i][j];
}

[[noreturn]] void RefuseSystem() {
  throw odiC_Exception("the axes of the coordinate system span no space: nothing can be rotated into it");
}
} // namespace

int odiC_FindComponent(const odiC_Variable& variable, const cow_String& name) {
  std::vector<cow_String> names;
  names.reserve(variable.components.size());
  for (int k = 0; k < variable.NumComponents(); ++k) names.push_back(variable.ComponentName(k));
  odiC_Variable plain = variable; // its usual names count too
  plain.componentNames.clear();
  cow_String swapped = name;
  if (variable.IsTensor() && name.size() == 2) std::swap(swapped[0], swapped[1]);
  for (const cow_String& wanted : {name, swapped})
    for (int k = 0; k < variable.NumComponents(); ++k)
      if (odiC_IsSameWord(names[static_cast<std::size_t>(k)], wanted)
          || odiC_IsSameWord(plain.ComponentName(k), wanted))
        return k;
  if (variable.NumComponents() == 1)
    throw odiC_Exception(variable.name + " has one component, without a name");
  throw odiC_Exception(variable.name + " has no component \"" + name + "\"" + atr_Alternatives(name, names));
}

odiC_Rotation::odiC_Rotation(const odiC_Variable& variable)
    : result_(variable), form_(std::make_shared<odiC_RowForm>(variable)),
      numOut_(variable.dataType == res_VECTOR ? 3
              : IsGeneric(variable)           ? 9
                                              : 6) {
  if (variable.dataType != res_VECTOR && variable.dataType != res_MATRIX && !variable.IsTensor())
    throw odiC_Exception(variable.name + " is no vector or tensor: it has no other axes");
  if (variable.coordSystem == res_PRINCIPAL)
    throw odiC_Exception(variable.name + " holds principal values, which cannot be rotated");
}

odiC_Variable odiC_Rotation::Result(dtu_DatumCsysType kind) const {
  odiC_Variable result = result_;
  if (result.IsTensor() && result.dataType != res_MATRIX && result.dataType != res_TENSOR)
    result.dataType = res_TENSOR_3D_FULL;
  result.components = odiC_ComponentsOf(result.dataType, result.matrixType);
  result.coordSystem = res_GLOBAL;
  result.axes = {};
  result.componentNames.clear();
  if (kind == dtu_CARTESIAN) return result;
  std::vector<cow_String> names;
  for (int k = 0; k < result.NumComponents(); ++k) {
    names.push_back(result.ComponentName(k));
    for (char& letter : names.back()) letter = (kind == dtu_CYLINDRICAL ? "rtz" : "rtp")[letter - 'x'];
  }
  result.componentNames = std::move(names);
  return result;
}

template<class T>
void odiC_Rotation::Turn(std::span<const double> matrices, std::size_t stride, std::span<const T> rows,
                         std::span<T> out) const {
  const std::size_t n =
      odiC_NumRows(rows.size(), form_->width, out.size(), static_cast<std::size_t>(numOut_));
  if (stride != 0) odiC_NumRows(n, 1, matrices.size(), kMatrix);
  if (numOut_ == 9) return TurnMatrices(result_.components, matrices.data(), stride, rows, out.data());
  const auto turn = numOut_ == 6 ? &odiC_TurnTensors<T> : &odiC_TurnVectors<T>;
  turn(odiC_BestRowBody(), *form_, matrices.data(), stride, rows.data(), n, out.data());
}

template<class T>
void odiC_Rotation::Local(bool isInto, std::span<const double> quaternions, std::span<const T> rows,
                          std::span<T> out) const {
  const auto numOut = static_cast<std::size_t>(numOut_);
  const std::size_t n = odiC_NumRows(rows.size(), form_->width, out.size(), numOut);
  odiC_NumRows(n, 1, quaternions.size(), 4);
  std::array<double, kMatrix * kBlock> matrices;
  for (std::size_t first = 0; first < n; first += kBlock) {
    const std::size_t count = std::min(kBlock, n - first);
    for (std::size_t k = 0; k < count; ++k)
      MatrixOf(&quaternions[4 * (first + k)], isInto, &matrices[kMatrix * k]);
    Turn(std::span<const double>(matrices).first(kMatrix * count), kMatrix,
         rows.subspan(first * form_->width, count * form_->width),
         out.subspan(first * numOut, count * numOut));
  }
}

template<class T>
void odiC_Rotation::Datum(bool isInto, const dtu_DatumCsys& csys, std::span<const float> points,
                          std::span<const T> rows, std::span<T> out) const {
  const auto numOut = static_cast<std::size_t>(numOut_);
  const std::size_t n = odiC_NumRows(rows.size(), form_->width, out.size(), numOut);
  odiC_NumRows(n, 1, points.size(), 3);
  if (isInto && form_->shear == 1 && numOut_ != 9 && (numOut_ == 6 ? form_->IsSix() : form_->width == 3)) {
    if (out.data() != rows.data()) std::ranges::copy(rows, out.begin());
    if (!(numOut_ == 6 ? dtu_RotateTensorsIntoLocal(points, csys, out)
                       : dtu_RotateVectorsIntoLocal(points, csys, out)))
      RefuseSystem();
    return;
  }
  // the local directions, as what becomes of the global ones
  std::array<double, 3 * kBlock> axis;
  std::array<double, kMatrix * kBlock> matrices;
  for (std::size_t first = 0; first < n; first += kBlock) {
    const std::size_t count = std::min(kBlock, n - first);
    for (std::size_t j = 0; j < 3; ++j) {
      for (std::size_t k = 0; k < 3 * count; ++k) axis[k] = k % 3 == j ? 1 : 0;
      if (!dtu_RotateVectorsIntoLocal(points.subspan(3 * first, 3 * count), csys,
                                      std::span(axis).first(3 * count)))
        RefuseSystem();
      for (std::size_t k = 0; k < 3 * count; ++k) {
        const std::size_t i = k % 3;
        matrices[kMatrix * (k / 3) + (isInto ? 3 * i + j : 3 * j + i)] = axis[k];
      }
    }
    Turn(std::span<const double>(matrices).first(kMatrix * count), kMatrix,
         rows.subspan(first * form_->width, count * form_->width),
         out.subspan(first * numOut, count * numOut));
  }
}

void odiC_Rotation::ByMatrix(std::span<const double, 9> matrix, std::span<const float> rows,
                             std::span<float> out) const {
  Turn(matrix, 0, rows, out);
}
void odiC_Rotation::ByMatrices(std::span<const double> matrices, std::span<const float> rows,
                               std::span<float> out) const {
  Turn(matrices, kMatrix, rows, out);
}
void odiC_Rotation::FromLocal(std::span<const double> quaternions, std::span<const float> rows,
                              std::span<float> out) const {
  Local(false, quaternions, rows, out);
}
void odiC_Rotation::FromDatum(const dtu_DatumCsys& csys, std::span<const float> points,
                              std::span<const float> rows, std::span<float> out) const {
  Datum(false, csys, points, rows, out);
}
void odiC_Rotation::IntoLocal(std::span<const double> quaternions, std::span<const float> rows,
                              std::span<float> out) const {
  Local(true, quaternions, rows, out);
}
void odiC_Rotation::IntoDatum(const dtu_DatumCsys& csys, std::span<const float> points,
                              std::span<const float> rows, std::span<float> out) const {
  Datum(true, csys, points, rows, out);
}
void odiC_Rotation::ByMatrix(std::span<const double, 9> matrix, std::span<const double> rows,
                             std::span<double> out) const {
  Turn(matrix, 0, rows, out);
}
void odiC_Rotation::ByMatrices(std::span<const double> matrices, std::span<const double> rows,
                               std::span<double> out) const {
  Turn(matrices, kMatrix, rows, out);
}
void odiC_Rotation::FromLocal(std::span<const double> quaternions, std::span<const double> rows,
                              std::span<double> out) const {
  Local(false, quaternions, rows, out);
}
void odiC_Rotation::FromDatum(const dtu_DatumCsys& csys, std::span<const float> points,
                              std::span<const double> rows, std::span<double> out) const {
  Datum(false, csys, points, rows, out);
}
void odiC_Rotation::IntoLocal(std::span<const double> quaternions, std::span<const double> rows,
                              std::span<double> out) const {
  Local(true, quaternions, rows, out);
}
void odiC_Rotation::IntoDatum(const dtu_DatumCsys& csys, std::span<const float> points,
                              std::span<const double> rows, std::span<double> out) const {
  Datum(true, csys, points, rows, out);
}
