// uti_CoordCont3D.h: node coordinates, one flat block of single-precision triples
#pragma once

#include <BasicUtils/cls_Visitors.h>
#include <CoreUtils/uti_Coord3D.h>

/// Coordinates x0 y0 z0 x1 ... of n points, shared until they are changed.
///
/// Units      model length.
/// Tolerance  AreCoordsEqual: absolute difference per axis, inclusive.
/// Errors     functions return false for an index out of range.
/// Cost       copy O(1); changes copy a shared block first; Const() and Modify() give the flat block.
class CORE_GEOMETRY_PLATFORM_API uti_CoordCont3D {
public:
  static constexpr cls_AttributeType kStoredAs = cls_AttributeType::FloatArray;

  // make
  uti_CoordCont3D() = default;
  /// n points, 3 floats each; throws nex_AssertionException for anything else.
  explicit uti_CoordCont3D(cow_ArrayCOW<float> xyz);
  explicit uti_CoordCont3D(const cls_ReadVisitor& visitor);

  // ask
  std::size_t Size() const noexcept { return xyz_.Size() / 3; } ///< points
  bool IsEmpty() const noexcept { return xyz_.IsEmpty(); }
  bool GetCoord(std::size_t i, float& x, float& y, float& z) const noexcept;
  bool GetCoord(std::size_t i, float& x, float& y) const noexcept;
  bool AreCoordsEqual(std::size_t i, std::size_t j, float tolerance) const noexcept;
  std::span<const float> Const() const noexcept { return xyz_.Const(); }
  const cow_ArrayCOW<float>& Values() const noexcept { return xyz_; }
  void DBWrite(const cls_WriteVisitor& visitor) const { visitor.PutArray(xyz_, 3); }
  friend CORE_GEOMETRY_PLATFORM_API bool operator==(const uti_CoordCont3D& a,
                                                    const uti_CoordCont3D& b) noexcept;

  // change
  bool SetCoord(std::size_t i, float x, float y, float z);
  void Append(float x, float y, float z);
  void Append(const uti_CoordCont3D& other);
  bool Remove(std::size_t i);
  void Resize(std::size_t points); ///< new points lie at the origin
  std::span<float> Modify() { return xyz_.Modify(); }

private:
  cow_ArrayCOW<float> xyz_;
};
