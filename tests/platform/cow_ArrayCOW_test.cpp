#include <BasicUtils/cow_2DArray.h>
#include <BasicUtils/cow_ArrayCOW.h>

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>
#include <vector>

namespace {

using Array = cow_ArrayCOW<int>;

const cow_ArrayStamp kStamp{{1, 2}, 3};

std::vector<int> Values(const Array& array) { return {array.Const().begin(), array.Const().end()}; }
Array Make(std::initializer_list<int> values) { return Array(std::span<const int>(values)); }

} // namespace

TEST(cow_ArrayCOW, SharesUntilItIsChanged) {
  Array array;
  EXPECT_EQ(array.SharedCount(), 0);
  EXPECT_TRUE(array.Modify().empty());
  array = Make({1, 2, 3});
  Array copy = array;
  const Array third = copy;
  EXPECT_EQ(array.SharedCount(), 3);
  EXPECT_TRUE(copy.SharesWith(array) && third == array);
  copy.Resize(3);
  copy.Reserve(2);
  copy.Append(std::span<const int>());
  copy.Remove(1, 0);
  EXPECT_TRUE(copy.SharesWith(array)) << "nothing was changed";
  copy.Modify()[0] = 7;
  EXPECT_FALSE(copy.SharesWith(array));
  EXPECT_EQ(array.SharedCount(), 2);
  EXPECT_EQ(Values(array), (std::vector{1, 2, 3}));
  EXPECT_EQ(Values(copy), (std::vector{7, 2, 3}));
  copy.Clear();
  EXPECT_EQ(copy.SharedCount(), 0);
  EXPECT_FALSE(copy.SharesWith(Array())) << "arrays that own nothing share nothing";
}

TEST(cow_ArrayCOW, LosesItsStampWithEveryChangeAndLeavesTheOthersTheirs) {
  const std::vector<void (*)(Array&)> changes = {
      [](Array& a) { a.Modify(); },     [](Array& a) { a.Resize(2); },
      [](Array& a) { a.Resize(9); },    [](Array& a) { a.ResizeUninitialised(5); },
      [](Array& a) { a.Append(4); },    [](Array& a) { a.Append(std::span<const int>(a.Const())); },
      [](Array& a) { a.Remove(0, 1); }, [](Array& a) { a.Remove(3, 1); },
      [](Array& a) { a.Clear(); },      [](Array& a) { a.Remove(0, 4); }};
  for (const bool shared : {false, true})
    for (std::size_t c = 0; c < changes.size(); ++c) {
      Array array = Make({1, 2, 3, 4});
      array.Reserve(64);
      array.SetStamp(kStamp);
      const Array other = shared ? array : Array();
      EXPECT_EQ(array.Stamp(), kStamp);
      changes[c](array);
      EXPECT_EQ(array.Stamp(), cow_ArrayStamp()) << c;
      EXPECT_EQ(other.Stamp(), shared ? kStamp : cow_ArrayStamp()) << c;
    }
  Array array = Make({1});
  array.SetStamp(kStamp);
  array.Reserve(1000);
  EXPECT_EQ(array.Stamp(), kStamp) << "room changes no element";
  const Array copy = array;
  copy.SetStamp({{5, 6}, 7});
  EXPECT_EQ(array.Stamp().id, 7) << "the stamp belongs to the shared block";
  Array().SetStamp(kStamp);
  EXPECT_EQ(Array().Stamp(), cow_ArrayStamp());
}

TEST(cow_ArrayCOW, AlignsItsElements) {
  const auto address = [](const Array& a) { return reinterpret_cast<std::uintptr_t>(a.Const().data()); };
  for (const std::size_t bytes : {4UL, 4096UL, (1UL << 20) - 4, 1UL << 20, 5UL << 20}) {
    Array array;
    array.ResizeUninitialised(bytes / sizeof(int));
    EXPECT_EQ(address(array) % (bytes < 1 << 20 ? 64 : 4096), 0U) << bytes;
    array.Modify().back() = 1;
  }
}

TEST(cow_ArrayCOW, RefusesSizesThatCannotBeAddressed) {
  Array array = Make({1, 2, 3});
  const Array copy = array;
  EXPECT_THROW(array.Resize(SIZE_MAX), std::length_error);
  EXPECT_THROW(array.Resize(SIZE_MAX / sizeof(int) + 2), std::length_error); // would wrap to a few bytes
  EXPECT_THROW(array.Reserve(SIZE_MAX / 8), std::length_error);
  EXPECT_THROW(array.Append(std::span(array.Const().data(), SIZE_MAX - 1)), std::length_error);
  EXPECT_THROW(array.Resize(PTRDIFF_MAX / sizeof(int) - 4096), std::bad_alloc);
  EXPECT_THROW(array.Remove(4, 0), nex_OutOfRangeException);
  EXPECT_THROW(array.Remove(2, SIZE_MAX), nex_OutOfRangeException);
  EXPECT_TRUE(array.SharesWith(copy));
  EXPECT_THROW(cow_2DArray<int>(SIZE_MAX / 2, 4), std::length_error);
}

RC_GTEST_PROP(cow_ArrayCOW, BehavesAsAVectorWhileItsCopiesStayAsTheyWere, ()) {
  Array array;
  std::vector<int> model;
  std::vector<std::pair<Array, std::vector<int>>> copies;
  const int steps = *rc::gen::inRange(0, 80);
  for (int step = 0; step < steps; ++step) {
    const auto i = *rc::gen::inRange<std::size_t>(0, model.size() + 1);
    const auto k = *rc::gen::inRange<std::size_t>(0, model.size() - i + 1);
    switch (*rc::gen::inRange(0, 8)) {
    case 0: array.Append(step), model.push_back(step); break;
    case 1: {
      if (model.size() > 5000) break;
      const std::vector<int> own(model.begin() + static_cast<std::ptrdiff_t>(i),
                                 model.begin() + static_cast<std::ptrdiff_t>(i + k));
      array.Append(array.Const().subspan(i, k)), model.insert(model.end(), own.begin(), own.end());
      break;
    }
    case 2:
      array.Remove(i, k), model.erase(model.begin() + static_cast<std::ptrdiff_t>(i),
                                      model.begin() + static_cast<std::ptrdiff_t>(i + k));
      break;
    case 3: {
      const auto n = *rc::gen::inRange<std::size_t>(0, 300);
      array.Resize(n), model.resize(n);
      break;
    }
    case 4:
      if (i < model.size()) array.Modify()[i] = step, model[i] = step;
      break;
    case 5: array.Reserve(i + 100); break;
    case 6: copies.emplace_back(array, model); break;
    default:
      if (!copies.empty()) std::swap(array, copies.front().first), std::swap(model, copies.front().second);
    }
    RC_ASSERT(Values(array) == model);
    long sharing = array.IsEmpty() && array.SharedCount() == 0 ? 0 : 1; // room alone is owned, too
    for (const auto& [copy, expected] : copies) sharing += copy.SharesWith(array);
    RC_ASSERT(array.SharedCount() == sharing);
  }
  for (const auto& [copy, expected] : copies) {
    RC_ASSERT(Values(copy) == expected);
    RC_ASSERT((copy == array) == (expected == model));
  }
}

TEST(cow_2DArray, GivesRowsOfOneFlatArray) {
  cow_2DArray<int> table(2, 3);
  table.Put(1, 2, 6);
  EXPECT_EQ(Values(table.Data()), (std::vector{0, 0, 0, 0, 0, 6}));
  const cow_2DArray<int> before = table;
  EXPECT_TRUE(before.Data().SharesWith(table.Data()));
  table.ModifyRow(0)[1] = 5;
  EXPECT_EQ(before.Get(0, 1), 0);
  table.AppendRows(table.Row(0));
  EXPECT_EQ(table.Rows(), 3U);
  EXPECT_EQ(table.Get(2, 1), 5);
  table.RemoveRows(0, 2);
  EXPECT_EQ(table, cow_2DArray<int>(1, 3, Make({0, 5, 0})));
  table.Resize(2);
  EXPECT_EQ(table.Row(1)[1], 0);

  EXPECT_THROW(table.Row(2), nex_OutOfRangeException);
  EXPECT_THROW(table.ModifyRow(2), nex_OutOfRangeException);
  EXPECT_THROW(table.Get(0, 3), nex_OutOfRangeException);
  EXPECT_THROW(table.Put(2, 0, 1), nex_OutOfRangeException);
  EXPECT_THROW(table.RemoveRows(1, 2), nex_OutOfRangeException);
  EXPECT_THROW(table.RemoveRows(1, SIZE_MAX), nex_OutOfRangeException);
  EXPECT_THROW(table.AppendRows(table.Data().Const().first(4)), std::invalid_argument);
  EXPECT_THROW(cow_2DArray<int>(2, 2, Make({1})), std::invalid_argument);
  EXPECT_EQ(table.Rows(), 2U);
  EXPECT_TRUE(cow_2DArray<int>(4, 0).Row(3).empty());
}
