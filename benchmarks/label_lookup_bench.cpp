// Label -> index: look-up, build and memory of omi_LabelTable.
// Arguments: millions of labels; labels (0 dense, 1 sparse, 2 sparse and half negative, 3 dense and half
// negative); 1 when the queries are shuffled, 0 in label order.
#include "SideBySide.h"

#include <CoreUtils/omi_LabelTable.h>
#include <algorithm>
#include <numeric>
#include <random>
#include <unordered_map>
#include <utility>
#include <vector>
#ifdef BENCH_HAS_ABSL
#include <absl/container/flat_hash_map.h>
#endif

namespace {

std::vector<int> MakeLabels(std::size_t n, long long kind) {
  std::vector<int> labels(n);
  for (std::size_t i = 0; i < n; ++i) {
    long long label = static_cast<long long>(i) + 1;
    if (kind == 1 || kind == 2) label = label * 2654435761 % 2147483647; // distinct: the modulus is prime
    labels[i] = static_cast<int>(kind >= 2 && label % 2 ? -label : label);
  }
  return labels;
}

struct Data {
  std::size_t n;
  std::vector<int> labels, queries;
  std::vector<unsigned> places; ///< of the queries: what a plain read would use as index
  omi_LabelTable table;

  explicit Data(const benchmark::State& state)
      : n(static_cast<std::size_t>(state.range(0)) * 1000000), labels(MakeLabels(n, state.range(1))),
        places(n) {
    std::iota(places.begin(), places.end(), 0U);
    if (state.range(2)) std::shuffle(places.begin(), places.end(), std::mt19937(7));
    queries.reserve(n);
    for (const unsigned place : places) queries.push_back(labels[place]);
    table.Insert(labels, 0);
  }
  double Items() const { return static_cast<double>(n); }
  unsigned long long FindAll() const {
    unsigned long long sum = 0;
    for (const int label : queries) sum += table.Find(label);
    return sum;
  }
  unsigned long long FindBatch() const {
    unsigned long long sum = 0;
    unsigned found[4096];
    for (std::size_t i = 0; i < n; i += std::size(found)) {
      const std::size_t k = std::min(std::size(found), n - i);
      table.Find({&queries[i], k}, {found, k});
      sum = std::accumulate(found, found + k, sum);
    }
    return sum;
  }
};

template<bool batch> void Label_FindAgainstPlainReads(benchmark::State& state) {
  const Data data(state);
  std::vector<unsigned> values(data.n);
  std::iota(values.begin(), values.end(), 0U);
  SideBySide(
      state, data.Items(), [&] { return batch ? data.FindBatch() : data.FindAll(); },
      [&] {
        unsigned long long sum = 0;
        for (const unsigned place : data.places) sum += values[place];
        return sum;
      });
  state.counters["bytes"] = static_cast<double>(data.table.StorageBytes()) / data.Items();
}

using StdMap = std::unordered_map<int, unsigned>;
#ifdef BENCH_HAS_ABSL
using SwissMap = absl::flat_hash_map<int, unsigned>;
#endif

template<class Map, bool batch> void Label_FindAgainst(benchmark::State& state) {
  const Data data(state);
  Map map;
  map.reserve(data.n);
  for (std::size_t i = 0; i < data.n; ++i) map[data.labels[i]] = static_cast<unsigned>(i);
  SideBySide(
      state, data.Items(), [&] { return batch ? data.FindBatch() : data.FindAll(); },
      [&] {
        unsigned long long sum = 0;
        for (const int label : data.queries) sum += map.find(label)->second;
        return sum;
      });
}

void Label_FindAgainstSortedVector(benchmark::State& state) {
  const Data data(state);
  std::vector<std::pair<int, unsigned>> sorted(data.n);
  for (std::size_t i = 0; i < data.n; ++i) sorted[i] = {data.labels[i], static_cast<unsigned>(i)};
  std::sort(sorted.begin(), sorted.end());
  SideBySide(
      state, data.Items(), [&] { return data.FindAll(); },
      [&] {
        unsigned long long sum = 0;
        for (const int label : data.queries)
          sum += std::lower_bound(sorted.begin(), sorted.end(), std::pair{label, 0U})->second;
        return sum;
      });
}

/// Labels are inserted in the order of the queries.
template<class Map> void Label_BuildAgainst(benchmark::State& state) {
  const Data data(state);
  SideBySide(
      state, data.Items(),
      [&] {
        omi_LabelTable table;
        table.Insert(data.queries, 0);
        return table.Find(1);
      },
      [&] {
        Map map;
        map.reserve(data.n);
        unsigned index = 0;
        for (const int label : data.queries) map[label] = index++;
        return map.size();
      });
}

void Label_BuildOneByOne(benchmark::State& state) {
  const Data data(state);
  SideBySide(
      state, data.Items(),
      [&] {
        omi_LabelTable table;
        unsigned index = 0;
        for (const int label : data.queries) table.Insert(label, index++);
        return table.Find(1);
      },
      [&] {
        omi_LabelTable table;
        table.Insert(data.queries, 0);
        return table.Find(1);
      });
}

template<int... kMillions> void Sizes(benchmark::internal::Benchmark* b) {
  b->ArgNames({"M", "labels", "shuffled"})->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(3);
  for (const int millions : {kMillions...})
    for (const int labels : {0, 1, 2, 3})
      for (const int shuffled : {0, 1})
        if (shuffled || labels == 0) b->Args({millions, labels, shuffled});
}

} // namespace

BENCHMARK(Label_FindAgainstPlainReads<false>)->Apply(Sizes<1, 10>);
BENCHMARK(Label_FindAgainstPlainReads<true>)->Apply(Sizes<1, 10>);
BENCHMARK(Label_FindAgainst<StdMap, false>)->Apply(Sizes<1>);
BENCHMARK(Label_FindAgainst<StdMap, true>)->Apply(Sizes<1>);
#ifdef BENCH_HAS_ABSL
BENCHMARK(Label_FindAgainst<SwissMap, false>)->Apply(Sizes<1, 10>);
BENCHMARK(Label_FindAgainst<SwissMap, true>)->Apply(Sizes<1, 10>);
BENCHMARK(Label_BuildAgainst<SwissMap>)->Apply(Sizes<1>);
#endif
BENCHMARK(Label_FindAgainstSortedVector)->Apply(Sizes<1>);
BENCHMARK(Label_BuildAgainst<StdMap>)->Apply(Sizes<1>);
BENCHMARK(Label_BuildOneByOne)->Apply(Sizes<1>);
