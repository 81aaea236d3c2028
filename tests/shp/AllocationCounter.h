// AllocationCounter.h: counts what a test allocates
#pragma once

/// Number of calls of operator new on this thread so far, in this program.
long NumAllocations();
/// Bytes that operator new on this thread was asked for so far.
long NumAllocatedBytes();
/// Largest number of bytes in use since ResetPeakBytes, above those in use then; on this thread.
long PeakBytes();
void ResetPeakBytes();
