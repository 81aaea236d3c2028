// omi_CallCounter.h: the call counter of an initialise/finalise pair
#pragma once

/// Counts the calls of one initialise/finalise pair.
///
/// Only the step 0 -> 1 really initialises and only the step 1 -> 0 really finalises; each changes the
/// caller's tally by one. A finalise at 0 wraps the counter around and does nothing else: unbalanced calls
/// are not detected.
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
