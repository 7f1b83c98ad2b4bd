/// How far a source's messages have arrived, and whether anybody wants them.
#pragma once

#include <atomic>
#include <cstdint>

namespace qx::transport {

/// Written by the thread that receives, asked and wanted by the one that routes. Number and wish change as one: every
/// message either was counted before somebody wanted it or is queued.
class Arrivals {
public:
    struct Seen {
        bool wanted; ///< before the call
        bool any;    ///< whether a message has arrived; else `next` is only what the beginning said
        std::uint32_t next;
    };

    /// The source begins with that number, wanted until the routing has looked.
    void begin(std::uint32_t next) noexcept { state_.store(wanted_bit | next); }

    /// Everything before that number has arrived. Whether it is wanted.
    bool arrive(std::uint32_t next) noexcept
    {
        std::uint64_t before = state_.load();
        while (!state_.compare_exchange_weak(before, (before & wanted_bit) | any_bit | next)) {
        }
        return (before & wanted_bit) != 0;
    }

    Seen want() noexcept { return seen(state_.fetch_or(wanted_bit)); }
    void unwant() noexcept { state_.fetch_and(~wanted_bit); }

private:
    static constexpr std::uint64_t wanted_bit = 1ULL << 32U;
    static constexpr std::uint64_t any_bit = 1ULL << 33U;

    static Seen seen(std::uint64_t state) noexcept
    {
        return {(state & wanted_bit) != 0, (state & any_bit) != 0, static_cast<std::uint32_t>(state)};
    }

    std::atomic<std::uint64_t> state_{wanted_bit};
};

} // namespace qx::transport
