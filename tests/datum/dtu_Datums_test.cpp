#include "OneOfEachKind.h"

#include <CoreGeometry/gsl_Matrix.h>
#include <StoredTest.h>
#include <sstream>

namespace {
class dtu_Datums : public StoredTest {};

gsl_BBox Box(const gsl_Point& min, const gsl_Point& max) { return {min, max}; }

std::string Printed(const dtu_Datum& datum) {
  std::ostringstream out;
  datum.Print(out);
  return out.str();
}
} // namespace

TEST_F(dtu_Datums, AreCopiedWithTheirClassAndDifferInEveryField) {
  const auto all = OneOfEachKind();
  for (const DatumPtr& datum : all) {
    const DatumPtr copy(datum->Copy());
    dtu_Datum *fresh = nullptr, *same = nullptr;
    datum->Copy(fresh, 0);
    datum->Copy(same, 1);
    const DatumPtr first(fresh), second(same);
    EXPECT_TRUE(*copy == *datum && *first == *datum && *second == *datum);
    EXPECT_NE(copy->Uid(), datum->Uid());
    EXPECT_NE(first->Uid(), datum->Uid());
    EXPECT_EQ(second->Uid(), datum->Uid());
    gsl_Matrix shift;
    shift.SetTranslation({0, 0, 7});
    copy->TransformData(shift);
    EXPECT_EQ(*copy != *datum, datum->DynTypeId() != dtu_Datum::TypeId()) << "only the base has no geometry";
    for (const DatumPtr& other : all) EXPECT_EQ(*other == *datum, &other == &datum);
  }
  EXPECT_TRUE(dtu_DatumPoint(1, 2, {}) != dtu_DatumPoint(1, 3, {}));
  EXPECT_TRUE(dtu_DynamicDatumCsys(0, 0, 1, 1, 1, 1, 2, 3, dtu_CARTESIAN, true)
              != dtu_DynamicDatumCsys(0, 0, 1, 1, 1, 1, 2, 4, dtu_CARTESIAN, true));
}

TEST_F(dtu_Datums, OutlinesBoundTheBoxDroppedOntoThem) {
  dtu_DatumAxis axis(0, 0, {5, 5, 0}, {0, 0, -2});
  gsl_Point ends[4];
  EXPECT_EQ(axis.GetDiscreteRep(ends), 0);
  EXPECT_TRUE(axis.GetBBox() == Box({5, 5, 0}, {5, 5, 0}));
  axis.UpdateOutline(Box({-1, -2, -3}, {1, 2, 4}));
  ASSERT_EQ(axis.GetDiscreteRep(ends), 2);
  EXPECT_TRUE(ends[0] == gsl_Point(5, 5, 4));
  EXPECT_TRUE(ends[1] == gsl_Point(5, 5, -3));
  EXPECT_TRUE(axis.GetBBox() == Box({5, 5, -3}, {5, 5, 4}));

  dtu_DatumPlane plane(0, 0, {0, 0, 7}, {0, 0, 3});
  plane.UpdateOutline(Box({-1, -2, -3}, {1, 2, 4}));
  ASSERT_EQ(plane.GetDiscreteRep(ends), 4);
  EXPECT_TRUE(plane.GetBBox() == Box({-1, -2, 7}, {1, 2, 7}));
  for (int i = 0; i < 4; ++i) EXPECT_FALSE(ends[i] == ends[(i + 1) % 4]);
  EXPECT_NEAR(gsl_Vector(ends[0], ends[1]).DotProduct({ends[1], ends[2]}), 0, 1e-12);
  plane.UpdateOutline({});
  EXPECT_EQ(plane.GetDiscreteRep(ends), 0);
  dtu_DatumPlane flat(0, 0, {}, {0, 0, 0});
  flat.UpdateOutline(Box({-1, -2, -3}, {1, 2, 4}));
  EXPECT_EQ(flat.GetDiscreteRep(ends), 0);

  for (const double length : {0.0, 1e-7, -1e-7, std::nan("")}) {
    dtu_DatumAxis none(0, 0, {}, {0, length, 0});
    none.UpdateOutline(Box({-1, -2, -3}, {1, 2, 4}));
    EXPECT_EQ(none.GetDiscreteRep(ends), 0) << length;
  }

  gsl_Point point;
  EXPECT_EQ(dtu_DatumPoint(0, 0, {1, 2, 3}).GetDiscreteRep(point), 1);
  EXPECT_TRUE(point == gsl_Point(1, 2, 3));
  EXPECT_TRUE(dtu_Datum().GetBBox().IsEmpty());
}

TEST_F(dtu_Datums, FollowThreeNodes) {
  dtu_DynamicDatumCsys csys(0, 0, 1, 1, 1, 10, 20, 30, dtu_CARTESIAN, false);
  EXPECT_EQ(csys.GetNodeInfo(), "inst1:1 inst2:1 inst3:1 node1:10 node2:20 node3:30");
  const dtu_NodesPackage mixed(1, 2, 3, 10, 20, 30, false);
  EXPECT_EQ(mixed.ConstGetInstanceID(3), 3);
  EXPECT_EQ(mixed.ConstGetInstanceID(4), 0);
  EXPECT_EQ(mixed.ConstGetInstanceID(0), 0);
  EXPECT_EQ(mixed.ConstGetNodeLabel(1), 10);
  EXPECT_EQ(mixed.ConstGetNodeLabel(4), 0);

  const dtu_DynamicDatumCsys before = csys;
  EXPECT_FALSE(csys.Regenerate({{{0, 0, 0}, {1, 1, 1}, {3, 3, 3}}}, false));
  EXPECT_TRUE(csys == before) << "colinear nodes";
  csys.Regenerate({{{1, 1, 1}, {1, 3, 1}, {1, 1, 5}}}, true);
  EXPECT_TRUE(csys == before) << "only the display frame moves";
  gsl_Point origin;
  gsl_Vector x, y, z;
  csys.DisplayGeometry(origin, x, y, z);
  EXPECT_TRUE(origin == gsl_Point(1, 1, 1));
  EXPECT_TRUE(x == gsl_Vector(0, 1, 0) && y == gsl_Vector(0, 0, 1) && z == gsl_Vector(1, 0, 0));
  const DatumPtr shown(csys.GetDisplayCoordSystem());
  EXPECT_TRUE(shown->Point() == origin);
  csys.Regenerate({{{1, 1, 1}, {1, 3, 1}, {1, 1, 5}}}, false);
  EXPECT_TRUE(csys.Origin() == origin && csys.Xaxis() == x);

  dtu_DynamicDatumCsys circle(0, 0, 1, 1, 1, 10, 20, 30, dtu_CYLINDRICAL, true);
  const dtu_NodesCoordPackage nodes{{{6, 2, 0}, {4, 4, 0}, {2, 2, 0}}};
  circle.Regenerate(nodes, false);
  for (const auto& node : nodes.coordinates)
    EXPECT_NEAR(circle.Origin().GetDistance(gsl_Point(node[0], node[1], node[2])), 2, 1e-9);
  EXPECT_TRUE(circle.Xaxis() == gsl_Vector(1, 0, 0));
  EXPECT_TRUE(circle.Zaxis() == gsl_Vector(0, 0, 1));
}

TEST_F(dtu_Datums, FollowOneNodeAndItsRotation) {
  const dtu_DatumCsys reference(0, 0, {5, 5, 5}, {0, 2, 0}, {-1, 0, 0}, {0, 0, 1}, dtu_CARTESIAN);
  dtu_6dofNodeDatumCsys csys(1, 2, 3, 44, dtu_CARTESIAN, &reference);
  EXPECT_EQ(csys.GetNodeInfo(), "inst1:3 node1:44");
  EXPECT_TRUE(csys.Origin() == reference.Origin());
  const dtu_6dofNodeCoord coords{{1, 2, 3}, {0, 0, 1.57079633F}};
  csys.Regenerate(coords, true);
  EXPECT_TRUE(csys.Origin() == reference.Origin());
  gsl_Point origin;
  gsl_Vector x, y, z;
  csys.DisplayGeometry(origin, x, y, z);
  EXPECT_TRUE(origin == gsl_Point(1, 2, 3));
  EXPECT_TRUE(x == gsl_Vector(-2, 0, 0) && y == gsl_Vector(0, -1, 0) && z == gsl_Vector(0, 0, 1));
  csys.Regenerate(coords, false);
  csys.Regenerate(coords, false); // the rotation is from the reference, not from the last one
  EXPECT_TRUE(csys.Xaxis() == gsl_Vector(-2, 0, 0));
  // what is stored knows the reference: rotations are total after reading, too
  const auto read = RoundTrip(csys);
  EXPECT_TRUE(*read == csys);
  EXPECT_EQ(read->GetNodeInfo(), "inst1:3 node1:44");
  read->Regenerate(coords, false);
  EXPECT_TRUE(read->Xaxis() == gsl_Vector(-2, 0, 0) && read->Yaxis() == gsl_Vector(0, -1, 0));
  const auto again = RoundTrip(*read);
  again->Regenerate({{0, 0, 0}, {0, 0, 0}}, false);
  EXPECT_TRUE(again->Xaxis() == gsl_Vector(0, 2, 0) && again->Yaxis() == gsl_Vector(-1, 0, 0));
  // a system that is moved as a whole takes its reference along
  gsl_Matrix quarter;
  quarter.AxisRotation({}, {1, 0, 0}, 1.5707963267948966);
  again->TransformData(quarter);
  const auto moved = RoundTrip(*again);
  for (dtu_6dofNodeDatumCsys* one : {&*again, &*moved}) {
    one->Regenerate(coords, false);
    EXPECT_TRUE(one->Xaxis() == gsl_Vector(0, 0, 2) && one->Yaxis() == gsl_Vector(0, -1, 0));
  }
  dtu_6dofNodeDatumCsys global(1, 2, 3, 44, dtu_CARTESIAN, nullptr);
  global.Regenerate(coords, false);
  EXPECT_TRUE(global.Xaxis() == gsl_Vector(0, 1, 0));
  EXPECT_NE(Printed(csys).find("\n6-DOF node: inst1:3 node1:44\n"), std::string::npos);
}
