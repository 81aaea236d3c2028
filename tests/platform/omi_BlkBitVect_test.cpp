#include <CoreUtils/omi_BlkBitVect.h>

#include <algorithm>
#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>
#include <stdexcept>
#include <vector>

namespace {

omi_BlkBitVect FromModel(const std::vector<bool>& model) {
  omi_BlkBitVect bits;
  for (const bool mark : model) bits.Append(mark);
  return bits;
}

} // namespace

TEST(omi_BlkBitVect, CostsNothingWhileNoMarkIsSet) {
  omi_BlkBitVect bits(10'000'000);
  bits.Resize(20'000'000);
  bits.Clear(19'999'999);
  bits.Erase(5);
  bits.Append(omi_BlkBitVect(1000));
  bits.Append(false);
  EXPECT_EQ(bits.Size(), 20'001'000U);
  EXPECT_EQ(bits.Count(), 0U);
  EXPECT_EQ(bits.StorageBytes(), 0U);
  bits.Set(70);
  EXPECT_EQ(bits.StorageBytes(), 16U);
  EXPECT_TRUE(bits.Test(70) && bits.IsAnySet());
  bits.ClearAll();
  EXPECT_EQ(bits.StorageBytes(), 0U);
  EXPECT_EQ(bits, omi_BlkBitVect(20'001'000));
}

TEST(omi_BlkBitVect, RefusesPositionsOutside) {
  omi_BlkBitVect bits(64);
  EXPECT_THROW(bits.Test(64), std::out_of_range);
  EXPECT_THROW(bits.Set(64), std::out_of_range);
  EXPECT_THROW(bits.Clear(64), std::out_of_range);
  EXPECT_THROW(bits.Erase(64), std::out_of_range);
  EXPECT_THROW(bits.Keep(omi_BlkBitVect(63)), std::invalid_argument);
  EXPECT_EQ(bits, omi_BlkBitVect(64));
}

RC_GTEST_PROP(omi_BlkBitVect, BehavesAsAVectorOfBool, ()) {
  std::vector<bool> model;
  omi_BlkBitVect bits;
  const int steps = *rc::gen::inRange(0, 60);
  for (int step = 0; step < steps; ++step) {
    const auto i = *rc::gen::inRange<std::size_t>(0, model.size() + 1);
    const bool mark = *rc::gen::arbitrary<bool>();
    switch (*rc::gen::inRange(0, 6)) {
    case 0: {
      const auto n = *rc::gen::inRange<std::size_t>(0, 300);
      bits.Resize(n), model.resize(n);
      break;
    }
    case 1:
      if (i < model.size()) bits.Set(i, mark), model[i] = mark;
      break;
    case 2:
      if (i < model.size()) bits.Erase(i), model.erase(model.begin() + static_cast<std::ptrdiff_t>(i));
      break;
    case 3: {
      if (model.size() > 1000) break;
      const auto more = *rc::gen::arbitrary<std::vector<bool>>();
      bits.Append(FromModel(more)), model.insert(model.end(), more.begin(), more.end());
      break;
    }
    case 4: {
      const auto keep = *rc::gen::container<std::vector<bool>>(model.size(), rc::gen::arbitrary<bool>());
      bits.Keep(FromModel(keep));
      std::vector<bool> kept;
      for (std::size_t k = 0; k < model.size(); ++k)
        if (keep[k]) kept.push_back(model[k]);
      model = kept;
      break;
    }
    default:
      if (model.size() > 1000) break;
      bits.Append(bits);
      model.insert(model.end(), model.begin(), model.end());
    }
    RC_ASSERT(bits.Size() == model.size());
    RC_ASSERT(bits.Count() == static_cast<std::size_t>(std::count(model.begin(), model.end(), true)));
    RC_ASSERT(bits.IsAnySet() == (bits.Count() > 0));
    for (std::size_t k = 0; k < model.size(); ++k) RC_ASSERT(bits.Test(k) == model[k]);
    RC_ASSERT(bits == FromModel(model));
  }
}
