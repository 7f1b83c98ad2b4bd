/// Lets the application choose the thread on which receiver callbacks run.
#pragma once

#include <lbm/attributes.h>
#include <lbm/handle.h>

namespace lbm {

/// Owns one event queue; destruction shuts it down first, so that no callback is dispatched from a dying queue.
///
/// Errors    constructors and operations throw LbmError; destruction reports nothing.
/// Threads   Run and Poll dispatch on the calling thread; Unblock may be called from any. A thread that dispatches must
///           have been unblocked and joined before the queue is destroyed.
/// Lifetime  receivers made on a queue must be gone before it. A moved-from queue has no handle.
class EventQueue {
public:
    EventQueue();
    /// `attributes` are copied; on the copy, cancellation callbacks are switched on, so that a receiver which is being
    /// deleted waits for the callback in progress.
    explicit EventQueue(const EventQueueAttributes& attributes);

    EventQueue(const EventQueue&) = delete;
    EventQueue& operator=(const EventQueue&) = delete;
    EventQueue(EventQueue&& other) noexcept = default;
    EventQueue& operator=(EventQueue&& other) noexcept = default;
    virtual ~EventQueue() = default;

    operator lbm_event_queue_t*() noexcept { return m_eq.get(); }
    operator const lbm_event_queue_t*() const noexcept { return m_eq.get(); }

    /// Dispatches callbacks until unblocked; returns how many ran.
    int Run();
    /// Dispatches callbacks for that time or until unblocked; returns how many ran.
    int Poll(unsigned long timeoutMs);
    /// Makes one running dispatch return, or the next.
    void Unblock();

private:
    details::Handle<lbm_event_queue_t> m_eq;
};

static_assert(sizeof(EventQueue) == 2 * sizeof(void*), "one handle, and virtual for its destructor");

} // namespace lbm
