// ThreadExecutor.h: an executor for tests, on threads of the standard library and with pieces in random order
#pragma once

#include <BasicUtils/wip_Executor.h>
#include <atomic>
#include <numeric>
#include <random>
#include <thread>

class ThreadExecutor : public wip_Executor {
public:
  explicit ThreadExecutor(unsigned numThreads, unsigned seed = 1) : numThreads_(numThreads), random_(seed) {}
  unsigned NumThreads() const override { return numThreads_; }
  void Run(std::size_t count, const std::function<void(std::size_t)>& work) override {
    std::vector<std::size_t> order(count);
    std::iota(order.begin(), order.end(), 0);
    std::shuffle(order.begin(), order.end(), random_);
    std::atomic<std::size_t> next = 0;
    const auto takeTurns = [&] {
      for (std::size_t k = next++; k < count; k = next++) work(order[k]);
    };
    std::vector<std::jthread> threads;
    for (unsigned k = 1; k < numThreads_; ++k) threads.emplace_back(takeTurns);
    takeTurns();
  }

private:
  unsigned numThreads_;
  std::mt19937 random_;
};
