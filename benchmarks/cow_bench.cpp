// Copy-on-write containers of 10 million ints against std::vector.
#include "SideBySide.h"

#include <BasicUtils/cow_ArrayCOW.h>
#include <BasicUtils/cow_List.h>
#include <numeric>
#include <vector>

namespace {

constexpr std::size_t kCount = 10'000'000;
constexpr double kItems = kCount;

std::vector<int> Counting() {
  std::vector<int> values(kCount);
  std::iota(values.begin(), values.end(), 0);
  return values;
}

long long Sum(std::span<const int> values) { return std::accumulate(values.begin(), values.end(), 0LL); }

void Array_Read(benchmark::State& state) {
  const std::vector<int> values = Counting();
  const cow_ArrayCOW<int> array{std::span(values)};
  SideBySide(
      state, kItems, [&] { return Sum(array.Const()); }, [&] { return Sum(values); });
}

void List_ReadByBlock(benchmark::State& state) {
  const std::vector<int> values = Counting();
  const cow_List<int> list{std::span(values)};
  SideBySide(
      state, kItems,
      [&] {
        long long sum = 0;
        list.ForEachBlock([&sum](std::span<const int> block) { sum += Sum(block); });
        return sum;
      },
      [&] { return Sum(values); });
}

void List_ReadByIterator(benchmark::State& state) {
  const std::vector<int> values = Counting();
  const cow_List<int> list{std::span(values)};
  SideBySide(
      state, kItems, [&] { return std::accumulate(list.begin(), list.end(), 0LL); },
      [&] { return Sum(values); });
}

void List_ReadByIndex(benchmark::State& state) {
  const std::vector<int> values = Counting();
  const cow_List<int> list{std::span(values)};
  SideBySide(
      state, kItems,
      [&] {
        long long sum = 0;
        for (int i = 0; i < list.Size(); ++i) sum += list.UncheckedConstGet(i);
        return sum;
      },
      [&] { return Sum(values); });
}

/// One copy and its end; the yardstick is an empty loop. "ns" is the cost of one copy.
template<class Container> void CopyOf(benchmark::State& state, const Container& original) {
  constexpr int kCopies = 1000;
  SideBySide(
      state, kCopies,
      [&] {
        for (int i = 0; i < kCopies; ++i) {
          const Container copy = original;
          benchmark::DoNotOptimize(&copy);
        }
        return 0;
      },
      [&] {
        for (int i = 0; i < kCopies; ++i) benchmark::DoNotOptimize(&original);
        return 0;
      });
}

void Array_Copy(benchmark::State& state) {
  CopyOf(state, cow_ArrayCOW<int>{std::span<const int>(Counting())});
}
void List_Copy(benchmark::State& state) { CopyOf(state, cow_List<int>{std::span<const int>(Counting())}); }

/// Copying and changing one element, against copying a vector.
void Array_FirstChange(benchmark::State& state) {
  const std::vector<int> values = Counting();
  const cow_ArrayCOW<int> array{std::span(values)};
  SideBySide(
      state, kItems,
      [&] {
        cow_ArrayCOW<int> copy = array;
        copy.Modify()[5] = 1;
        return copy.Const()[7];
      },
      [&] {
        std::vector<int> copy = values;
        copy[5] = 1;
        benchmark::DoNotOptimize(copy.data());
        return copy[7];
      });
}

void List_FirstChange(benchmark::State& state) {
  const std::vector<int> values = Counting();
  const cow_List<int> list{std::span(values)};
  SideBySide(
      state, kItems,
      [&] {
        cow_List<int> copy = list;
        copy.Get(5) = 1;
        return copy.ConstGet(7);
      },
      [&] {
        std::vector<int> copy = values;
        copy[5] = 1;
        benchmark::DoNotOptimize(copy.data());
        return copy[7];
      });
}

template<class Container> void AppendAll(benchmark::State& state) {
  SideBySide(
      state, kItems,
      [] {
        Container container;
        for (std::size_t i = 0; i < kCount; ++i) container.Append(static_cast<int>(i));
        return container.Size();
      },
      [] {
        std::vector<int> values;
        for (std::size_t i = 0; i < kCount; ++i) values.push_back(static_cast<int>(i));
        benchmark::DoNotOptimize(values.data());
        return values.size();
      });
}

void Array_Append(benchmark::State& state) { AppendAll<cow_ArrayCOW<int>>(state); }
void List_Append(benchmark::State& state) { AppendAll<cow_List<int>>(state); }

void Turns(benchmark::internal::Benchmark* b) {
  b->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(10);
}

} // namespace

BENCHMARK(Array_Read)->Apply(Turns);
BENCHMARK(Array_Copy)->Apply(Turns);
BENCHMARK(Array_FirstChange)->Apply(Turns);
BENCHMARK(Array_Append)->Apply(Turns);
BENCHMARK(List_ReadByBlock)->Apply(Turns);
BENCHMARK(List_ReadByIterator)->Apply(Turns);
BENCHMARK(List_ReadByIndex)->Apply(Turns);
BENCHMARK(List_Copy)->Apply(Turns);
BENCHMARK(List_FirstChange)->Apply(Turns);
BENCHMARK(List_Append)->Apply(Turns);
