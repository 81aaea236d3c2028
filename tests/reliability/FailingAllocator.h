// FailingAllocator.h: memory that runs out at a chosen allocation
#pragma once

/// While it lives, the n-th allocation from now on fails, counted from 1 over operator new and SQLite; later
/// ones work. One thread.
class FailingAllocation {
public:
  explicit FailingAllocation(long nth);
  ~FailingAllocation();
  FailingAllocation(const FailingAllocation&) = delete;
  FailingAllocation& operator=(const FailingAllocation&) = delete;
  bool Happened() const;
};

/// Blocks of memory that are in use, of operator new and of SQLite.
long BlocksInUse();

/// Lets SQLite allocate through the same counter; to be called before SQLite is used.
void WatchSqlite();
