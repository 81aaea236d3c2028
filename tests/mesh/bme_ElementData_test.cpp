#include <CoreGeometry/bme_ElementData.h>

#include <CoreGeometry/shp_Shape.h>
#include <StoredTest.h>
#include <gtest/gtest.h>
#include <limits>
#include <numeric>
#include <shp/AllocationCounter.h>

namespace {
/// n elements of a type with nodes 0, 1, 2, ..., labelled or not.
bme_ElementClass* Class(const cow_String& type, int columns, int elements,
                        const std::vector<int>& labels = {}) {
  cow_ArrayCOW<int> rows;
  for (int i = 0; i < columns * elements; ++i) rows.Append(std::span<const int>(&i, 1));
  auto* made = new bme_ElementClass(type, cls_xp2DArrayInt(static_cast<std::size_t>(columns), rows));
  EXPECT_TRUE(made->SetUserElementLabels(labels));
  return made;
}

cow_List<int> List(const std::vector<int>& values) { return cow_List<int>(std::span<const int>(values)); }

std::vector<int> LabelsOf(const bme_ElementClass& elements) {
  const auto labels = elements.UserElementLabels();
  return {labels.begin(), labels.end()};
}
} // namespace

TEST(bme_ElementData, NumbersAllElementsAcrossTheClasses) {
  bme_ElementClass* classes[] = {Class("C3D8", 8, 3), Class("MASS", 1, 0), Class("S4R", 4, 2)};
  bme_ElementData data(classes, 3);
  EXPECT_EQ(data.NumElements(), 5U);
  for (unsigned element = 0; element < 5; ++element) {
    unsigned c = 9, e = 9;
    EXPECT_TRUE(data.GetClassAndElemIndex(element, c, e));
    EXPECT_EQ(data.GetMeshElemIndexFromClass(c, e), element);
    EXPECT_EQ(c, data.GetClassIndex(element));
    EXPECT_EQ(e, data.GetClassElemIndex(element));
    EXPECT_EQ(&data.GetElemClass(element), &data.GetClass(c));
  }
  EXPECT_EQ(data.GetClassIndex(3), 2U) << "an empty class holds no element";
  EXPECT_EQ(data.GetClass(2).FirstElementIndex(), 3);
  unsigned c = 0, e = 0;
  EXPECT_FALSE(data.GetClassAndElemIndex(5, c, e));
  EXPECT_EQ(c, omi_LabelTable::kNotFound);
  EXPECT_EQ(data.GetMeshElemIndexFromClass(0, 3), omi_LabelTable::kNotFound);
  EXPECT_EQ(data.GetMeshElemIndexFromClass(3, 0), omi_LabelTable::kNotFound);
  EXPECT_THROW(data.GetClass(3), nex_OutOfRangeException);
  EXPECT_TRUE(data.RemoveElementClass(0));
  EXPECT_FALSE(data.RemoveElementClass(2));
  EXPECT_EQ(data.GetClass(1).FirstElementIndex(), 0);
  EXPECT_EQ(data.GetClass(1).ClassIndex(), 1);
  data.AppendClasses(data);
  EXPECT_EQ(data.NumClasses(), 4U);
  EXPECT_EQ(data.NumElements(), 4U);
}

TEST(bme_ElementData, OneUnlabelledClassMakesAllLabelsImplicit) {
  bme_ElementClass* classes[] = {Class("C3D8", 8, 2, {11, 12}), Class("S4", 4, 1)};
  const bme_ElementData data(classes, 2);
  EXPECT_EQ(data.GetMeshElemIndexFromLabel(1), 0U);
  EXPECT_EQ(data.GetMeshElemIndexFromLabel(3), 2U);
  for (const unsigned label : {0U, 4U, 11U, bme_kNotFound})
    EXPECT_EQ(data.GetMeshElemIndexFromLabel(label), omi_LabelTable::kNotFound);
  EXPECT_EQ(data.CheckUserElementLabels(List({1})), 0) << "implicit labels are in no table";
  EXPECT_EQ(data.GetMaximalUserLabel(), 3);
  EXPECT_EQ(data.GetNextAvailableLabel(), 1);
  EXPECT_FALSE(data.HasUserElementLabels());
}

TEST(bme_ElementData, FindsLabelsOfEverySign) {
  bme_ElementClass* classes[] = {Class("C3D8", 8, 2, {-5, 7}), Class("S4", 4, 0),
                                 Class("S4R", 4, 2, {std::numeric_limits<int>::min(), 5})};
  const bme_ElementData data(classes, 3);
  EXPECT_EQ(data.GetMeshElemIndexFromLabel(static_cast<unsigned>(-5)), 0U);
  EXPECT_EQ(data.GetMeshElemIndexFromLabel(5), 3U);
  EXPECT_EQ(data.GetMeshElemIndexFromLabel(static_cast<unsigned>(std::numeric_limits<int>::min())), 2U);
  EXPECT_EQ(data.GetMeshElemIndexFromLabel(1), omi_LabelTable::kNotFound);
  EXPECT_EQ(data.CheckUserElementLabels(List({7, 5, 6})), 2);
  EXPECT_EQ(data.GetNextAvailableLabel(), 8);
  EXPECT_THROW(data.GetNextAvailableInternalLabel(), nex_TextException) << "the smallest int is taken";
  bme_ElementClass* negative[] = {Class("MASS", 1, 2, {-3, -9})};
  const bme_ElementData internal(negative, 1);
  EXPECT_EQ(internal.GetNextAvailableInternalLabel(), -10);
  EXPECT_EQ(internal.GetNextAvailableLabel(), 1);
  EXPECT_EQ(internal.GetMaximalUserLabel(), 0);
}

TEST(bme_ElementData, AddingElementsChecksLengthsAndMakesLabels) {
  bme_ElementClass* classes[] = {Class("S4R", 4, 1, {20}), Class("S3", 3, 1)};
  bme_ElementData data(classes, 2);
  EXPECT_FALSE(data.AddElements(2, List({0, 1, 2, 3})));
  EXPECT_FALSE(data.AddElements(0, List({0, 1, 2, 3, 4, 5, 6})));
  EXPECT_EQ(data.NumElements(), 2U);
  EXPECT_TRUE(data.AddElements(1, List({0, 1, 2}), List({99})));
  EXPECT_FALSE(data.GetClass(1).HasUserElementLabels()) << "an unlabelled class drops labels";
  EXPECT_TRUE(data.RemoveElementClass(1));
  EXPECT_TRUE(data.AddElements(0, List({0, 1, 2, 3, 4, 5, 6, 7}), List({5})));
  EXPECT_EQ(LabelsOf(data.GetClass(0)), (std::vector<int>{20, 21, 22}));
  EXPECT_TRUE(data.AddElements(0, List({0, 1, 2, 3}), List({5})));
  EXPECT_EQ(data.GetMeshElemIndexFromLabel(5), 3U);
  EXPECT_TRUE(data.AddElements(0, cow_List<int>()));
  EXPECT_EQ(data.NumElements(), 4U);
  EXPECT_TRUE(data.AddElements(0, List({9, 9, 9, 9})));
  EXPECT_EQ(LabelsOf(data.GetClass(0)).back(), 23);
  const std::vector<int> renumbered{3, 2, 1, 0, 4, 5, 6, 7, 8, 90};
  data.UpdateConnectivity(renumbered.data());
  EXPECT_EQ(data.GetClass(0).Connectivity(4)[0], 90);
  EXPECT_EQ(data.GetClass(0).Connectivity(0)[0], 3);
}

TEST(bme_ElementData, ClassesUnderAnyKeysAreRenumbered) {
  for (const auto& keys : {std::array{-1, 1}, {3, 9}, {-7, -3}, {0, 2}, {0, 1}}) {
    bme_ElementData::Classes classes;
    classes.Insert(keys[0], cow_COW<bme_ElementClass>(Class("C3D8", 8, 2)));
    classes.Insert(keys[1], cow_COW<bme_ElementClass>(Class("S4", 4, 3)));
    bme_ElementData data;
    data.ReplaceElemClasses(classes);
    EXPECT_EQ(data.NumElements(), 5U) << keys[0];
    EXPECT_EQ(data.GetClass(1).ElemTypeLabel(), "S4") << keys[0];
    EXPECT_EQ(data.GetElemClass(1).ClassIndex(), 0) << keys[0];
  }
}

TEST(bme_ElementData, NullClassesAreRefusedByPosition) {
  bme_ElementClass* classes[] = {Class("S4", 4, 1), nullptr};
  EXPECT_EQ(ThrownBy([&] { bme_ElementData(classes, 2); }), "element class 1 is null");
  bme_ElementClass* one[] = {Class("S4", 4, 1)};
  bme_ElementData data(one, 1);
  EXPECT_FALSE(data.AddElementClass(nullptr));
  bme_ElementData::Classes holed = data.ElementClasses();
  holed.Insert(5, cow_COW<bme_ElementClass>());
  EXPECT_EQ(ThrownBy([&] { data.ReplaceElemClasses(holed); }), "element class 5 is null");
  EXPECT_EQ(data.NumElements(), 1U) << "nothing was replaced";
  EXPECT_EQ(data.NumClasses(), 1U);
}

TEST(bme_ElementData, WorkOnLabelledClassesGrowsWithWhatIsAddedAlone) {
  constexpr int kElements = 100000;
  std::vector<int> labels(kElements);
  std::iota(labels.begin(), labels.end(), 1);
  bme_ElementClass* classes[] = {Class("MASS", 1, kElements, labels)};
  bme_ElementData data(classes, 1);
  long before = NumAllocatedBytes();
  for (int call = 0; call < 200; ++call) EXPECT_TRUE(data.AddElements(0, List({0})));
  EXPECT_LT(NumAllocatedBytes() - before, 20L * kElements) << "no map of labels for each call";
  EXPECT_EQ(LabelsOf(data.GetClass(0)).back(), kElements + 200);
  EXPECT_EQ(data.GetMaximalUserLabel(), kElements + 200);
  EXPECT_EQ(data.GetMeshElemIndexFromLabel(kElements + 200), kElements + 199U);

  std::vector<int> groups(static_cast<std::size_t>(data.NumElements()));
  for (std::size_t i = 0; i < groups.size(); ++i) groups[i] = static_cast<int>(i * 7 % 5000);
  mdl_MapInt2ObjCow<bme_ElementClass> parts;
  before = NumAllocatedBytes();
  EXPECT_TRUE(data.GetClass(0).Split(List(groups), parts));
  EXPECT_LT(NumAllocatedBytes() - before, 100L * kElements) << "no table of all elements for each part";
  EXPECT_EQ(parts.Count(), 5000);
}

TEST(bme_ElementData, InitLeavesClassesThatAreRightShared) {
  bme_ElementClass* classes[] = {Class("C3D8", 8, 2), Class("S4", 4, 2)};
  const bme_ElementData data(classes, 2);
  bme_ElementData copy = data;
  copy.Init();
  EXPECT_EQ(&copy.GetClass(1), &data.GetClass(1));
  const int* rows = data.GetClass(1).ElementConnectivity().Const().data();
  EXPECT_TRUE(copy.RemoveElementClass(0));
  EXPECT_EQ(copy.GetClass(0).ElementConnectivity().Const().data(), rows)
      << "renumbering copies no connectivity";
  EXPECT_EQ(data.GetClass(1).FirstElementIndex(), 2);
}

TEST(bme_ElementClass, KeepsTypesWithoutShape) {
  const std::unique_ptr<bme_ElementClass> pyramids(Class("PYRAMID5", 5, 2));
  EXPECT_FALSE(pyramids->IsSupported());
  EXPECT_EQ(pyramids->Shape(), nullptr);
  EXPECT_EQ(pyramids->NumNodesPerElem(), 5);
  EXPECT_EQ(pyramids->Connectivity(1)[4], 9);
  EXPECT_FALSE(pyramids->AppendElements(std::vector<int>{1, 2, 3, 4, 5}, {}));
  EXPECT_THROW(bme_ElementClass(1, "PYRAMID5", static_cast<int**>(nullptr)), nex_TextException);
  bme_ElementClass bricks(2, "C3D8R", 0, 0, 0, "", 0, bme_CONSTANT);
  EXPECT_EQ(bricks.Connectivity(1)[7], -1);
  EXPECT_EQ(bricks.Shape()->NumNodes(), 8);
  EXPECT_THROW(bricks.SetElemType("C3D20"), nex_TextException);
  EXPECT_EQ(bricks.ElemTypeLabel(), "C3D8R");
}

TEST(bme_ElementClass, RemovalAndSplitMoveLabelsAndMarks) {
  const std::unique_ptr<bme_ElementClass> elements(Class("S4R", 4, 5, {1, 2, 3, 4, 5}));
  for (int i = 0; i < 5; ++i) EXPECT_TRUE(elements->SetStackDirection(i, i + 3 > 7 ? 0 : i + 3));
  EXPECT_FALSE(elements->SetStackDirection(0, 8));
  mdl_MapInt2ObjCow<bme_ElementClass> parts;
  EXPECT_FALSE(elements->Split(List({0, 1}), parts));
  EXPECT_TRUE(elements->Split(List({4, 0, 4, 0, 4}), parts));
  EXPECT_EQ(parts.Count(), 2);
  EXPECT_EQ(LabelsOf(parts.Get(4)), (std::vector<int>{1, 3, 5}));
  EXPECT_EQ(parts.Get(0).GetStackDirection(1), 6);
  EXPECT_EQ(parts.Get(4).Connectivity(2)[0], 16);

  EXPECT_FALSE(elements->RemoveElement(5));
  EXPECT_FALSE(elements->RemoveElements(2, std::vector<int>{0, -1}.data()));
  EXPECT_TRUE(elements->RemoveElements(3, std::vector<int>{3, 0, 3}.data()));
  EXPECT_EQ(LabelsOf(*elements), (std::vector<int>{2, 3, 5}));
  EXPECT_EQ(elements->GetStackDirection(1), 5);
  EXPECT_EQ(elements->Connectivity(2)[3], 19);
}

TEST(bme_ElementClass, ResizingDropsFromTheEndOrAddsRowsToFill) {
  const std::unique_ptr<bme_ElementClass> elements(Class("S3", 3, 2, {7, 4}));
  EXPECT_FALSE(elements->ResetConnectArraySz(-1));
  EXPECT_TRUE(elements->ResetConnectArraySz(4));
  EXPECT_EQ(LabelsOf(*elements), (std::vector<int>{7, 4, 8, 9}));
  EXPECT_EQ(elements->Connectivity(3)[2], -1);
  EXPECT_TRUE(elements->ResetConnectArraySz(1));
  EXPECT_EQ(LabelsOf(*elements), (std::vector<int>{7}));
  EXPECT_EQ(elements->NumElements(), 1);
  EXPECT_THROW(elements->Connectivity(1), nex_OutOfRangeException);
  elements->SetLocationLabels(cow_List<cow_String>().Append("top").Append("bottom"));
  EXPECT_EQ(elements->SectionPointLabel(1), "bottom");
  EXPECT_THROW(elements->SectionPointLabel(2), nex_OutOfRangeException);
}

TEST(bme_ElementData, InvertedElementsAreSeenFromTheOtherSide) {
  const auto row = [](const bme_ElementClass& elements, int element) {
    const auto nodes = elements.Connectivity(element);
    return std::vector<int>(nodes.begin(), nodes.end());
  };
  bme_ElementClass* classes[] = {Class("C3D8", 8, 2), Class("NOSHAPE", 3, 1), Class("CAXA41", 8, 1)};
  bme_ElementData data(classes, 3);
  const bme_ElementData before = data;
  EXPECT_FALSE(data.InvertElementsConnectivities()) << "one class has no shape";
  EXPECT_EQ(row(data.GetClass(0), 1), (std::vector<int>{8, 11, 10, 9, 12, 15, 14, 13}));
  EXPECT_EQ(&data.GetClass(1), &before.GetClass(1));
  EXPECT_EQ(row(data.GetClass(2), 0), (std::vector<int>{0, 3, 2, 1, 4, 7, 6, 5})) << "ring by ring";
  EXPECT_EQ(row(before.GetClass(0), 1)[1], 9);

  bme_ElementClass& hexahedra = data.GetClassToModify(0);
  EXPECT_TRUE(hexahedra.InvertElementConnectivity(1));
  EXPECT_FALSE(hexahedra.InvertElementConnectivity(2) || hexahedra.InvertElementConnectivity(-1));
  EXPECT_EQ(row(hexahedra, 1), row(before.GetClass(0), 1));
  EXPECT_EQ(row(hexahedra, 0)[1], 3);
}
