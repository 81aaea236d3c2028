#include <CoreUtils/omi_IntTable.h>
#include <CoreUtils/omi_LabelTable.h>

#include <climits>
#include <gtest/gtest.h>
#include <map>
#include <numeric>
#include <random>
#include <rapidcheck/gtest.h>
#include <stdexcept>
#include <vector>

namespace {

constexpr unsigned kMax = omi_UintTable::kMaxKey, kNone = omi_UintTable::kNotFound;

/// Compares a table with its model, key by key and in one batch.
void CheckAgainst(const std::map<unsigned, unsigned>& model, const omi_UintTable& table,
                  std::vector<unsigned> queries) {
  RC_ASSERT(table.Count() == model.size());
  RC_ASSERT(table.IsEmpty() == model.empty());
  for (const auto& [key, value] : model) queries.push_back(key);
  std::vector<unsigned> found(queries.size());
  table.Lookup(queries, found, 7777);
  for (std::size_t i = 0; i < queries.size(); ++i) {
    const auto expected = model.find(queries[i]);
    unsigned value = 12345;
    RC_ASSERT(table.Lookup(queries[i], value) == (expected != model.end()));
    RC_ASSERT(value == (expected != model.end() ? expected->second : 12345));
    RC_ASSERT(found[i] == (expected != model.end() ? expected->second : 7777));
    RC_ASSERT(table.Find(queries[i]) == (expected != model.end() ? expected->second : kNone));
  }
}

/// Keys as meshes have them: runs somewhere in the range, single ones anywhere, the ends of the range.
rc::Gen<std::vector<unsigned>> Keys() {
  return rc::gen::exec([] {
    std::vector<unsigned> keys;
    const int pieces = *rc::gen::inRange(0, 6);
    for (int piece = 0; piece < pieces; ++piece) {
      const unsigned first = *rc::gen::oneOf(rc::gen::inRange(0U, 5000U), rc::gen::inRange(0U, kMax),
                                             rc::gen::inRange(kMax - 3000, kMax));
      const unsigned step = *rc::gen::element(1U, 1U, 3U, 1000U, 0U);
      const int n = *rc::gen::element(1, 20, 2000);
      for (unsigned i = 0; i < static_cast<unsigned>(n) && std::uint64_t{i} * step <= kMax - first; ++i)
        keys.push_back(first + i * step);
    }
    if (*rc::gen::arbitrary<bool>()) keys.push_back(kMax);
    if (*rc::gen::arbitrary<bool>()) std::shuffle(keys.begin(), keys.end(), std::mt19937(3));
    return keys;
  });
}

} // namespace

RC_GTEST_PROP(omi_UintTable, BehavesAsAMapWhateverTheKeys, ()) {
  std::map<unsigned, unsigned> model;
  omi_UintTable table;
  const int rounds = *rc::gen::inRange(1, 4);
  for (int round = 0; round < rounds; ++round) {
    const std::vector<unsigned> keys = *Keys();
    // values just below the largest one run over it, so that some key gets the value that marks absence
    const unsigned firstValue = *rc::gen::element(0U, 1000U, kNone - 10);
    switch (*rc::gen::inRange(0, 3)) {
    case 0: table.Insert(keys, firstValue); break;
    case 1:
      for (std::size_t i = 0; i < keys.size(); ++i)
        table.Insert(keys[i], firstValue + static_cast<unsigned>(i));
      break;
    default:
      std::vector<unsigned> values(keys.size());
      std::iota(values.begin(), values.end(), firstValue);
      if (*rc::gen::arbitrary<bool>()) {
        omi_KeySurvey survey;
        survey.Add(keys);
        table.Reserve(survey);
      }
      table.Insert(keys, values);
    }
    for (std::size_t i = 0; i < keys.size(); ++i) model[keys[i]] = firstValue + static_cast<unsigned>(i);
    if (*rc::gen::arbitrary<bool>()) {
      const omi_UintTable copy = table;
      CheckAgainst(model, copy, *Keys());
    }
  }
  CheckAgainst(model, table, *Keys());
  CheckAgainst(model, table, {0, 1, kMax, kMax + 1, kMax + 1023, kNone - 1, kNone});
  table.Clear();
  CheckAgainst({}, table, *Keys());
}

TEST(omi_UintTable, RefusesKeysAboveItsLargestAndKeepsTheRest) {
  omi_UintTable table;
  std::vector<unsigned> keys(100, 5);
  keys.push_back(kMax + 1);
  EXPECT_THROW(table.Insert(keys, 0), std::out_of_range);
  EXPECT_THROW(table.Insert(kMax + 1, 0), std::out_of_range);
  EXPECT_THROW(table.Insert(kNone, 0), std::out_of_range);
  EXPECT_THROW(table.Insert(std::vector<unsigned>{1, 2}, std::vector<unsigned>{1}), std::invalid_argument);
  EXPECT_TRUE(table.IsEmpty());
}

TEST(omi_UintTable, TakesTheFormThatSuitsItsKeys) {
  const auto bytesPerKey = [](const omi_UintTable& table) {
    return static_cast<double>(table.StorageBytes()) / static_cast<double>(table.Count());
  };
  std::vector<unsigned> keys(300'000);
  std::iota(keys.begin(), keys.end(), 1U);
  std::shuffle(keys.begin(), keys.end(), std::mt19937(1));
  omi_UintTable table;
  table.Insert(keys, 0);
  EXPECT_LE(bytesPerKey(table), 4.5);
  table.Insert(kMax, 0); // far from the others: the way to it must not cost more than they do
  EXPECT_LE(bytesPerKey(table), 17);
  omi_UintTable oneByOne;
  for (const unsigned key : keys) oneByOne.Insert(key, key);
  EXPECT_LE(bytesPerKey(oneByOne), 4.5);
  for (unsigned& key : keys) key *= 7001;
  omi_UintTable sparse, sparseOneByOne;
  sparse.Insert(keys, 0);
  EXPECT_LE(bytesPerKey(sparse), 28);
  for (const unsigned key : keys) sparseOneByOne.Insert(key, key);
  EXPECT_LE(bytesPerKey(sparseOneByOne), 28);
  for (unsigned& key : keys) key = key / 7001 / 500 * 100'000 + key % 500; // parts of some hundred labels
  omi_UintTable parts;
  parts.Insert(keys, 0);
  EXPECT_LE(bytesPerKey(parts), 16);
}

TEST(omi_IntTable, KeepsSignedValues) {
  omi_IntTable table;
  table.Insert(kMax, INT_MIN);
  table.Insert(0, -1); // the bits that mark absence
  int value = 0;
  EXPECT_TRUE(table.Lookup(0, value));
  EXPECT_EQ(value, -1);
  const unsigned keys[] = {kMax, 5, 0};
  int found[3] = {};
  table.Lookup(keys, found, 99);
  EXPECT_EQ(found[0], INT_MIN);
  EXPECT_EQ(found[1], 99);
  EXPECT_EQ(found[2], -1);
  EXPECT_EQ(table.Count(), 2U);
}

RC_GTEST_PROP(omi_LabelTable, FindsTheLastIndexOfEveryLabel, ()) {
  const bool dense = *rc::gen::arbitrary<bool>();
  const int reach = dense ? 500 : INT_MAX;
  std::vector<int> labels;
  const int n = *rc::gen::element(0, 3, 100, 3000);
  std::mt19937 random(*rc::gen::arbitrary<unsigned>());
  std::uniform_int_distribution<int> label(*rc::gen::element(0, -reach), reach);
  for (int i = 0; i < n; ++i) labels.push_back(label(random));
  if (*rc::gen::arbitrary<bool>()) labels.insert(labels.end(), {INT_MIN, INT_MAX, 0, -INT_MAX, INT_MIN});

  std::map<int, unsigned> model;
  omi_LabelTable inBulk, oneByOne;
  const std::size_t half = labels.size() / 2;
  if (*rc::gen::arbitrary<bool>()) {
    omi_LabelSurvey survey;
    survey.Add(std::span(labels).subspan(half));
    survey.Add(std::span(labels).first(half));
    inBulk.Reserve(survey);
  }
  inBulk.Insert(std::span(labels).first(half), 10);
  inBulk.Insert(std::span(labels).subspan(half), 10 + static_cast<unsigned>(half));
  for (unsigned i = 0; i < labels.size(); ++i) {
    model[labels[i]] = 10 + i;
    oneByOne.Insert(labels[i], 10 + i);
  }
  std::vector<int> queries = labels;
  for (const int q : labels) queries.push_back(static_cast<int>(0U - static_cast<unsigned>(q)));
  queries.insert(queries.end(), {INT_MIN, INT_MAX, 0, -1, INT_MIN + 1, INT_MIN + 1023});
  std::vector<unsigned> found(queries.size());
  for (const omi_LabelTable* table : {&inBulk, &oneByOne}) {
    RC_ASSERT(table->Count() == model.size());
    table->Find(queries, found);
    for (std::size_t i = 0; i < queries.size(); ++i) {
      const auto expected = model.find(queries[i]);
      RC_ASSERT(table->Find(queries[i]) == (expected != model.end() ? expected->second : kNone));
      RC_ASSERT(found[i] == table->Find(queries[i]));
    }
  }
  inBulk.Clear();
  RC_ASSERT(inBulk.IsEmpty() && inBulk.Find(0) == kNone);
}
