#include <CoreGeometry/gsl_BBox.h>

#include "gsl_Component.h"
#include "gsl_FlatArrays.h"
#include <CoreGeometry/gsl_Matrix.h>
#include <CoreGeometry/gsl_Vector.h>
#include <cls_Fields.h>
#include <limits>

constexpr auto gsl_BBox::StoredFields() {
  return cls_Fields{cls_Field{"_min", &gsl_BBox::min_}, cls_Field{"_max", &gsl_BBox::max_}};
}

unsigned gsl_BBox::TypeId() noexcept { return gsl_kBBox; }
unsigned gsl_BBox::DynTypeId() const noexcept { return TypeId(); }
void* gsl_BBox::Ctor(cls_ReadVisitor& visitor) { return new gsl_BBox(visitor); }
void gsl_BBox::InitializeMetadata(cls_ClassRegistrar& registrar) {
  cls_DescribeClass<gsl_BBox>(registrar, "gsl_BBox", gsl_kVersion, StoredFields());
}

gsl_BBox::gsl_BBox(const cls_ReadVisitor& visitor) : uid_(visitor.GetUid()) {
  cls_ReadFields(visitor, *this, StoredFields());
}

void gsl_BBox::DBWrite(const cls_WriteVisitor& visitor) const {
  cls_WriteFields(visitor, TypeId(), uid_, *this, StoredFields());
}

gsl_BBox::gsl_BBox(const gsl_Point& min, const gsl_Point& max) noexcept {
  Set({min[0], min[1], min[2]}, {max[0], max[1], max[2]});
}

// only the coordinates: the corners keep uids of their own. A zero is never negative, so that the order of
// the points does not show.
void gsl_BBox::Set(const double (&min)[3], const double (&max)[3]) noexcept {
  for (unsigned i = 0; i < 3; ++i) {
    min_[i] = min[i] + 0.0;
    max_[i] = max[i] + 0.0;
  }
}

bool gsl_BBox::IsEmpty() const noexcept {
  return min_[0] > max_[0] || min_[1] > max_[1] || min_[2] > max_[2];
}

double gsl_BBox::Size() const noexcept { return IsEmpty() ? -1.0 : Diag().Magnitude(); }
gsl_Vector gsl_BBox::Diag() const noexcept { return {min_, max_}; }
gsl_Point gsl_BBox::Center() const noexcept { return {min_, max_}; }

g3d_Sphere gsl_BBox::GetExtent() const noexcept {
  const gsl_Point centre = Center();
  return {centre[0], centre[1], centre[2], 0.5 * Size()};
}

bool gsl_BBox::Intersect(const gsl_BBox& other) const noexcept {
  if (IsEmpty() || other.IsEmpty()) return false;
  // ends compared with ends: sums of extents would round touching boxes apart
  for (unsigned i = 0; i < 3; ++i)
    if (min_[i] > other.max_[i] || other.min_[i] > max_[i]) return false;
  return true;
}

bool gsl_BBox::operator==(const gsl_BBox& other) const noexcept {
  return this == &other || (min_ == other.min_ && max_ == other.max_);
}

void gsl_BBox::Print(aio_ostream& out, int indent) const {
  min_.Print(out, indent);
  max_.Print(out, indent);
}

void gsl_BBox::Vacate() noexcept { Set({0, 0, 0}, {-1, -1, -1}); }

void gsl_BBox::Add(const gsl_Point& p) noexcept {
  const double xyz[3] = {p[0], p[1], p[2]};
  if (IsEmpty()) return Set(xyz, xyz);
  for (unsigned i = 0; i < 3; ++i) {
    if (xyz[i] < min_[i]) min_[i] = xyz[i] + 0.0;
    if (xyz[i] > max_[i]) max_[i] = xyz[i] + 0.0;
  }
}

void gsl_BBox::Add(const gsl_BBox& box) noexcept {
  if (box.IsEmpty()) return;
  const gsl_Point max = box.max_; // box may be this one
  Add(box.min_);
  Add(max);
}

template<class T> void gsl_BBox::AddTriples(std::span<const T> xyz) noexcept {
  const std::size_t count = xyz.size() / 3;
  if (count == 0) return;
  if (IsEmpty()) Add(gsl_Point(xyz[0], xyz[1], xyz[2]));
  constexpr T kInfinity = std::numeric_limits<T>::infinity();
  T min[3] = {kInfinity, kInfinity, kInfinity}, max[3] = {-kInfinity, -kInfinity, -kInfinity};
  gsl_WidenRange(gsl_BestBody(), xyz.data(), count, min, max);
  for (unsigned i = 0; i < 3; ++i) {
    if (min[i] < min_[i]) min_[i] = min[i] + 0.0;
    if (max[i] > max_[i]) max_[i] = max[i] + 0.0;
  }
}

void gsl_BBox::Add(std::span<const float> xyz) noexcept { AddTriples(xyz); }
void gsl_BBox::Add(std::span<const double> xyz) noexcept { AddTriples(xyz); }

void gsl_BBox::Transform(const gsl_Matrix& matrix) noexcept {
  if (IsEmpty()) return;
  gsl_BBox moved;
  for (unsigned corner = 0; corner < 8; ++corner) {
    gsl_Point p((corner & 1 ? max_ : min_)[0], (corner & 2 ? max_ : min_)[1], (corner & 4 ? max_ : min_)[2]);
    matrix.Transform(p);
    moved.Add(p);
  }
  Set({moved.min_[0], moved.min_[1], moved.min_[2]}, {moved.max_[0], moved.max_[1], moved.max_[2]});
}
