#include <CoreGeometry/gsl_Matrix.h>
#include <CoreGeometry/gsl_Point.h>
#include <CoreGeometry/gsl_Vector.h>
#include <CoreGeometry/shp_ArsDataHolder.h>
#include <StoredTest.h>

namespace {
class shp_Analytic : public StoredTest {};

using Segment = shp_AnalyticSurfaceSegment;
using Holder = shp_ArsDataHolder;

g3d_Point At(float x) { return {{x, x + 0.5F, 0}}; }

shp_AnalyticSurface Surface() {
  shp_AnalyticSurface surface;
  surface.SetType(shp_AnalyticSurface::REVOLUTION);
  surface.SetFilletRadius(0.25);
  surface.SetName("Die");
  surface.SetProfile({{Segment::START, {At(0)}},
                      {Segment::LINE, {At(1)}},
                      {Segment::CIRCLE, {At(2), At(3)}},
                      {Segment::PARABOLA, {At(4), At(5)}}});
  surface.SetLocalCoordData({{{1, 0, 0}}, {{0, 2, 0}}, {{0, 0, 3}}});
  return surface;
}

shp_AnalyticRigidSurfaceData OldData() {
  shp_AnalyticRigidSurfaceData data(shp_EXTSEGS);
  data.SetElement(1, 2, 3);
  data.SetSurfaceName("Punch");
  data.SetLocalCoordDef({{{7, 8, 9}}, {{4, 5, 6}}});
  data.SetDataPairList({{At(6), shp_CIRCL}, {At(7), shp_PARAB}});
  return data;
}

Holder With(const shp_AnalyticRigidSurfaceData* data, const shp_AnalyticSurface* surface) {
  return {data ? Holder::OldData(data->Copy()) : Holder::OldData(),
          surface ? Holder::Surface(surface->Copy()) : Holder::Surface()};
}

std::vector<int> Types(const shp_SuppDataPairList& pairs) {
  std::vector<int> types;
  for (const shp_SuppDataPair& pair : pairs.List()) types.push_back(pair.DataType());
  return types;
}
} // namespace

TEST_F(shp_Analytic, APairNeedsThreeCoordinates) {
  cls_Row row;
  row.SetFloats("value", std::vector<float>{1, 2}, 1).SetText("dataType", "Line");
  StoreRow(shp_SuppDataPair::TypeId(), 203, row);
  EXPECT_NE(ThrownBy([&] {
              cls_Database::Open(file_).Get<shp_SuppDataPair>("it");
            }).find("value: has 2 numbers instead of 3"),
            cow_String::npos);
}

TEST_F(shp_Analytic, TheProfileIsReachedByItsAlias) {
  RoundTrip(Surface());
  const cls_Database db = cls_Database::Open(file_);
  const auto list = db.GetValue<shp_AnalyticSurfaceSegmentList>(db.Resolve("it.analyticSurfaceProfile"));
  EXPECT_TRUE(list == Surface().Profile());
  EXPECT_EQ(db.GetObject<Segment>(db.Resolve("it.profile[2]"))->Type(), Segment::CIRCLE);
}

TEST_F(shp_Analytic, AHolderWithoutEitherFormSaysSo) {
  const Holder none;
  EXPECT_FALSE(none.hasValue());
  const auto line = [](auto&& ask) {
    try {
      ask();
    } catch (const nex_TextException& failure) {
      EXPECT_EQ(failure.Message(), "ARS data does not have a valid old/new representation");
      EXPECT_EQ(failure.Source(), "generated/module/shp/impl/shp_ArsDataHolder");
      return failure.Line();
    }
    return 0;
  };
  EXPECT_EQ(line([&] { none.ConstGetDataPairList(); }), 17);
  EXPECT_EQ(line([&] { none.ConstGetLocalCoordDef(0); }), 61);
}

TEST_F(shp_Analytic, PairsOfTheRecordComeBeforeThoseOfTheProfile) {
  const shp_AnalyticSurface surface = Surface();
  const shp_AnalyticRigidSurfaceData data = OldData();
  const auto fromSurface = With(nullptr, &surface).ConstGetDataPairList();
  EXPECT_EQ(Types(fromSurface), (std::vector<int>{0, 1, 2, 2, 3, 3}));
  EXPECT_EQ(fromSurface.ConstGet(3).Value()[0], 3.F);
  const auto both = With(&data, &surface).ConstGetDataPairList();
  EXPECT_EQ(Types(both), (std::vector<int>{2, 3, 0, 1, 2, 2, 3, 3}));
  EXPECT_NE(fromSurface.Uid(), With(nullptr, &surface).ConstGetDataPairList().Uid());
  const Holder old(Holder::OldData(new shp_AnalyticRigidSurfaceData(data)), {});
  EXPECT_EQ(old.ConstGetDataPairList().Uid(), old.ConstGetDataPairList().Uid());

  shp_AnalyticSurface broken;
  broken.SetProfile({{Segment::START, {At(0)}}, {Segment::CIRCLE, {At(1)}}});
  EXPECT_THROW(With(nullptr, &broken).ConstGetDataPairList(), nex_OutOfRangeException);
  broken.SetProfile({{static_cast<Segment::TypeEnm>(9), {At(0)}}});
  EXPECT_EQ(With(nullptr, &broken).ConstGetDataPairList().Size(), 0);
}

TEST_F(shp_Analytic, VectorsAreThoseOfTheSurfaceWithinTheRecordsRange) {
  const shp_AnalyticSurface surface = Surface();       // three vectors
  const shp_AnalyticRigidSurfaceData data = OldData(); // two
  const Holder alone = With(nullptr, &surface), old = With(&data, nullptr), both = With(&data, &surface);
  EXPECT_EQ(alone.ConstGetLocalCoordDef(2)[2], 3.F);
  EXPECT_EQ(old.ConstGetLocalCoordDef(1)[0], 4.F);
  EXPECT_EQ(both.ConstGetLocalCoordDef(1)[1], 2.F);
  EXPECT_EQ(ThrownBy<nex_TextException>([&] { alone.ConstGetLocalCoordDef(4); }),
            "localcoord data requested for 4 when size is 3");
  EXPECT_THROW(alone.ConstGetLocalCoordDef(3), nex_OutOfRangeException);
  EXPECT_THROW(alone.ConstGetLocalCoordDef(-1), nex_OutOfRangeException);
  EXPECT_THROW(both.ConstGetLocalCoordDef(2), nex_OutOfRangeException) << "the record has two";
  const shp_AnalyticSurface empty;
  EXPECT_THROW(With(nullptr, &empty).ConstGetLocalCoordDef(0), nex_OutOfRangeException);
}

TEST_F(shp_Analytic, SurfacesKnowWhetherTheyAreValidAndTurn) {
  shp_AnalyticSurface surface = Surface();
  surface.AssertValid();
  gsl_Matrix quarter;
  quarter.AxisRotation({}, {0, 0, 1}, 1.5707963267948966);
  quarter.SetTranslation({5, 5, 5});
  const shp_AnalyticSurface before = surface;
  surface.SetTransform(quarter);
  EXPECT_NEAR(surface.LocalCoordData().ConstGet(1)[0], -2, 1e-6);
  EXPECT_EQ(before.LocalCoordData().ConstGet(1)[0], 0.F);
  EXPECT_TRUE(surface.Profile() == before.Profile());
  surface.SetProfile({{Segment::PARABOLA, {At(1)}}});
  EXPECT_THROW(surface.AssertValid(), nex_AssertionException);
  surface.SetProfile({});
  surface.SetType(static_cast<shp_AnalyticSurface::TypeEnm>(4));
  EXPECT_THROW(surface.AssertValid(), nex_AssertionException);
  EXPECT_STREQ(shp_AnalyticSurface::localCoordDataCmd(), "localCoordData");
}
