/// A delivery queue between threads.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>

#include "counters.h"
#include "delivery_queue.h"

namespace qx::transport {

/// Any number of threads post and take.
class Mailbox {
public:
    using Deadline = std::optional<std::chrono::steady_clock::time_point>; ///< empty: without limit
    enum class Taken { item, timed_out, unblocked, closed };

    /// Overflow and high-water marks go to the counters.
    Mailbox(std::size_t bytes_max, std::shared_ptr<Counters> counters)
        : counters_(std::move(counters))
        , queue_(bytes_max)
    {
    }

    void set_bytes_max(std::size_t bytes_max);

    const Counters& counters() const noexcept { return *counters_; }

    /// What is posted to a closed mailbox is gone. False: see DeliveryQueue::push.
    bool post(Delivery delivery);
    void post_loss(std::shared_ptr<Receiver> receiver, SourcePtr source, std::uint32_t first, std::uint32_t last);

    /// Waits for an item. An unblock goes first: a busy mailbox must not starve it.
    Taken take(Delivery& out, Deadline deadline);

    /// The same without waiting.
    Taken take_present(Delivery& out);

    /// Makes one take return, now or the next.
    void unblock();

    /// Every take returns from now on. What waited is the caller's, to be kept until whoever delivers has come to an
    /// end: it may be at a receiver whose sources only what waited still held.
    [[nodiscard]] DeliveryQueue close();
    bool closed() const;

    /// Whether it is open and empty.
    bool waits_for_posts() const;

    std::size_t size() const;
    std::uint64_t dropped() const;

private:
    Taken take_locked(Delivery& out);
    void wake(std::unique_lock<std::mutex> lock);
    void count_overflow(Delivery::What what) noexcept;

    const std::shared_ptr<Counters> counters_;
    mutable std::mutex mutex_;
    std::condition_variable filled_;
    DeliveryQueue queue_;
    std::size_t waiting_ = 0;
    std::size_t unblocks_ = 0;
    bool closed_ = false;
};

} // namespace qx::transport
