#include "ThreadExecutor.h"

#include <BasicUtils/thr_ThreadSingleton.h>
#include <BasicUtils/wip_Sort.h>
#include <BasicUtils/wip_WIP.h>
#include <gtest/gtest.h>

TEST(wip_Executor, RunsEachPieceOnceAndMergesInOrder) {
  for (const unsigned numThreads : {1U, 2U, 3U, 7U}) {
    ThreadExecutor executor(numThreads);
    const wip_ExecutorScope lent(&executor);
    EXPECT_EQ(wip_NumThreads(), numThreads);
    std::vector<int> runs(1000);
    wip_RunPieces(runs.size(), [&](std::size_t piece) {
      ++runs[piece];
      EXPECT_EQ(wip_NumThreads(), 1U); // a piece is not divided again
    });
    EXPECT_EQ(runs, std::vector<int>(1000, 1));
    std::vector<std::size_t> merged, all(1000);
    std::iota(all.begin(), all.end(), 0);
    wip_MergePieces(
        all.size(), [](std::size_t piece) { return piece; },
        [&](std::size_t piece) { merged.push_back(piece); });
    EXPECT_EQ(merged, all);
  }
  EXPECT_EQ(wip_NumThreads(), 1U);
}

TEST(wip_Executor, SortsAsOneThreadDoes) {
  using Item = std::pair<int, std::size_t>; // a key that comes often, and what tells the items apart
  std::mt19937 random(3);
  for (const std::size_t count : {0, 1, 32768, 32769, 98303, 200001})
    for (const int numKeys : {1, 5, 1 << 20}) {
      std::vector<Item> items(count);
      for (std::size_t i = 0; i < count; ++i) items[i] = {static_cast<int>(random() % numKeys), random()};
      std::vector<Item> expected = items;
      std::ranges::sort(expected);
      for (const unsigned numThreads : {1U, 2U, 3U, 7U}) {
        ThreadExecutor executor(numThreads, numThreads);
        const wip_ExecutorScope lent(&executor);
        std::vector<Item> sorted = items;
        wip_Sort(sorted, std::less());
        ASSERT_TRUE(sorted == expected) << count << " items, " << numThreads << " threads";
      }
    }
}

TEST(wip_Executor, ThrowsWhatTheFirstFailedPieceThrew) {
  for (unsigned seed = 0; seed < 50; ++seed) {
    ThreadExecutor executor(1 + seed % 4, seed);
    const wip_ExecutorScope lent(&executor);
    std::vector<std::atomic<int>> runs(100);
    try {
      wip_RunPieces(runs.size(), [&](std::size_t piece) {
        ++runs[piece];
        if (piece % 10 == 7) throw piece;
      });
      ADD_FAILURE();
    } catch (std::size_t piece) {
      EXPECT_EQ(piece, 7U);
    }
    for (std::size_t piece = 0; piece <= 7; ++piece) EXPECT_EQ(runs[piece], 1);
    EXPECT_EQ(wip_NumThreads(), 1 + seed % 4); // lent again
  }
}

TEST(wip_Executor, StopsWhenTheHostAsksForIt) {
  struct Sink : wip_WIPBase {
    bool IsCancelled() override {
      EXPECT_EQ(std::this_thread::get_id(), thread); // other threads have channels of their own
      return ++asked > 3;
    }
    std::thread::id thread = std::this_thread::get_id();
    int asked = 0;
  } sink;
  auto& channel = thr_ThreadSingleton<wip_WIP>::Instance();
  for (const unsigned numThreads : {1U, 3U}) {
    sink.asked = 0;
    channel.SetSink(&sink);
    ThreadExecutor executor(numThreads);
    const wip_ExecutorScope lent(&executor);
    std::atomic<std::size_t> runs = 0;
    const auto work = [&](std::size_t) {
      ++runs;
      std::this_thread::sleep_for(std::chrono::microseconds(100));
    };
    EXPECT_THROW(wip_RunPieces(100000, work), wip_Cancelled);
    EXPECT_LT(runs, 1000U);
    channel.SetSink(nullptr);
  }
}
