#include "event_queue.h"

#include <algorithm>
#include <chrono>

#include "deadline.h"
#include "error.h"
#include "receiver.h"

namespace qx::transport {

int EventQueue::dispatch(unsigned long timeout_ms)
{
    const Passage passage{dispatchers_};
    if (!passage || mailbox_.closed()) {
        throw TransportError(LBM_EOP, "the event queue was shut down");
    }
    if (timeout_ms == LBM_EVENT_QUEUE_POLL) {
        return dispatch_present();
    }
    return dispatch_until(deadline_after(timeout_ms));
}

int EventQueue::dispatch_present()
{
    int count = 0;
    // At least one look, so that an unblock ends this dispatch and not a later one.
    for (std::size_t present = std::max<std::size_t>(mailbox_.size(), 1); present > 0; --present) {
        Delivery delivery;
        if (mailbox_.take(delivery, std::chrono::steady_clock::time_point{}) != Mailbox::Taken::item) {
            break;
        }
        count += run_queued(delivery) ? 1 : 0;
    }
    return count;
}

int EventQueue::dispatch_until(Mailbox::Deadline deadline)
{
    int count = 0;
    while (true) {
        Delivery delivery; // its message goes now, not when the next one comes
        if (mailbox_.take(delivery, deadline) != Mailbox::Taken::item) {
            break;
        }
        count += run_queued(delivery) ? 1 : 0;
        if (deadline && std::chrono::steady_clock::now() >= *deadline) {
            break;
        }
    }
    return count;
}

void EventQueue::close()
{
    const DeliveryQueue left = mailbox_.close();
    dispatchers_.close();
}

} // namespace qx::transport
