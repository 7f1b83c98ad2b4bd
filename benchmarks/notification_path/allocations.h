/// Allocations of this program by the standard library's operators, which are replaced to count them.
#pragma once

#include <cstdint>

namespace qx::benchmark {

/// Of the calling thread, since it started.
std::uint64_t allocations() noexcept;

} // namespace qx::benchmark
