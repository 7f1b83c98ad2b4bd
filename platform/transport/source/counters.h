/// What a context has done, counted where it is done.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>

#include <lbm/lbm.h>

namespace qx::transport {

class Counter {
public:
    void add(std::uint64_t n = 1) noexcept { value_.fetch_add(n, std::memory_order_relaxed); }
    void subtract(std::uint64_t n = 1) noexcept { value_.fetch_sub(n, std::memory_order_relaxed); }
    void raise_to(std::uint64_t n) noexcept
    {
        std::uint64_t before = value_.load(std::memory_order_relaxed);
        while (before < n && !value_.compare_exchange_weak(before, n, std::memory_order_relaxed)) {
        }
    }
    std::uint64_t value() const noexcept { return value_.load(std::memory_order_relaxed); }

private:
    std::atomic<std::uint64_t> value_{0};
};

/// The fields of lbm_context_stats_t, which say what is counted.
/// Threads   any; a reading is not of one moment.
struct Counters {
    Counter messages_sent;
    Counter bytes_sent;
    Counter frames_sent;
    Counter sends_refused;
    Counter messages_received;
    Counter bytes_received;
    Counter messages_lost;
    Counter messages_overflowed;
    Counter messages_unwanted;
    Counter copies_dropped;
    Counter packets_refused;
    Counter answers_received;
    Counter answers_dropped;
    Counter queue_messages_max;
    Counter queue_bytes_max;
    Counter sources;

    /// Adds to what `sum` has; of high-water marks the higher counts.
    void add_to(lbm_context_stats_t& sum) const noexcept;
};

/// A context's counters, which the process's sum keeps when the context is gone.
std::shared_ptr<Counters> make_counters();

/// Of all contexts that the process has or had.
lbm_context_stats_t process_stats();

} // namespace qx::transport
