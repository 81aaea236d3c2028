#include <CoreGeometry/bme_Placement.h>

#include <CoreGeometry/gsl_Vector.h>
#include <algorithm>
#include <array>
#include <cmath>

bme_Placement::bme_Placement(const gsl_Matrix* transform) {
  if (!transform) return;
  toPlaced_ = *transform;
  isNone_ = toPlaced_.IsIdentity();
  toLocal_ = toPlaced_.InverseRigidTransform();
  constexpr double kRounding = 1e-6;
  for (unsigned i = 0; i < 3; ++i)
    for (unsigned j = 0; j < 3; ++j) {
      double product = 0; // of the rotation with its transpose
      for (unsigned k = 0; k < 3; ++k) product += toPlaced_.Element(i, k) * toPlaced_.Element(j, k);
      if (!(std::abs(product - (i == j ? 1 : 0)) < kRounding) || !std::isfinite(toPlaced_.Element(i, 3)))
        throw nex_TextException("the placement of the mesh is not a rotation with a translation");
      isTurned_ |= toPlaced_.Element(i, j) != (i == j ? 1 : 0);
    }
  if (toPlaced_.NewXAxis().CrossProduct(toPlaced_.NewYAxis()).DotProduct(toPlaced_.NewZAxis()) < 0)
    throw nex_TextException("the placement of the mesh is a reflection, not a rotation");
}

gsl_Matrix bme_Placement::Turn() const noexcept {
  gsl_Matrix turn = toPlaced_;
  turn.SetTranslation(gsl_Vector(0, 0, 0));
  return turn;
}

gsl_Matrix bme_Placement::Into(const bme_Placement& other) const noexcept {
  gsl_Matrix both = toPlaced_;
  both.Concatenate(other.toLocal_);
  return both;
}

void bme_Placement::Place(std::span<const float> local, std::span<double> placed) const noexcept {
  std::ranges::copy(local, placed.begin());
  if (!isNone_) toPlaced_.Transform(placed.first(local.size()));
}

gsl_BBox bme_Placement::Box(std::span<const float> local) const {
  gsl_BBox box;
  std::array<double, 3> placed{};
  for (std::size_t i = 0; i + 2 < local.size(); i += 3) {
    Place(local.subspan(i, 3), placed);
    if (std::ranges::all_of(placed, [](double x) { return std::isfinite(x); }))
      box.Add(gsl_Point(placed[0], placed[1], placed[2]));
  }
  return box;
}
