#include "qxnotify/transport_stats.h"

namespace qx::tool {

bool has_transport_stats() noexcept
{
    return false;
}

Statistics transport_stats()
{
    return {};
}

} // namespace qx::tool
