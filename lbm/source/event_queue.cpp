#include <lbm/event_queue.h>

#include "calls.h"
#include "catalogue.h"

namespace lbm {
namespace {

details::Handle<lbm_event_queue_t> CreateQueue(EventQueueAttributes attributes)
{
    attributes.Set<int>(details::option::cancellationCallbacks, 1);
    return details::Open<lbm_event_queue_t>(details::failure::createEventQueue, [&](lbm_event_queue_t** eq) {
        return lbm_event_queue_create(eq, nullptr, nullptr, attributes);
    });
}

} // namespace

template <>
void details::Close<lbm_event_queue_t>::operator()(lbm_event_queue_t* handle) const noexcept
{
    lbm_event_queue_shutdown(handle);
    lbm_event_queue_delete(handle);
}

EventQueue::EventQueue()
    : EventQueue(EventQueueAttributes())
{
}

EventQueue::EventQueue(const EventQueueAttributes& attributes)
    : m_eq(CreateQueue(attributes))
{
}

int EventQueue::Run()
{
    return Poll(LBM_EVENT_QUEUE_BLOCK);
}

int EventQueue::Poll(unsigned long timeoutMs)
{
    return details::Check(lbm_event_dispatch(m_eq.get(), timeoutMs), details::failure::runEventQueue);
}

void EventQueue::Unblock()
{
    details::Check(lbm_event_dispatch_unblock(m_eq.get()), details::failure::unblockEventQueue);
}

} // namespace lbm
