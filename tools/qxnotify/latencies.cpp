#include "qxnotify/triage_statistics.h"

#include <algorithm>

#include "qxnotify/percentile.h"

namespace qx::tool {

std::optional<Latencies> summarise(std::vector<double> values)
{
    if (values.empty()) {
        return {};
    }
    std::sort(values.begin(), values.end());
    return Latencies{values.front(), percentile(values, 500), percentile(values, 900), percentile(values, 990),
                     values.back()};
}

} // namespace qx::tool
