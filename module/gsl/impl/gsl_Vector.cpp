#include <CoreGeometry/gsl_Vector.h>

#include "gsl_Tolerances.h"
#include <CoreGeometry/gsl_Matrix.h>
#include <CoreGeometry/gsl_Plane.h>
#include <CoreGeometry/gsl_Point.h>
#include <CoreGeometry/gsl_utils.h>
#include <CoreUtils/omn_TWLdouble.h>
#include <algorithm>

namespace {
constexpr double kPi = 3.141592653589793;
constexpr double kTwoPi = 6.283185307179586;
} // namespace

gsl_Vector::gsl_Vector(const gsl_Point& from, const gsl_Point& to) noexcept
    : gsl_Vector(to[0] - from[0], to[1] - from[1], to[2] - from[2]) {}

gsl_Vector::gsl_Vector(const gsl_Point& p1, const gsl_Point& p2, const gsl_Point& p3) noexcept
    : gsl_Vector(0, 0, 0) {
  const gsl_Vector e1(p1, p2), e2(p2, p3), n = e1.CrossProduct(e2);
  // a normal that overflows or all but vanishes has no direction left
  if (e1.magnitude_ * gsl_RelTol() * e2.magnitude_ < n.magnitude_ && std::isnormal(n.magnitude_))
    *this = n * (1.0 / n.magnitude_);
}

// the components scaled by a power of two: their squares neither overflow nor vanish
double gsl_Vector::ScaledLength(double x, double y, double z) noexcept {
  const double largest = std::max({std::fabs(x), std::fabs(y), std::fabs(z)});
  if (!(largest > 0 && std::isfinite(largest))) return std::sqrt(x * x + y * y + z * z);
  const int exponent = std::ilogb(largest);
  const double a = std::scalbn(x, -exponent), b = std::scalbn(y, -exponent), c = std::scalbn(z, -exponent);
  return std::scalbn(std::sqrt(a * a + b * b + c * c), exponent);
}

gsl_Vector gsl_Vector::NormalizedCopy() const noexcept {
  return magnitude_ < gsl_Tol() ? gsl_Vector(0, 0, 0) : *this * (1.0 / magnitude_);
}

gsl_Vector gsl_Vector::UnitCopy() const noexcept {
  return magnitude_ == 0 ? gsl_Vector(0, 0, 0)
                         : gsl_Vector(x_ / magnitude_, y_ / magnitude_, z_ / magnitude_);
}

bool gsl_Vector::operator==(const gsl_Vector& b) const noexcept {
  return this == &b || (*this - b).magnitude_ < gsl_Tol();
}

bool gsl_Vector::SameDirection(const gsl_Vector& b, double tol) const noexcept {
  const gsl_Vector u = UnitCopy(), v = b.UnitCopy();
  return gsl_RealEqual(u.x_, v.x_, tol) && gsl_RealEqual(u.y_, v.y_, tol) && gsl_RealEqual(u.z_, v.z_, tol);
}

bool gsl_Vector::IsParallel(const gsl_Vector& b, double tol) const noexcept {
  gsl_Vector opposite = b;
  opposite.Negate();
  return SameDirection(b, tol) || SameDirection(opposite, tol);
}

bool gsl_Vector::IsOrthogonal(const gsl_Vector& b) const noexcept {
  return gsl_RelTol() * magnitude_ * b.magnitude_ > std::fabs(DotProduct(b));
}

bool gsl_Vector::IsOn(const gsl_Vector& b) const noexcept {
  return gsl_RelTol() * magnitude_ * b.magnitude_ > CrossProduct(b).magnitude_;
}

gsl_Vector gsl_Vector::AnyOrthogonalUnit() const noexcept {
  gsl_Vector v(y_ - z_, z_ - x_, x_ - y_);
  if (v.magnitude_ < gsl_Tol()) v = gsl_Vector(1, -1, 0);
  v.Normalize();
  return v;
}

gsl_Vector gsl_Vector::BestAlignedOrthogonalUnit() const noexcept {
  const gsl_Plane plane(gsl_Point(), *this);
  const gsl_Vector axes[3] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
  gsl_Vector best = axes[0].ProjectOn(plane);
  double length = 0;
  for (const gsl_Vector& axis : axes) {
    const gsl_Vector projected = axis.ProjectOn(plane);
    if (projected.magnitude_ > length + gsl_Tol()) {
      best = projected;
      length = projected.magnitude_;
    }
  }
  return CrossProduct(best).CrossProduct(*this);
}

gsl_Vector gsl_Vector::ProjectOn(const gsl_Plane& plane) const noexcept {
  const gsl_Vector n = plane.Direction().NormalizedCopy();
  return *this - n * DotProduct(n);
}

bool gsl_Vector::AngleBetween(gsl_Vector a, gsl_Vector b, double& angle) const noexcept {
  if (!a.Normalize() || !b.Normalize()) return false;
  gsl_Vector k = *this;
  k.Normalize();
  const double da = a.DotProduct(k), db = b.DotProduct(k);
  if (std::fabs(da - db) > gsl_Tol()) return false;
  a = (a - k * da).NormalizedCopy();
  b = (b - k * db).NormalizedCopy();
  const gsl_Vector m = b.CrossProduct(k).NormalizedCopy();
  angle = std::atan2(a.DotProduct(m) + 0.0, a.DotProduct(b));
  if (angle <= -kPi) angle = kPi; // of opposite vectors rounding decides the sign
  return true;
}

double gsl_Vector::AngleWith(const gsl_Vector& b, bool unitVectors) const noexcept {
  double cosine = DotProduct(b);
  if (!unitVectors) {
    cosine = magnitude_ > gsl_Tol() ? cosine / magnitude_ : 0.0;
    if (!(b.magnitude_ > gsl_Tol())) return std::acos(0.0);
    cosine /= b.magnitude_;
  }
  return cosine >= 1 ? 0.0 : cosine <= -1 ? kPi : std::acos(cosine);
}

double gsl_Vector::AngleWith(const gsl_Vector& b, bool unitVectors,
                             const gsl_Vector& reference) const noexcept {
  const double angle = AngleWith(b, unitVectors);
  const double turn = CrossProduct(b).DotProduct(reference) < 0 ? kTwoPi - angle : angle;
  return turn < kTwoPi ? turn : 0.0; // the complement of next to nothing
}

void gsl_Vector::Print(aio_ostream& out, int indent) const {
  for (int i = 0; i < indent; ++i) out << " ";
  out << "magnitude:\t" << omn_TWLdouble(magnitude_, 0, 15) << std::endl;
  gsl_Point(x_, y_, z_).Print(out, indent);
}

void gsl_Vector::Scale(double s) noexcept {
  x_ *= s;
  y_ *= s;
  z_ *= s;
  magnitude_ *= s;
  if (!(s > 0)) magnitude_ = -magnitude_;
}

bool gsl_Vector::Normalize() noexcept {
  if (magnitude_ < gsl_Tol()) return false;
  x_ /= magnitude_;
  y_ /= magnitude_;
  z_ /= magnitude_;
  magnitude_ = 1.0;
  return true;
}

void gsl_Vector::RotateAndTransform(const gsl_Matrix& matrix) noexcept { matrix.Transform(*this); }
