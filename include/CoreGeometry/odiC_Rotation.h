// odiC_Rotation.h: components by name, and vectors and tensors in other axes
#pragma once

#include <CoreGeometry/dtu_DatumCsys.h>
#include <CoreGeometry/odiC_Variable.h>
#include <memory>
#include <span>

struct odiC_RowForm;

/// Position of a component by its name in any case: the variable's own names, "xx", "x", and "yx" for "xy" of a symmetric
/// tensor; nothing for the only one. odiC_Exception for another name, with those there are, the nearest first.
CORE_GEOMETRY_API int odiC_FindComponent(const odiC_Variable& variable, const cow_String& name);

/// The rows of a vector or tensor variable in other axes: Q v and Q s Q^T for directions that are the rows of Q. Planar
/// and surface tensors and plane vectors become those of space, with zeros; other matrices keep their nine components.
/// Engineering shears are halved before and doubled after.
///
/// Aliasing   the result may be the rows when they are as wide.
/// Accuracy   computed in double, rounded once; the same bits on every processor.
/// Errors     odiC_Exception for principal values, numbers and quaternions, which cannot be rotated; nex_AssertionException
///            when spans do not fit.
class CORE_GEOMETRY_API odiC_Rotation {
public:
  explicit odiC_Rotation(const odiC_Variable& variable);

  /// What comes out: a vector, tensor or matrix in space, global. In a cylindrical or spherical system its components are
  /// named r, t, z (rr, tt, zz, rt, rz, tz) or r, t, p; its axes are to be named by who knows them.
  odiC_Variable Result(dtu_DatumCsysType kind = dtu_CARTESIAN) const;
  int NumComponents() const noexcept { return numOut_; } ///< of the result: 3, 6 or 9

  /// Nine numbers, row by row, for all rows of values.
  void ByMatrix(std::span<const double, 9> matrix, std::span<const float> rows, std::span<float> out) const;
  void ByMatrix(std::span<const double, 9> matrix, std::span<const double> rows, std::span<double> out) const;
  /// Nine numbers for each row of values.
  void ByMatrices(std::span<const double> matrices, std::span<const float> rows, std::span<float> out) const;
  void ByMatrices(std::span<const double> matrices, std::span<const double> rows,
                  std::span<double> out) const;
  /// From local axes to global ones, or back. Local axis k is column k of the matrix of the quaternion (x, y, z, w) that
  /// each row of values has; one whose length is not within 1e-3 of 1 gives not a number.
  void FromLocal(std::span<const double> quaternions, std::span<const float> rows,
                 std::span<float> out) const;
  void FromLocal(std::span<const double> quaternions, std::span<const double> rows,
                 std::span<double> out) const;
  void IntoLocal(std::span<const double> quaternions, std::span<const float> rows,
                 std::span<float> out) const;
  void IntoLocal(std::span<const double> quaternions, std::span<const double> rows,
                 std::span<double> out) const;
  /// From global axes into those of a system at the points whose coordinates are given, three each, or back; see
  /// dtu_Mapping.h. odiC_Exception for a system that has no axes.
  void IntoDatum(const dtu_DatumCsys& csys, std::span<const float> points, std::span<const float> rows,
                 std::span<float> out) const;
  void IntoDatum(const dtu_DatumCsys& csys, std::span<const float> points, std::span<const double> rows,
                 std::span<double> out) const;
  void FromDatum(const dtu_DatumCsys& csys, std::span<const float> points, std::span<const float> rows,
                 std::span<float> out) const;
  void FromDatum(const dtu_DatumCsys& csys, std::span<const float> points, std::span<const double> rows,
                 std::span<double> out) const;

private:
  template<class T>
  void Turn(std::span<const double> matrices, std::size_t stride, std::span<const T> rows,
            std::span<T> out) const;
  template<class T>
  void Local(bool isInto, std::span<const double> quaternions, std::span<const T> rows,
             std::span<T> out) const;
  template<class T>
  void Datum(bool isInto, const dtu_DatumCsys& csys, std::span<const float> points, std::span<const T> rows,
             std::span<T> out) const;

  odiC_Variable result_;
  std::shared_ptr<const odiC_RowForm> form_;
  int numOut_;
};
