/// Percentiles by the nearest rank.
#pragma once

#include <cstddef>
#include <vector>

namespace qx::tool {

/// The smallest value that so many of a thousand do not exceed. `sorted` ascends and holds something; `per_mille` is 0
/// to 1000.
double percentile(const std::vector<double>& sorted, std::size_t per_mille);

} // namespace qx::tool
