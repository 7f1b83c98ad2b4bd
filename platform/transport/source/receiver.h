/// Receivers, exact and wildcard: what they match and how they are called.
#pragma once

#include <chrono>
#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_set>

#include <lbm/lbm.h>

#include "delivery_queue.h"
#include "event_queue.h"
#include "gate.h"
#include "topic_pattern.h"

namespace qx::transport {

/// The application's side of a receiver. `handle` is null for wildcard receivers.
struct Callback {
    lbm_rcv_cb_proc proc = nullptr;
    void* clientd = nullptr;
    lbm_rcv_t* handle = nullptr;
};

class Receiver : public std::enable_shared_from_this<Receiver> {
public:
    /// `queue` may be null: then the context's thread runs the callback. `absence` is how long there may be no source
    /// before the application is told so; 0: it is never told.
    Receiver(std::string topic, Callback callback, std::shared_ptr<EventQueue> queue,
             std::chrono::milliseconds absence = {});
    Receiver(std::unique_ptr<TopicPattern> pattern, Callback callback, std::shared_ptr<EventQueue> queue,
             std::chrono::milliseconds absence = {});

    bool matches(std::string_view topic) const;

    /// What every topic begins with that it matches: of a pattern what is literal, else the whole topic.
    const std::string& beginning() const noexcept { return beginning_; }

    /// The partition that holds every stream of one first token that it can hear, see partition.h.
    const std::string& partition() const noexcept { return partition_; }

    /// Called on the context's thread only, in order.
    void deliver(Delivery::What what, const SourcePtr& source, Message& message);
    void lose(const SourcePtr& source, std::uint32_t first, std::uint32_t last);
    void miss();

    /// Runs the callback here and now. False: it was closed before.
    bool run(Message& message);

    /// No callback begins any more; waits for one that another thread is running.
    void close() { gate_.close(); }
    bool closed() const { return gate_.closed(); }

    const std::chrono::milliseconds absence;

    /// The routing's own, see router.h: the sources it hears, none of which has ended, and when the lack of any is to
    /// be told.
    std::unordered_set<RemoteSource*> sources;
    std::optional<std::chrono::steady_clock::time_point> absent_at;

private:
    std::string topic_; ///< as the application named it: a topic, or a pattern's text
    std::unique_ptr<TopicPattern> pattern_;
    std::string beginning_;
    std::string partition_;
    Callback callback_;
    std::shared_ptr<EventQueue> queue_;
    Gate gate_;
};

/// Runs what an event queue held. False: its receiver is gone.
bool run_queued(Delivery& delivery);

} // namespace qx::transport
