/// Counts every allocation of the program that `qx::allocation_count` is linked into, and lets one fail.
#pragma once

namespace qx::test {

/// Calls of operator new so far, on all threads.
int allocationCount();

/// The next call of operator new, on any thread, throws std::bad_alloc.
void failNextAllocation();

} // namespace qx::test
