#include "qxnotify/triage_statistics.h"

#include <algorithm>
#include <cstddef>

namespace qx::tool {

namespace {

double percentile(const std::vector<double>& sorted, std::size_t percent)
{
    const std::size_t rank = (sorted.size() * percent + 99) / 100;
    return sorted[std::max<std::size_t>(rank, 1) - 1];
}

} // namespace

std::optional<Latencies> summarise(std::vector<double> values)
{
    if (values.empty()) {
        return {};
    }
    std::sort(values.begin(), values.end());
    return Latencies{values.front(), percentile(values, 50), percentile(values, 90), percentile(values, 99),
                     values.back()};
}

} // namespace qx::tool
