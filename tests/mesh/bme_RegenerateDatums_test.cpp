#include <CoreGeometry/bme_MeshBuilder.h>
#include <CoreGeometry/bme_RegenerateDatums.h>
#include <CoreGeometry/dtu_6dofNodeDatumCsys.h>
#include <CoreGeometry/dtu_DatumContainer.h>
#include <CoreGeometry/dtu_DatumPoint.h>
#include <cmath>
#include <gtest/gtest.h>

namespace {
constexpr float kQuarter = 1.57079633F;

/// Node labels 10, 20, 30, 40; the first three lie on a line.
bme_Mesh Mesh() { return bme_MeshBuilder({0, 0, 0, 1, 0, 0, 2, 0, 0, 0, 2, 0}, {10, 20, 30, 40}).Build(); }

dtu_DynamicDatumCsys Three(unsigned id, int n1, int n2, int n3, int lastInstance = 1) {
  return {id, 0, 1, 1, lastInstance, n1, n2, n3, dtu_CARTESIAN, false};
}

const dtu_DatumCsys& Csys(const dtu_DatumContainer& all, int id) {
  return dynamic_cast<const dtu_DatumCsys&>(all.Get(id));
}
} // namespace

TEST(bme_RegenerateDatums, FollowsTheNodesAndReportsWhatCannot) {
  dtu_DatumContainer all;
  all.Add(dtu_DatumPoint(1, 0, {5, 5, 5}), "fixed");
  all.Add(Three(2, 20, 40, 10), "moving");
  all.Add(Three(3, 10, 20, 30), "flat");
  all.Add(Three(4, 10, 99, 98), "nowhere");
  all.Add(Three(5, 20, 40, 10, 2), "between parts");
  all.Add(dtu_6dofNodeDatumCsys(6, 0, 1, 30, dtu_CYLINDRICAL, nullptr), "turning");
  all.Add(dtu_6dofNodeDatumCsys(7, 0, 1, 31, dtu_CYLINDRICAL, nullptr), "lost");
  const dtu_DatumContainer before = all;
  const bme_Mesh mesh = Mesh();

  const std::vector<float> up = {0, 0, 0, 0, 0, 3, 0, 0, 4, 0, 0, 3},
                           turn = {0, 0, 0, 0, 0, 0, 0, 0, kQuarter, 0, 0, 0};
  cow_String told;
  for (const bme_LostDatum& lost : bme_RegenerateDatums(all, mesh))
    told += std::to_string(lost.datum) + ": " + lost.Text() + "; ";
  EXPECT_EQ(told, "3: nodes 10, 20, 30 are on one line; 4: nodes 99, 98 are not in the mesh; "
                  "5: nodes 20, 40, 10 are of several instances; 7: node 31 is not in the mesh; ");
  EXPECT_TRUE(Csys(all, 2).Origin() == gsl_Point(1, 0, 0) && Csys(all, 2).Zaxis() == gsl_Vector(0, 0, 1));
  EXPECT_TRUE(Csys(all, 6).Origin() == gsl_Point(2, 0, 0) && Csys(all, 6).Xaxis() == gsl_Vector(1, 0, 0));
  for (const int id : {1, 3, 4, 5, 7}) EXPECT_TRUE(all.Get(id) == before.Get(id)) << id;

  const dtu_DatumContainer still = all;
  bme_RegenerateDatums(all, mesh, up, turn, true);
  EXPECT_TRUE(all == still) << "only the display frames move";
  gsl_Point origin;
  gsl_Vector x, y, z;
  Csys(all, 6).DisplayGeometry(origin, x, y, z);
  EXPECT_TRUE(origin == gsl_Point(2, 0, 4) && x == gsl_Vector(0, 1, 0));
  EXPECT_EQ(bme_RegenerateDatums(all, mesh, up, turn).size(), 3U) << "the three are no longer on a line";
  EXPECT_TRUE(Csys(all, 2).Origin() == gsl_Point(1, 0, 3));
  EXPECT_TRUE(Csys(all, 6).Origin() == gsl_Point(2, 0, 4) && Csys(all, 6).Xaxis() == gsl_Vector(0, 1, 0));

  std::vector<float> bad = up;
  for (const bool isRotation : {false, true}) {
    const dtu_DatumContainer moved = all;
    bad[isRotation ? 6 : 3] = std::nanf("");
    const auto lost =
        isRotation ? bme_RegenerateDatums(all, mesh, up, bad) : bme_RegenerateDatums(all, mesh, bad);
    EXPECT_TRUE(std::ranges::any_of(lost, [&](const bme_LostDatum& one) {
      return one.datum == (isRotation ? 6 : 2) && one.reason == bme_LostDatum::NOT_FINITE
             && one.labels == std::vector<int>{isRotation ? 30 : 20};
    }));
    const int id = isRotation ? 6 : 2;
    EXPECT_TRUE(all.Get(id) == moved.Get(id));
  }
  EXPECT_THROW(bme_RegenerateDatums(all, mesh, std::span(up).first(9)), nex_AssertionException);
  EXPECT_THROW(bme_RegenerateDatums(all, mesh, up, std::span(up).first(3)), nex_AssertionException);
}
