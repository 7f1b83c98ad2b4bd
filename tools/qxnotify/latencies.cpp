#include "qxnotify/latencies.h"

#include <algorithm>

namespace qx::tool {

std::optional<Latencies> summarise(std::vector<double> values)
{
    if (values.empty()) {
        return {};
    }
    std::sort(values.begin(), values.end());
    const auto at = [&values](std::size_t per_mille) { return percentile(values, per_mille); };
    return Latencies{values.front(), at(500), at(900), at(990), at(999), values.back()};
}

double percentile(const std::vector<double>& sorted, std::size_t per_mille)
{
    const std::size_t rank = (sorted.size() * per_mille + 999) / 1'000;
    return sorted[std::max<std::size_t>(rank, 1) - 1];
}

} // namespace qx::tool
