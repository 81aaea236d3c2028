#include <CoreGeometry/gsl_ModelSegment.h>
#include <CoreGeometry/gsl_ObjectArray.h>
#include <CoreGeometry/gsl_Segment.h>
#include <StoredTest.h>
#include <cls_Fields.h>

namespace {
/// A dot of another class, as other modules make them.
class NodeDot : public gsl_Dot {
public:
  NodeDot(int instance, int node, std::vector<int> parents = {})
      : gsl_Dot(instance, node), parents_(std::move(parents)) {}
  unsigned DynTypeId() const noexcept override { return 424242; }
  NodeDot* Copy() const override { return new NodeDot(*this); }
  int GetUserNodeLabel() const override { return GetEntityId(); }
  bool Regenerate(const ftr_FeatureList*) override {
    SetValues(7, 7, 7);
    return true;
  }

private:
  int NumParentIds() const override { return static_cast<int>(parents_.size()); }
  int ParentId(int i) const override { return parents_[static_cast<std::size_t>(i)]; }
  std::vector<int> parents_;
};

class gsl_Stored : public StoredTest {};

/// An object whose fields a point reads: one is a number, one is empty, one is not there.
struct Place {
  gsl_Point point;
  double x = 4.5;
  cow_COW<gsl_Segment> none;
  cls_OwnUid uid;

  static unsigned TypeId() { return 0x7F000001; }
  static void* Ctor(cls_ReadVisitor& visitor) {
    return new Place{gsl_Point(visitor), 0, {}, cls_OwnUid(visitor.GetUid())};
  }
  const cls_Uid& Uid() const { return uid; }
  static constexpr auto StoredFields() {
    return cls_Fields{cls_Field{"_x", &Place::x}, cls_Field{"_y", &Place::none}};
  }
  void DBWrite(const cls_WriteVisitor& visitor) const {
    cls_WriteFields(visitor, TypeId(), uid, *this, StoredFields());
  }
  static void InitializeMetadata(cls_ClassRegistrar& registrar) {
    cls_DescribeClass<Place>(registrar, "Place", 1, StoredFields());
  }
};

} // namespace

TEST_F(gsl_Stored, ACoordinateThatIsNotThereIsZero) {
  omi_Singleton<cls_MetadataRegistrar>::Instance().initClassMetadata(&Place::InitializeMetadata, 9);
  const auto read = RoundTrip(Place());
  for (unsigned i = 0; i < 3; ++i) EXPECT_EQ(read->point[i], i == 0 ? 4.5 : 0);
}

TEST_F(gsl_Stored, AWrongMethodIsRefusedWhenWrittenAndWhenRead) {
  gsl_Plane plane;
  plane.SetMethod(static_cast<gsl_DirMethod>(9));
  cls_Database db = Create();
  cls_WritePass pass(db);
  EXPECT_THROW(pass.Put("it", plane), omu_ValueErrorException);
  cls_Row point, dot;
  point.SetDouble("_x", 1).SetDouble("_y", 2).SetDouble("_z", 3);
  const long long row = pass.PutRow(gsl_Point::TypeId(), 203, point);
  dot.Set("_point", cls_RowLink{row, true}).SetText("_method", "FROM_NOWHERE");
  dot.SetInt("_instanceId", 0).SetInt("_entityId", 0);
  pass.PutRow("dot", gsl_Dot::TypeId(), 203, dot);
  pass.Commit();
  EXPECT_THROW(db.Get<gsl_Dot>("dot"), omu_ValueErrorException);
}

TEST_F(gsl_Stored, DotsSayWhatTheyWereMadeFrom) {
  const gsl_Dot empty, at(1, 2, 3), node(4, 99), further(2, 4, 6), aside(1, 0, 0);
  EXPECT_EQ(empty.GetMethod(), gsl_FROM_POINT);
  EXPECT_EQ(at.GetEntityId(), -1);
  EXPECT_EQ(node.GetMethod(), gsl_FROM_NODE);
  EXPECT_EQ(node.GetEntityId(), 99);
  EXPECT_EQ(NodeDot(1, 2, {31, 32}).OwnerFeatID(), 31);
  const std::unique_ptr<gsl_Dot> copy(node.Copy());
  EXPECT_NE(copy->Uid(), node.Uid());
  EXPECT_EQ(copy->GetPoint().Uid(), node.GetPoint().Uid());
  gsl_Dot moved = node;
  moved.SetValues(5, 6, 7);
  EXPECT_EQ(moved.GetMethod(), gsl_FROM_NODE);
  EXPECT_TRUE(moved.Regenerate(nullptr));
  EXPECT_EQ(moved.GetPoint()[1], 6);
  EXPECT_TRUE(node.IsA(gsl_Dot::TypeId()));
  EXPECT_FALSE(node.IsA(gsl_Plane::TypeId()));
  EXPECT_TRUE(gsl_PointsAreCoincident(&empty, &node));
  EXPECT_FALSE(gsl_PointsAreCoincident(&at, &node));
  EXPECT_TRUE(gsl_ThreePointsColinear(&empty, &at, &further));
  EXPECT_FALSE(gsl_ThreePointsColinear(&empty, &at, &aside));
}

TEST_F(gsl_Stored, ModelSegmentsShareTheirDotsUntilTheyChange) {
  EXPECT_TRUE(gsl_ModelSegment().Direction() == gsl_Vector(0, 0, 1));
  EXPECT_EQ(gsl_ModelSegment().Length(), 0);
  EXPECT_EQ(gsl_ModelSegment().Point1(), nullptr);
  EXPECT_TRUE(gsl_ModelSegment().Regenerate(nullptr));

  gsl_ModelSegment segment(gsl_Dot(0, 0, 0), NodeDot(1, 2));
  const gsl_ModelSegment copy = segment;
  EXPECT_EQ(copy.Point1(), segment.Point1());
  EXPECT_EQ(copy.Length(), 0);
  EXPECT_TRUE(segment.Regenerate(nullptr));
  EXPECT_NE(copy.Point2(), segment.Point2());
  EXPECT_EQ(copy.Length(), 0); // the copy did not change
  EXPECT_TRUE(segment.Direction() == gsl_Vector(7, 7, 7));
  EXPECT_EQ(segment.Point2()->GetUserNodeLabel(), 2); // the dynamic class is kept
  EXPECT_EQ(RoundTrip(gsl_ModelSegment())->Point2(), nullptr);
}

TEST_F(gsl_Stored, ArraysAreStoredAndCopiedWithSharing) {
  gsl_DotArray dots;
  for (int i = 0; i < 40; ++i) dots.Append(gsl_Dot(i, 0, 0));
  gsl_DotArray copy = dots;
  EXPECT_EQ(&copy.ConstGet(0), &dots.ConstGet(0));
  copy.Put(0, gsl_Dot(9, 9));
  copy.Remove(39);
  EXPECT_EQ(dots.ConstGet(0).GetMethod(), gsl_FROM_POINT);
  EXPECT_EQ(dots.Size(), 40);
  EXPECT_EQ(RoundTrip(dots)->ConstGet(39).GetPoint()[0], 39);
  EXPECT_THROW(dots.ConstGet(40), nex_OutOfRangeException);
}
