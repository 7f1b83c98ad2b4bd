/// Faults made on purpose, for tests and rehearsals: what arrives whole is dropped, doubled or swapped.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <random>
#include <vector>

#include "bytes.h"
#include "ids.h"
#include "options.h"

namespace qx::transport {

/// How many of a thousand frames meet with what, each drawn on its own.
struct FaultPolicy {
    FaultPolicy() = default;
    explicit FaultPolicy(const Options& context_options);
    bool any() const noexcept { return dropped > 0 || doubled > 0 || swapped > 0; }

    unsigned dropped = 0;
    unsigned doubled = 0;
    unsigned swapped = 0; ///< with the next frame of their stream
    std::uint32_t seed = 0;
};

/// How long a frame waits for the one it is swapped with: the last of a stream that falls silent must arrive, too.
inline constexpr std::chrono::milliseconds held_frame_kept{100};

/// Stands between a reader and whoever takes its frames.
/// Threads   not synchronised.
class FrameFaults {
public:
    using ReaderId = std::uint64_t;
    using TimePoint = std::chrono::steady_clock::time_point;
    using Take = std::function<void(const StreamId& stream, ReaderId reader, ByteView body)>;

    FrameFaults(const FaultPolicy& policy, Take take);

    void pass(const StreamId& stream, ReaderId reader, ByteView body, TimePoint now);

    /// Hands on the frame that is held back: no other will come.
    void let_go(const StreamId& stream, ReaderId reader);
    void let_go_due(TimePoint now);
    std::optional<TimePoint> next_due() const;

private:
    struct Held {
        StreamId stream;
        ReaderId reader;
        Bytes body;
        TimePoint due;
    };

    bool happens(unsigned permille);
    std::vector<Held>::iterator find(const StreamId& stream, ReaderId reader);

    const FaultPolicy policy_;
    const Take take_;
    std::mt19937 random_;
    std::vector<Held> held_; ///< at most one for each stream and reader, oldest first
};

} // namespace qx::transport
