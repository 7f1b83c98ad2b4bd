/// What many latencies come to.
#pragma once

#include <cstddef>
#include <optional>
#include <vector>

namespace qx::tool {

/// In the unit of what was summed up.
struct Latencies {
    double min = 0;
    double p50 = 0;
    double p90 = 0;
    double p99 = 0;
    double p99_9 = 0;
    double max = 0;
    bool operator==(const Latencies&) const = default;
};

/// None of nothing.
std::optional<Latencies> summarise(std::vector<double> values);

/// The nearest rank: the smallest value that so many of a thousand do not exceed. `sorted` ascends and holds something;
/// `per_mille` is 0 to 1000.
double percentile(const std::vector<double>& sorted, std::size_t per_mille);

} // namespace qx::tool
