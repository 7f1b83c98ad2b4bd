#include "qxnotify/percentile.h"

#include <algorithm>

namespace qx::tool {

double percentile(const std::vector<double>& sorted, std::size_t per_mille)
{
    const std::size_t rank = (sorted.size() * per_mille + 999) / 1'000;
    return sorted[std::max<std::size_t>(rank, 1) - 1];
}

} // namespace qx::tool
