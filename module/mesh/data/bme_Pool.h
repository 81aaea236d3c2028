// bme_Pool.h: memory that one piece of work after the other uses
#pragma once

#include <mutex>
#include <utility>
#include <vector>

/// Objects that are lent to the pieces of work that run at once; they keep what the piece before has left in them.
template<class T> class bme_Pool {
public:
  T Take() { ///< a new one when all are lent
    const std::lock_guard lock(mutex_);
    if (free_.empty()) return T();
    T one = std::move(free_.back());
    free_.pop_back();
    return one;
  }
  void Give(T one) {
    const std::lock_guard lock(mutex_);
    free_.push_back(std::move(one));
  }

private:
  std::mutex mutex_;
  std::vector<T> free_;
};
