#include "pic_Datums.h"

#include <CoreGeometry/dtu_DatumAxis.h>
#include <CoreGeometry/dtu_DatumCsys.h>
#include <CoreGeometry/dtu_DatumPlane.h>
#include <algorithm>
#include <cmath>
#include <memory>

namespace {
constexpr pic_Colour kDatum{0.72, 0.10, 0.58};
constexpr double kSystem = 0.12, kNormal = 0.08, kPoint = 0.03,
                 kBeyond = 0.05; ///< parts of the diagonal of all

class Drawer {
public:
  Drawer(const gsl_BBox& box, double size) : size_(size), around_(box) {
    const gsl_Vector beyond(kBeyond * size, kBeyond * size, kBeyond * size);
    around_.Add(box.Min() - beyond);
    around_.Add(box.Max() + beyond);
  }

  void Draw(const dtu_Datum& datum) {
    switch (datum.GetDatumType()) {
    case dtu_POINT: return DrawPoint(datum);
    case dtu_AXIS:
    case dtu_PLANE: return DrawOutline(datum);
    case dtu_CSYS: return DrawSystem(datum);
    }
  }

  std::vector<pic_DatumLine> lines;

private:
  void Add(const gsl_Point& from, const gsl_Point& to, const pic_Colour& colour) {
    const pic_DatumLine line{{from[0], from[1], from[2]}, {to[0], to[1], to[2]}, colour};
    const auto isFinite = [](double x) { return std::isfinite(x); };
    if (std::ranges::all_of(line.from, isFinite) && std::ranges::all_of(line.to, isFinite))
      lines.push_back(line);
  }

  void DrawPoint(const dtu_Datum& datum) {
    if (datum.DynTypeId() == dtu_Datum::TypeId()) return; // without geometry
    const double arm = kPoint * size_;
    for (const gsl_Vector& along : {gsl_Vector(arm, 0, 0), gsl_Vector(0, arm, 0), gsl_Vector(0, 0, arm)})
      Add(datum.Point() - along, datum.Point() + along, kDatum);
  }

  void DrawOutline(const dtu_Datum& datum) {
    const std::unique_ptr<dtu_Datum> copy(datum.Copy());
    copy->UpdateOutline(around_);
    gsl_Point corners[4];
    if (const auto* axis = dynamic_cast<const dtu_DatumAxis*>(&*copy)) {
      if (axis->GetDiscreteRep(corners) == 2) Add(corners[0], corners[1], kDatum);
    } else if (const auto* plane = dynamic_cast<const dtu_DatumPlane*>(&*copy)) {
      if (plane->GetDiscreteRep(corners) != 4) return;
      for (unsigned i = 0; i < 4; ++i) Add(corners[i], corners[(i + 1) % 4], kDatum);
      gsl_Point unused;
      gsl_Vector normal;
      plane->Geometry(unused, normal);
      const gsl_Point middle(corners[0], corners[2]);
      Add(middle, middle + normal.UnitCopy() * (kNormal * size_), kDatum);
    }
  }

  void DrawSystem(const dtu_Datum& datum) {
    const auto* csys = dynamic_cast<const dtu_DatumCsys*>(&datum);
    if (!csys) return;
    const gsl_Vector* const axes[] = {&csys->Xaxis(), &csys->Yaxis(), &csys->Zaxis()};
    for (unsigned i = 0; i < 3; ++i)
      Add(csys->Origin(), csys->Origin() + axes[i]->UnitCopy() * (kSystem * size_), pic_kAxisColours[i]);
  }

  double size_;
  gsl_BBox around_;
};
} // namespace

std::vector<pic_DatumLine> pic_LinesOf(std::span<const dtu_Datum* const> datums, const gsl_BBox& box) {
  gsl_BBox seen = box;
  for (const dtu_Datum* datum : datums)
    if (const gsl_Point at = datum->Point();
        std::isfinite(at[0] + at[1] + at[2]) && datum->DynTypeId() != dtu_Datum::TypeId())
      seen.Add(at);
  Drawer drawer(box, seen.Size() > 0 ? seen.Size() : 1);
  for (const bool areSystems : {false, true}) // these last, over what they share a line with
    for (const dtu_Datum* datum : datums)
      if ((datum->GetDatumType() == dtu_CSYS) == areSystems) drawer.Draw(*datum);
  return std::move(drawer.lines);
}
