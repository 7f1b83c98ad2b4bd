/// Counts every allocation of the program it is linked into.
#pragma once

namespace qx::test {

/// Calls of operator new so far, on all threads.
int allocationCount();

} // namespace qx::test
