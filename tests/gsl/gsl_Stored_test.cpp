#include <BasicUtils/cls_WritePass.h>
#include <CoreGeometry/gsl_BBox.h>
#include <CoreGeometry/gsl_ModelSegment.h>
#include <CoreGeometry/gsl_Module.h>
#include <CoreGeometry/gsl_ObjectArray.h>
#include <CoreGeometry/gsl_PersistentMatrix.h>
#include <CoreGeometry/gsl_Segment.h>
#include <CoreGeometry/gsl_TransformIntObj.h>
#include <CoreGeometry/gsl_Util.h>
#include <cls_Fields.h>
#include <cmath>
#include <filesystem>
#include <gtest/gtest.h>
#include <unistd.h>

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

class gsl_Stored : public testing::Test {
protected:
  gsl_Stored() { gsl_initialize(tally_); }
  ~gsl_Stored() override {
    gsl_finalize(tally_);
    std::filesystem::remove(file_);
  }
  /// Writes the object, reads it in another connection.
  template<class T> cow_CountedHld<T> RoundTrip(const T& object) {
    std::filesystem::remove(file_);
    {
      cls_Database db = cls_Database::Create(file_, {4096});
      cls_WritePass pass(db);
      pass.Put("it", object);
      pass.Commit();
    }
    const auto read = cls_Database::Open(file_).Get<T>("it");
    EXPECT_EQ(read->Uid(), object.Uid());
    return read;
  }

  int tally_ = 0;
  cow_String file_ =
      (std::filesystem::temp_directory_path() / ("gsl_" + std::to_string(getpid()) + ".cgdb")).string();
};

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

const gsl_Point kPoint(1.5, -2.25, std::nan(""));
void ExpectSame(const gsl_Point& a, const gsl_Point& b) {
  EXPECT_EQ(a.Uid(), b.Uid());
  for (unsigned i = 0; i < 3; ++i) EXPECT_TRUE(a[i] == b[i] || (std::isnan(a[i]) && std::isnan(b[i])));
}
} // namespace

TEST_F(gsl_Stored, PointsVectorsAndMatricesComeBack) {
  ExpectSame(*RoundTrip(kPoint), kPoint);
  gsl_Vector stale(3, 4, 0);
  stale[2] = 12;
  const auto vector = RoundTrip(gsl_PersistentVector(stale));
  EXPECT_TRUE(vector->Vector() == stale);
  EXPECT_EQ(vector->Vector().Magnitude(), 13); // the length is that of the components
  gsl_Matrix m;
  m.AxisRotation(gsl_Point(1, 2, 3), {1, 1, 1}, 0.5);
  const auto matrix = RoundTrip(gsl_PersistentMatrix(m));
  for (unsigned i = 0; i < 4; ++i)
    for (unsigned j = 0; j < 4; ++j) EXPECT_EQ(matrix->Matrix()->Element(i, j), m.Element(i, j));
  EXPECT_EQ(RoundTrip(gsl_PersistentMatrix())->Matrix(), nullptr);
  EXPECT_NE(RoundTrip(gsl_PersistentMatrix(gsl_Matrix()))->Matrix(), nullptr); // a given identity is not null
}

TEST_F(gsl_Stored, ACoordinateThatIsNotThereIsZero) {
  omi_Singleton<cls_MetadataRegistrar>::Instance().initClassMetadata(&Place::InitializeMetadata, 9);
  const auto read = RoundTrip(Place());
  for (unsigned i = 0; i < 3; ++i) EXPECT_EQ(read->point[i], i == 0 ? 4.5 : 0);
}

TEST_F(gsl_Stored, LinesPlanesSegmentsAndBoxesComeBack) {
  gsl_StLine line(kPoint, gsl_Vector(1, 2, 3));
  line.SetMethod(gsl_FROM_DATUM_CSYS); // behind the invalid marker
  line.SetOk(false);
  line.SetFlipped(true);
  line.SetParentIds(std::vector<int>{5, -6});
  line.SetOwnerFeatId(77);
  const auto readLine = RoundTrip(line);
  ExpectSame(readLine->PointOn(), line.PointOn());
  EXPECT_TRUE(readLine->Direction() == line.Direction());
  EXPECT_EQ(readLine->Method(), gsl_FROM_DATUM_CSYS);
  EXPECT_FALSE(readLine->IsOk());
  EXPECT_TRUE(readLine->IsFlipped());
  EXPECT_TRUE(std::ranges::equal(readLine->ParentIds(), line.ParentIds()));
  EXPECT_EQ(readLine->OwnerFeatId(), 77);

  gsl_Plane plane(kPoint, gsl_Vector(0, 0, 9));
  plane.SetMethod(gsl_FROM_ELEM_FACE);
  plane.SetFlipped(true);
  plane.SetParentIds(std::vector<int>{3});
  const auto readPlane = RoundTrip(plane);
  ExpectSame(readPlane->PointOn(), plane.PointOn());
  EXPECT_TRUE(readPlane->Direction() == plane.Direction());
  EXPECT_EQ(readPlane->Method(), gsl_FROM_ELEM_FACE);
  EXPECT_TRUE(readPlane->IsOk() && readPlane->IsFlipped());
  EXPECT_EQ(readPlane->ParentIds()[0], 3);

  const gsl_Segment segment(kPoint, gsl_Point(4, 5, 6));
  const auto readSegment = RoundTrip(segment);
  ExpectSame(readSegment->Point1(), segment.Point1());
  ExpectSame(readSegment->Point2(), segment.Point2());
  const gsl_BBox box(gsl_Point(1, 2, 3), gsl_Point(4, 5, 6));
  EXPECT_TRUE(*RoundTrip(box) == box);
  EXPECT_TRUE(RoundTrip(gsl_BBox())->IsEmpty());
}

TEST_F(gsl_Stored, AWrongMethodIsRefusedWhenWrittenAndWhenRead) {
  gsl_Plane plane;
  plane.SetMethod(static_cast<gsl_DirMethod>(9));
  cls_Database db = cls_Database::Create(file_, {4096});
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
  const gsl_Dot empty, at(1, 2, 3), node(4, 99), point(kPoint);
  EXPECT_EQ(empty.GetMethod(), gsl_FROM_POINT);
  EXPECT_EQ(at.GetEntityId(), -1);
  EXPECT_EQ(at.GetInstanceId(), 0);
  EXPECT_EQ(node.GetMethod(), gsl_FROM_NODE);
  EXPECT_EQ(node.GetEntityId(), 99);
  EXPECT_EQ(node.GetInstanceId(), 4);
  EXPECT_TRUE(node.GetPoint() == gsl_Point());
  EXPECT_EQ(node.GetUserNodeLabel(), 0);
  EXPECT_EQ(node.OwnerFeatID(), 0);
  EXPECT_EQ(NodeDot(1, 2, {31, 32}).OwnerFeatID(), 31);
  EXPECT_EQ(point.GetPoint().Uid(), kPoint.Uid());
  const std::unique_ptr<gsl_Dot> copy(node.Copy());
  EXPECT_NE(copy->Uid(), node.Uid());
  EXPECT_EQ(copy->GetPoint().Uid(), node.GetPoint().Uid());
  gsl_Dot moved = node;
  moved.SetValues(5, 6, 7);
  EXPECT_EQ(moved.GetMethod(), gsl_FROM_NODE);
  EXPECT_EQ(moved.GetPoint().Uid(), node.GetPoint().Uid());
  EXPECT_TRUE(moved.Regenerate(nullptr));
  EXPECT_EQ(moved.GetPoint()[1], 6);
  EXPECT_TRUE(node.IsA(gsl_Dot::TypeId()));
  EXPECT_FALSE(node.IsA(gsl_Plane::TypeId()));
  EXPECT_TRUE(gsl_PointsAreCoincident(&empty, &node));
  EXPECT_FALSE(gsl_PointsAreCoincident(&at, &node));
  const gsl_Dot further(2, 4, 6), aside(1, 0, 0);
  EXPECT_TRUE(gsl_ThreePointsColinear(&empty, &at, &further));
  EXPECT_FALSE(gsl_ThreePointsColinear(&empty, &at, &aside));

  const auto read = RoundTrip(moved);
  ExpectSame(read->GetPoint(), moved.GetPoint());
  EXPECT_EQ(read->GetMethod(), gsl_FROM_NODE);
  EXPECT_EQ(read->GetInstanceId(), 4);
  EXPECT_EQ(read->GetEntityId(), 99);
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
  // both points share a uid but differ: both survive
  const gsl_Dot first(kPoint);
  gsl_Dot second = first;
  second.SetValues(8, 9, 10);
  const auto read = RoundTrip(gsl_ModelSegment(first, second));
  ExpectSame(read->Point1()->GetPoint(), first.GetPoint());
  ExpectSame(read->Point2()->GetPoint(), second.GetPoint());
  EXPECT_EQ(RoundTrip(gsl_ModelSegment())->Point2(), nullptr);
}

TEST_F(gsl_Stored, ArraysAreStoredAndCopiedWithSharing) {
  gsl_DotArray dots;
  for (int i = 0; i < 40; ++i) dots.Append(gsl_Dot(i, 0, 0));
  dots.SetGrowthRatio(1.5);
  gsl_DotArray copy = dots;
  EXPECT_EQ(&copy.ConstGet(0), &dots.ConstGet(0));
  copy.Put(0, gsl_Dot(9, 9));
  copy.Remove(39);
  EXPECT_EQ(dots.ConstGet(0).GetMethod(), gsl_FROM_POINT);
  EXPECT_EQ(dots.Size(), 40);
  const auto read = RoundTrip(dots);
  EXPECT_EQ(read->GrowthRatio(), 1.5);
  ASSERT_EQ(read->Size(), 40);
  EXPECT_EQ(read->ConstGet(39).GetPoint()[0], 39);
  gsl_PlaneArray planes;
  planes.Append(gsl_Plane(gsl_Point(1, 2, 3), gsl_Vector(0, 1, 0)));
  EXPECT_EQ(RoundTrip(planes)->ConstGet(0).Direction()[1], 1);
  gsl_LineArray lines;
  lines.Append(gsl_StLine(gsl_Point(1, 2, 3), gsl_Point(1, 2, 4)));
  EXPECT_EQ(RoundTrip(lines)->ConstGet(0).Method(), gsl_FROM_PNT_PNT);
  EXPECT_THROW(lines.ConstGet(1), nex_OutOfRangeException);
}

TEST_F(gsl_Stored, FinaliseReleasesTheTolerances) {
  omi_Singleton<gsl_Util>::Instance().SetTolerance(5);
  int tally = 0;
  gsl_initialize(tally);
  gsl_finalize(tally); // nested: nothing happens
  EXPECT_EQ(omi_Singleton<gsl_Util>::Instance().Tolerance(), 5);
  gsl_finalize(tally_);
  EXPECT_EQ(omi_Singleton<gsl_Util>::Instance().Tolerance(), 1e-6);
  gsl_initialize(tally_);
  EXPECT_EQ(gsl_TransformIntObj(gsl_Matrix()).TypeName(), "gsl_TransformIntObj");
}
