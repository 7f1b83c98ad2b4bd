#include <lbm/lbm.h>

#include <memory>

#include "attributes.h"
#include "error.h"
#include "fork_guard.h"
#include "handles.h"

using namespace qx::transport;

int lbm_event_queue_create(lbm_event_queue_t** evq, lbm_event_queue_monitor_proc, void*,
                           const lbm_event_queue_attr_t* attr)
{
    return guarded_live("lbm_event_queue_create", "", [&] {
        require(evq, "evq");
        const Options options = attr != nullptr ? attr->options : Options{Scope::event_queue};
        *evq = new lbm_event_queue{std::make_shared<EventQueue>(options)};
    });
}

int lbm_event_queue_shutdown(lbm_event_queue_t* evq)
{
    return guarded_live("lbm_event_queue_shutdown", "", [&] {
        require(evq, "evq");
        evq->queue->shutdown();
    });
}

int lbm_event_queue_delete(lbm_event_queue_t* evq)
{
    return guarded_live("lbm_event_queue_delete", "", [&] {
        require(evq, "evq");
        const std::unique_ptr<lbm_event_queue> handle{evq};
        handle->queue->close();
    });
}

int lbm_event_queue_retrieve_stats(lbm_event_queue_t* evq, lbm_event_queue_stats_t* stats)
{
    return guarded_live("lbm_event_queue_retrieve_stats", "", [&] {
        require(evq, "evq");
        require(stats, "stats");
        const Mailbox& mailbox = evq->queue->mailbox();
        const Counters& counters = mailbox.counters();
        *stats = {mailbox.size(), counters.queue_messages_max.value(), counters.queue_bytes_max.value(),
                  counters.messages_overflowed.value(), counters.answers_dropped.value()};
    });
}

int lbm_event_dispatch(lbm_event_queue_t* evq, unsigned long timeout_ms)
{
    return guarded_live("lbm_event_dispatch", "", [&] {
        require(evq, "evq");
        const std::shared_ptr<EventQueue> queue = evq->queue; // a callback may delete the handle
        return queue->dispatch(timeout_ms);
    });
}

int lbm_event_dispatch_unblock(lbm_event_queue_t* evq)
{
    return guarded_live("lbm_event_dispatch_unblock", "", [&] {
        require(evq, "evq");
        evq->queue->mailbox().unblock();
    });
}
