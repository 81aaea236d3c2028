#include <BasicUtils/uti_CoordCont3D.h>

#include <algorithm>
#include <cmath>

namespace {
cow_String NoTriples(std::size_t numbers) {
  return std::to_string(numbers) + " numbers are no points of three coordinates";
}
} // namespace

uti_CoordCont3D::uti_CoordCont3D(cow_ArrayCOW<float> xyz) : xyz_(std::move(xyz)) {
  if (xyz_.Size() % 3 != 0) throw nex_AssertionException(NoTriples(xyz_.Size()));
}

uti_CoordCont3D::uti_CoordCont3D(const cls_ReadVisitor& visitor) : xyz_(visitor.GetArray<float>()) {
  if (xyz_.Size() % 3 != 0) visitor.Refuse(NoTriples(xyz_.Size()));
}

bool uti_CoordCont3D::GetCoord(std::size_t i, float& x, float& y, float& z) const noexcept {
  if (i >= Size()) return false;
  const float* point = xyz_.Const().data() + 3 * i;
  x = point[0];
  y = point[1];
  z = point[2];
  return true;
}

bool uti_CoordCont3D::GetCoord(std::size_t i, float& x, float& y) const noexcept {
  float z;
  return GetCoord(i, x, y, z);
}

bool uti_CoordCont3D::AreCoordsEqual(std::size_t i, std::size_t j, float tolerance) const noexcept {
  if (i >= Size() || j >= Size()) return false;
  const auto a = Const().subspan(3 * i, 3), b = Const().subspan(3 * j, 3);
  return std::ranges::equal(a, b, [=](float p, float q) { return std::fabs(p - q) <= tolerance; });
}

bool operator==(const uti_CoordCont3D& a, const uti_CoordCont3D& b) noexcept {
  return std::ranges::equal(a.Const(), b.Const());
}

bool uti_CoordCont3D::SetCoord(std::size_t i, float x, float y, float z) {
  if (i >= Size()) return false;
  float* point = xyz_.Modify().data() + 3 * i;
  point[0] = x;
  point[1] = y;
  point[2] = z;
  return true;
}

void uti_CoordCont3D::Append(float x, float y, float z) {
  const float point[] = {x, y, z};
  xyz_.Append(point);
}

void uti_CoordCont3D::Append(const uti_CoordCont3D& other) {
  if (IsEmpty())
    xyz_ = other.xyz_;
  else
    xyz_.Append(cow_ArrayCOW<float>(other.xyz_).Const()); // a handle of its own: `other` may be this one
}

bool uti_CoordCont3D::Remove(std::size_t i) {
  if (i >= Size()) return false;
  xyz_.Remove(3 * i, 3);
  return true;
}

void uti_CoordCont3D::Resize(std::size_t points) { xyz_.Resize(3 * points); }
