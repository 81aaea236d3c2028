#include "shp/AllocationCounter.h"

#include <BasicUtils/omi_Singleton.h>
#include <BasicUtils/thr_ThreadSingleton.h>
#include <CoreGeometry/shp_ShapeDictionary.h>

#include <algorithm>
#include <gtest/gtest.h>
#include <thread>

namespace {
using Dictionary = thr_ThreadSingleton<shp_ShapeDictionary>;

TEST(shp_ShapeDictionary, MakesOneShapeForEverySpellingOfALabel) {
  const shp_ShapeDictionary dictionary;
  EXPECT_EQ(dictionary.NumShapes(), 0);
  const shp_Shape* shape = dictionary.GetShape("c3d8r");
  ASSERT_NE(shape, nullptr);
  EXPECT_EQ(shape->Label(), "C3D8R");
  EXPECT_EQ(dictionary.GetShape("C3D8R"), shape);
  EXPECT_EQ(dictionary.GetShape("c3D8r"), shape);
  EXPECT_EQ(dictionary.NumShapes(), 1);
}

TEST(shp_ShapeDictionary, AnswersNullForUnknownLabelsAndMakesNothing) {
  const shp_ShapeDictionary dictionary;
  for (const cow_String& label :
       {cow_String("C3D9"), cow_String("CAXA4"), cow_String("CAXA45"), cow_String("C3D8C4"),
        cow_String("CAXA40"), cow_String(), cow_String("C3D8R "), cow_String("C3D8R\0", 6),
        cow_String("C3D8R").insert(0, 40, 'C')})
    EXPECT_EQ(dictionary.GetShape(label), nullptr) << label;
  EXPECT_EQ(dictionary.NumShapes(), 0);
}

TEST(shp_ShapeDictionary, NumbersShapesInTheOrderOfTheirFirstRequest) {
  const shp_ShapeDictionary dictionary;
  EXPECT_EQ(dictionary.GetShape("S4R")->Index(), 0);
  EXPECT_EQ(dictionary.GetShape("CAXA41")->Index(), 1);
  EXPECT_EQ(dictionary.GetShape("B31")->Index(), 2);
  EXPECT_EQ(dictionary.GetShape("CAXA41")->Index(), 1);
  EXPECT_EQ(dictionary.NumShapes(), 3);
}

TEST(shp_ShapeDictionary, ListsEveryLabelInByteOrderWithAShapeOfItsOwn) {
  const shp_ShapeDictionary dictionary;
  ASSERT_EQ(dictionary.LabelTable().size(), 695U);
  EXPECT_TRUE(std::ranges::is_sorted(dictionary.LabelTable(), {}, [](const auto& row) { return row.first; }));
  EXPECT_EQ(dictionary.LabelTable().begin()->first, "AC1D2");
  EXPECT_EQ(dictionary.LabelTable().rbegin()->first, "WARP2D4");
  int index = 0;
  for (const auto& [label, key] : dictionary.LabelTable()) {
    const shp_Shape* shape = dictionary.GetShape(label);
    ASSERT_NE(shape, nullptr) << label;
    EXPECT_EQ(shape->Label(), label);
    EXPECT_EQ(shape->Index(), index++) << label;
    EXPECT_EQ(shape->Options().Key(), key) << label;
  }
  EXPECT_EQ(dictionary.NumShapes(), 695);
}

TEST(shp_ShapeDictionary, AllocatesNothingForAShapeThatExists) {
  const shp_ShapeDictionary dictionary;
  const cow_String labels[] = {"C3D20RHC3", "cpe6mpht", "B31", "unknown"};
  const long start = NumAllocations();
  for (const cow_String& label : labels) dictionary.GetShape(label);
  const long before = NumAllocations();
  EXPECT_GT(before, start);
  for (const cow_String& label : labels) dictionary.GetShape(label);
  EXPECT_EQ(NumAllocations(), before);
}

TEST(shp_ShapeDictionary, SharedShapesOutliveTheirDictionary) {
  std::shared_ptr<const shp_Shape> shared;
  {
    const shp_ShapeDictionary dictionary;
    shared = dictionary.ShareShape("c3d8");
    EXPECT_EQ(shared.get(), dictionary.GetShape("C3D8"));
    EXPECT_EQ(dictionary.ShareShape("C3D21"), nullptr);
  }
  EXPECT_EQ(shared->NumUniqueEdges(), 12);
  EXPECT_EQ(shared.use_count(), 1);
}

TEST(shp_ShapeDictionary, GivesEachThreadItsOwnShapes) {
  Dictionary::Release();
  const shp_Shape* here = Dictionary::Instance().GetShape("C3D8");
  EXPECT_EQ(&Dictionary::Instance(), &Dictionary::Instance());
  const shp_Shape* there = nullptr;
  int index = -1;
  std::thread([&] {
    Dictionary::Instance().GetShape("S4R");
    there = Dictionary::Instance().GetShape("C3D8");
    index = there->Index();
  }).join();
  EXPECT_NE(there, here);
  EXPECT_EQ(index, 1);
  EXPECT_EQ(here->Index(), 0);
  EXPECT_EQ(Dictionary::Instance().NumShapes(), 1);
}

TEST(shp_ShapeDictionary, StartsAfreshAfterItsFinaliserWhichRunsAtItsLevel) {
  Dictionary::Release();
  Dictionary::Instance().GetShape("C3D8");
  int shapesSeenAbove = -1, shapesSeenBelow = -1;
  omi_SingletonRegistry::Register([&] { shapesSeenAbove = Dictionary::Instance().NumShapes(); }, 26);
  omi_SingletonRegistry::Register([&] { shapesSeenBelow = Dictionary::Instance().NumShapes(); }, 24);
  omi_SingletonRegistry::RunFinalisers();
  EXPECT_EQ(shapesSeenAbove, 1);
  EXPECT_EQ(shapesSeenBelow, 0);
  EXPECT_EQ(Dictionary::Instance().NumShapes(), 0);
  EXPECT_EQ(Dictionary::Instance().GetShape("C3D8")->Index(), 0);
}
} // namespace
