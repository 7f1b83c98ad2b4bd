/// What many latencies come to.
#pragma once

#include <optional>
#include <vector>

namespace qx::tool {

/// In the unit of what was summed up. A percentile is the smallest value that so many per cent do not exceed.
struct Latencies {
    double min = 0;
    double p50 = 0;
    double p90 = 0;
    double p99 = 0;
    double max = 0;
    bool operator==(const Latencies&) const = default;
};

/// None of nothing.
std::optional<Latencies> summarise(std::vector<double> values);

} // namespace qx::tool
