/// What a process of the fault tests has sent and heard, in memory that outlives it however it ends.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

namespace test {

/// One source of the process. A send that a kill interrupts was tried and is not accepted, but may have left.
struct Sent {
    std::atomic<std::uint64_t> tried;
    std::atomic<std::uint64_t> accepted;
    std::atomic<std::uint64_t> written; ///< accepted, and has certainly left the process
    std::atomic<bool> closed;           ///< its deletion has returned
};

/// One source as the process's receiver was told of it. Numbers are sequence numbers, which no test lets wrap.
struct Heard {
    std::array<char, 160> source; ///< as messages name it
    std::array<char, 160> wrong;  ///< the first thing that may not happen, empty if nothing did
    std::atomic<std::uint64_t> first;
    std::atomic<std::uint64_t> next; ///< all before it is accounted for
    std::atomic<std::uint64_t> delivered;
    std::atomic<std::uint64_t> lost;
    std::atomic<std::uint64_t> losses; ///< events
    std::atomic<std::uint64_t> begins;
    std::atomic<std::uint64_t> ends;
    std::atomic<std::uint64_t> after_end; ///< what came while the source was not there
};

inline constexpr std::size_t sent_max = 8;
inline constexpr std::size_t heard_max = 2'048;

/// All zero in the beginning, as a new file is. Any thread of any process reads; each field has one writer.
struct Board {
    std::array<Sent, sent_max> sent;
    std::atomic<std::uint32_t> sources;   ///< of `sent` that are in use
    std::atomic<std::uint32_t> connected; ///< sources that have a receiver
    std::array<Heard, heard_max> heard;
    std::atomic<std::uint32_t> heard_count;
};

static_assert(std::atomic<std::uint64_t>::is_always_lock_free,
              "a lock would be left behind by a process that is killed");

struct Unmap {
    void operator()(Board* board) const noexcept;
};
using BoardPtr = std::unique_ptr<Board, Unmap>;

/// Maps the file, which is made if it does not exist. Throws std::system_error.
BoardPtr map_board(const std::string& path);

} // namespace test
