#include "qxnotify/transport.h"
#include "qxnotify/transport_stats.h"

namespace qx::tool {

bool has_transport_stats() noexcept
{
    return true;
}

Statistics transport_stats()
{
    lbm_context_stats_t stats{};
    check_transport(lbm_context_retrieve_stats(nullptr, &stats), "lbm_context_retrieve_stats", "all contexts");
    return {
        {"messages_received", stats.messages_received},
        {"bytes_received", stats.bytes_received},
        {"messages_lost", stats.messages_lost},
        {"messages_overflowed", stats.messages_overflowed},
        {"messages_unwanted", stats.messages_unwanted},
        {"copies_dropped", stats.copies_dropped},
        {"packets_refused", stats.packets_refused},
        {"answers_received", stats.answers_received},
        {"answers_dropped", stats.answers_dropped},
        {"queue_messages_max", stats.queue_messages_max},
        {"queue_bytes_max", stats.queue_bytes_max},
        {"sources", stats.sources},
        {"messages_sent", stats.messages_sent},
        {"bytes_sent", stats.bytes_sent},
        {"frames_sent", stats.frames_sent},
        {"sends_refused", stats.sends_refused},
    };
}

} // namespace qx::tool
