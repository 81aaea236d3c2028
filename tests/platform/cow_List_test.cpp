#include <BasicUtils/cow_List.h>

#include <functional>
#include <gtest/gtest.h>
#include <limits>
#include <memory>
#include <numeric>
#include <rapidcheck/gtest.h>
#include <string>
#include <vector>

namespace {

cow_List<int> Counting(int n, int first = 0) {
  std::vector<int> values(static_cast<std::size_t>(n));
  std::iota(values.begin(), values.end(), first);
  return cow_List<int>(std::span<const int>(values));
}

template<class T> std::vector<T> Values(const cow_List<T>& list) {
  std::vector<T> values(list.begin(), list.end()), byBlock;
  list.ForEachBlock([&](std::span<const T> b) { byBlock.insert(byBlock.end(), b.begin(), b.end()); });
  EXPECT_EQ(values, byBlock);
  return values;
}

template<class Call> long long RaisedIndex(Call call) {
  try {
    call();
  } catch (const nex_OutOfRangeException& e) {
    return e.Index();
  }
  return std::numeric_limits<long long>::min();
}

/// Fails at the n-th copy and counts the living objects.
struct Brittle {
  inline static int living = 0, copiesLeft = -1;
  int value = 0;

  Brittle(int v) : value(v) { ++living; }
  Brittle(const Brittle& other) : value(other.value) {
    if (copiesLeft == 0) throw std::bad_alloc();
    if (copiesLeft > 0) --copiesLeft;
    ++living;
  }
  Brittle(Brittle&& other) noexcept : value(other.value) { ++living; }
  Brittle& operator=(const Brittle&) = default;
  ~Brittle() { --living; }
  friend bool operator==(const Brittle&, const Brittle&) = default;
};

} // namespace

TEST(cow_List, ChoosesItsBlocksFromTheElementCount) {
  struct {
    int n, shift, slots;
  } const rows[] = {{0, 4, 0},         {1, 4, 16},       {255, 4, 16},       {256, 5, 16 + 8},
                    {511, 5, 16 + 16}, {512, 6, 16 + 8}, {1000, 6, 16 + 16}, {1 << 20, 17, 24}};
  for (const auto& row : rows) {
    const cow_List<int> made(cow_Construct::Default, row.n);
    EXPECT_EQ(made.Size(), row.n);
    EXPECT_EQ(made.BlockShift(), row.shift) << row.n;
    EXPECT_EQ(made.TableSlots(), row.slots) << row.n;
    EXPECT_EQ(std::accumulate(made.begin(), made.end(), 0), 0);
    cow_List<int> reset = Counting(40);
    EXPECT_EQ(reset.Initialize(row.n).Size(), 0);
    EXPECT_EQ(reset.BlockShift(), row.shift);
  }
  cow_List<int> list(cow_Construct::Default, 1000);
  EXPECT_EQ(list.Resize(1000).TableSlots(), 16); // ceil(1000 / 1024), fewer than it was made with
  EXPECT_EQ(list.Resize(1025).TableSlots(), 32);
  EXPECT_EQ(list.BlockShift(), 6);
  EXPECT_EQ(list.Resize(0).TableSlots(), 0);
}

TEST(cow_List, SlicesWithClampedEnds) {
  const cow_List<int> ten = Counting(10);
  EXPECT_EQ(Values(ten.Slice(-5, 2)), (std::vector{0, 1}));
  EXPECT_EQ(Values(ten.Slice(8, 99)), (std::vector{8, 9}));
  for (const auto& [a, b] : {std::pair{7, 3}, {12, 15}, {10, 10}, {-3, -1}, {5, INT_MIN}})
    EXPECT_TRUE(ten.Slice(a, b).IsEmpty()) << a << ' ' << b;
  EXPECT_EQ(&ten.Slice(0, 10).ConstGet(3), &ten.ConstGet(3));

  const cow_List<int> many = Counting(1000); // blocks of 64
  const cow_List<int> slice = many.Slice(100, 900);
  EXPECT_EQ(slice, Counting(800, 100));
  EXPECT_EQ(&slice.ConstGet(0), &many.ConstGet(100)) << "a long slice shares its blocks";
  EXPECT_NE(&many.Slice(100, 110).ConstGet(0), &many.ConstGet(100)) << "a short one does not pin a block";
}

TEST(cow_List, RaisesTheOffendingIndex) {
  cow_List<int> list = Counting(3);
  EXPECT_EQ(RaisedIndex([&] { list.ConstGet(3); }), 3);
  EXPECT_EQ(RaisedIndex([&] { list.Get(-1); }), -1);
  EXPECT_EQ(RaisedIndex([&] { list.Put(7, 1); }), 7);
  EXPECT_EQ(RaisedIndex([&] { list.InsertIndex(4, 1); }), 4);
  EXPECT_EQ(RaisedIndex([&] { list.RemoveIndex(3); }), 3);
  EXPECT_EQ(RaisedIndex([&] { list.Resize(-2); }), -2);
  EXPECT_EQ(RaisedIndex([&] { list.Fill(-1, 0); }), -1);
  EXPECT_EQ(RaisedIndex([&] { list.SetFromArray(nullptr, -4); }), -4);
  EXPECT_EQ(RaisedIndex([&] { list.InitializeBlock(nullptr, 4, 0); }), 4);
  const int seventeen[17] = {};
  EXPECT_EQ(RaisedIndex([&] { list.InitializeBlock(seventeen, 0, 17); }), 17) << "more than a block";
  EXPECT_EQ(list, Counting(3));
  cow_List<int> empty;
  EXPECT_EQ(RaisedIndex([&] { empty.Pop(); }), -1);
  EXPECT_EQ(RaisedIndex([&] { empty.Last(); }), -1);
}

TEST(cow_List, PrivatisesOnlyTheBlocksItTouches) {
  const cow_List<int> original = Counting(1000); // blocks of 64
  cow_List<int> copy = original;
  EXPECT_EQ(copy.SharedCount(), 2);
  EXPECT_EQ(&copy.ConstGet(500), &original.ConstGet(500));
  copy.Get(70) = -1;
  EXPECT_EQ(copy.SharedCount(), 1);
  EXPECT_EQ(original.ConstGet(70), 70);
  const auto shares = [&](int i) { return &copy.ConstGet(i) == &original.ConstGet(i); };
  EXPECT_TRUE(shares(0) && shares(63) && shares(128) && shares(999));
  EXPECT_FALSE(shares(64) || shares(127));
  copy.Append(1000);
  EXPECT_TRUE(shares(959) && shares(0));
  EXPECT_FALSE(shares(999)) << "the last block takes the new element";
  copy = original;
  copy.Pop();
  copy.Resize(640);
  EXPECT_TRUE(shares(0) && shares(639)) << "dropping elements copies none";
  copy = original;
  copy.RemoveIndex(990);
  EXPECT_TRUE(shares(959));
  copy = original;
  copy.InsertIndex(3, 7);
  EXPECT_EQ(&copy.ConstGet(101), &original.ConstGet(100)) << "only the front moves";
}

TEST(cow_List, TakesItsOwnElementsAsArguments) {
  cow_List<std::string> list{"a", "b", "c"};
  list.Append(list.ConstGet(0)).Prepend(list.ConstGet(2)).InsertIndex(2, list.Last());
  EXPECT_EQ(Values(list), (std::vector<std::string>{"c", "a", "a", "b", "c", "a"}));
  list.Concatenate(list);
  EXPECT_EQ(list.Size(), 12);
  EXPECT_EQ(list.Slice(0, 6), list.Slice(6, 12));
  list.Fill(3, list.ConstGet(3));
  EXPECT_EQ(Values(list), (std::vector<std::string>{"b", "b", "b"}));
  int n = -1;
  const std::unique_ptr<std::string[]> array(list.GetCArray(n));
  EXPECT_EQ(n, 3);
  EXPECT_EQ(array[2], "b");
  EXPECT_EQ(cow_List<int>().GetCArray(n), nullptr);
  EXPECT_EQ(n, 0);
}

TEST(cow_List, ServesAsAQueueWithoutGrowing) {
  cow_List<int> queue;
  for (int i = 0; i < 100000; ++i) {
    queue.Append(i);
    if (queue.Size() > 100) queue.RemoveIndex(0);
  }
  EXPECT_EQ(queue, Counting(100, 99900));
  EXPECT_LE(queue.TableSlots(), 32);
  for (int i = 0; i < 10000; ++i) queue.Prepend(i).Pop();
  EXPECT_EQ(queue.ConstGet(0), 9999);
  EXPECT_LE(queue.TableSlots(), 1500);
}

TEST(cow_List, StaysAsItWasWhenAChangeFails) {
  using List = cow_List<Brittle>;
  const auto make = [](int n) {
    List list;
    for (int i = 0; i < n; ++i) list.Append(i);
    return list;
  };
  const List other = make(40);
  const std::vector<std::function<void(List&)>> changes = {[](List& l) { l.Get(20).value = 1; },
                                                           [&](List& l) { l.Append(other.ConstGet(0)); },
                                                           [&](List& l) { l.Prepend(other.ConstGet(0)); },
                                                           [](List& l) { l.InsertIndex(30, 7); },
                                                           [](List& l) { l.InsertIndex(20, 7); },
                                                           [](List& l) { l.RemoveIndex(3); },
                                                           [](List& l) { l.RemoveIndex(33); },
                                                           [](List& l) { l.Pop(); },
                                                           [&](List& l) { l.Concatenate(other); },
                                                           [](List& l) { l.Fill(50, Brittle(3)); },
                                                           [&](List& l) { l = l.Slice(5, 18); }};
  const int before = Brittle::living;
  for (std::size_t c = 0; c < changes.size(); ++c) {
    bool failed = true;
    for (int copies = 0; failed; ++copies) {
      List list = make(50);
      const List witness = list, expected = make(50);
      Brittle::copiesLeft = copies;
      try {
        changes[c](list);
        failed = false;
      } catch (const std::bad_alloc&) {
      }
      Brittle::copiesLeft = -1;
      if (failed) {
        EXPECT_EQ(list, expected) << "change " << c << ", copy " << copies;
      }
      EXPECT_EQ(witness, expected);
    }
    EXPECT_EQ(Brittle::living, before) << "change " << c;
  }
}

RC_GTEST_PROP(cow_List, BehavesAsAVectorWhileItsCopiesStayAsTheyWere, ()) {
  using Model = std::vector<std::string>;
  cow_List<std::string> list;
  Model model;
  if (*rc::gen::arbitrary<bool>()) { // start with larger blocks
    list = cow_List<std::string>(cow_Construct::Default, 300);
    model.resize(300);
  }
  std::vector<std::pair<cow_List<std::string>, Model>> copies;
  const int steps = *rc::gen::inRange(0, 150);
  for (int step = 0; step < steps; ++step) {
    const int size = static_cast<int>(model.size());
    const int i = *rc::gen::inRange(0, size + 1);
    const std::string value = std::to_string(step) + " longer than a small string";
    const bool hasElement = i < size;
    switch (*rc::gen::inRange(0, 13)) {
    case 0: list.Append(value), model.push_back(value); break;
    case 1: list.Prepend(value), model.insert(model.begin(), value); break;
    case 2: list.InsertIndex(i, value), model.insert(model.begin() + i, value); break;
    case 3:
      if (hasElement) list.RemoveIndex(i), model.erase(model.begin() + i);
      break;
    case 4:
      if (hasElement) list.Put(i, value), model[static_cast<std::size_t>(i)] = value;
      break;
    case 5:
      if (size > 0) {
        RC_ASSERT(list.Pop() == model.back());
        model.pop_back();
      }
      break;
    case 6: {
      const int n = *rc::gen::inRange(0, 400);
      list.Resize(n), model.resize(static_cast<std::size_t>(n));
      RC_ASSERT(list.TableSlots() % 16 == 0);
      break;
    }
    case 7: {
      const int j = *rc::gen::inRange(i, size + 1);
      list = list.Slice(i, j), model = Model(model.begin() + i, model.begin() + j);
      break;
    }
    case 8:
      if (size < 2000 && !copies.empty()) {
        const auto& [other, otherModel] = copies.back();
        list.Concatenate(other), model.insert(model.end(), otherModel.begin(), otherModel.end());
      }
      break;
    case 9: list.Fill(i, value), model.assign(static_cast<std::size_t>(i), value); break;
    case 10: {
      const Model block(static_cast<std::size_t>(*rc::gen::inRange(0, 5)), value);
      const int n = static_cast<int>(block.size());
      try {
        list.InitializeBlock(block.data(), i, n);
      } catch (const nex_OutOfRangeException&) {
        break; // across the end of a block
      }
      model.resize(static_cast<std::size_t>(std::max(size, i + n)));
      std::copy(block.begin(), block.end(), model.begin() + i);
      break;
    }
    case 11: copies.emplace_back(list, model); break;
    default:
      if (!copies.empty()) std::swap(list, copies.front().first), std::swap(model, copies.front().second);
    }
    RC_ASSERT(list.Size() == static_cast<int>(model.size()));
  }
  copies.emplace_back(std::move(list), std::move(model));
  for (const auto& [copy, expected] : copies) {
    RC_ASSERT(Values(copy) == expected);
    for (int i = 0; i < copy.Size(); ++i)
      RC_ASSERT(copy.ConstGet(i) == expected[static_cast<std::size_t>(i)]);
    RC_ASSERT(copy == cow_List<std::string>(std::span<const std::string>(expected)));
  }
}
