// Event queues: a dispatch really waits, so that a test can run one on a thread of its own.
#include <chrono>

#include "tests/doubles/lbm_double/state.h"

using namespace qx::test::details;

namespace {

template <class Change>
void change_queue(lbm_event_queue_t* evq, Change change)
{
    if (evq == nullptr) {
        return;
    }
    {
        const std::scoped_lock guard(state().lock);
        change(*evq);
    }
    state().queueChanged.notify_all();
}

/// The next callback to run; empty when the dispatch is over.
std::function<void()> next_callback(lbm_event_queue_t& evq, std::chrono::steady_clock::time_point deadline)
{
    std::unique_lock guard(state().lock);
    state().queueChanged.wait_until(guard, deadline,
                                    [&] { return evq.unblocked || evq.shutDown || !evq.posted.empty(); });
    if (evq.unblocked || evq.shutDown || evq.posted.empty()) {
        evq.unblocked = false;
        return {};
    }
    auto callback = std::move(evq.posted.front());
    evq.posted.pop_front();
    return callback;
}

} // namespace

extern "C" {

int lbm_event_queue_create(lbm_event_queue_t** evq, lbm_event_queue_monitor_proc monitor, void* clientd,
                           const lbm_event_queue_attr_t* attr)
{
    return create(
        __func__, "event_queue", evq, [](lbm_event_queue&) {}, monitor, clientd, attr);
}

int lbm_event_queue_shutdown(lbm_event_queue_t* evq)
{
    change_queue(evq, [](lbm_event_queue& queue) { queue.shutDown = true; });
    return plain(__func__, evq);
}

int lbm_event_queue_delete(lbm_event_queue_t* evq)
{
    return destroy(__func__, evq);
}

int lbm_event_dispatch(lbm_event_queue_t* evq, unsigned long timeout_ms)
{
    if (const int result = plain(__func__, evq, timeout_ms); result != LBM_OK) {
        return result;
    }
    if (evq == nullptr) {
        return fail(LBM_EINVAL, "null handle");
    }
    // A deadline even for "without limit": a test that forgot to unblock fails instead of hanging.
    const auto wait = std::chrono::milliseconds(timeout_ms == LBM_EVENT_QUEUE_BLOCK ? 30'000 : timeout_ms);
    const auto deadline = std::chrono::steady_clock::now() + wait;
    int ran = 0;
    while (const auto callback = next_callback(*evq, deadline)) {
        callback();
        ++ran;
    }
    return ran;
}

int lbm_event_dispatch_unblock(lbm_event_queue_t* evq)
{
    const int result = plain(__func__, evq);
    if (result != LBM_FAILURE) {
        change_queue(evq, [](lbm_event_queue& queue) { queue.unblocked = true; });
    }
    return result;
}
}
