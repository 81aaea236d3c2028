// omi_CallCounter.h: the call counter behind every initialise/finalise pair
#pragma once

/// Counts the calls of one initialise/finalise pair.
///
/// Only the step 0 -> 1 really initialises and only the step 1 -> 0 really finalises; both are added to the
/// caller's tally. A finalise at 0 wraps the counter and does nothing else: unbalanced calls are not guarded.
///
/// Threads    none: start-up and shut-down run on one thread.
class omi_CallCounter {
public:
  /// True when this call really initialises; the tally then grows by one.
  bool Up(int& tally) noexcept {
    if (count_++ != 0) return false;
    ++tally;
    return true;
  }

  /// True when this call really finalises; the tally then shrinks by one.
  bool Down(int& tally) noexcept {
    if (count_-- != 1) return false;
    --tally;
    return true;
  }

private:
  unsigned count_ = 0;
};
