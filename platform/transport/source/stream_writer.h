/// The sending end of a stream: collects the messages of its sources into frames.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "counters.h"
#include "dds_entity.h"
#include "flusher.h"
#include "frame.h"
#include "ids.h"
#include "send_wait.h"

namespace qx::transport {

class StreamWriter;

/// One source of this process.
struct LocalSource {
    const std::uint32_t number;
    const std::string topic;
    const std::shared_ptr<StreamWriter> stream;

    // Guarded by the stream's lock.
    std::uint32_t next = 0;   ///< sequence number; fixed once closed
    std::uint64_t frames = 0; ///< of the stream that all it says is in; once closed
    bool closed = false;
    bool spoke = false;             ///< since its stream's last announcements
    std::uint8_t announcements = 0; ///< that are still to be made of `next`, unless it speaks
};

/// How often a sequence number that nothing follows is announced: a receiver may be away for one or two.
inline constexpr std::uint8_t tail_announcements = 3;

struct FlushPolicy {
    std::size_t frame_bytes_max;
    std::chrono::microseconds gap;
    std::size_t window_bytes; ///< what the engine takes unacknowledged
};

/// block   every frame is kept until all receivers have it; a full window holds up the sender
/// lose    the latest frames are kept; who is further behind loses, and nobody is held up
enum class WhenFull { block, lose };

/// A message that comes at least `gap` after the last frame goes at once; one that comes sooner waits for company until
/// the gap is over or the frame is full: no delay when idle, few frames under load.
/// Threads   any.
class StreamWriter : public Flushable, public std::enable_shared_from_this<StreamWriter> {
public:
    StreamWriter(dds_entity_t participant, dds_entity_t topic, const StreamId& id, const std::string& partition,
                 WhenFull when_full, FlushPolicy policy, Flusher& flusher, std::shared_ptr<Counters> counters);

    /// From now until its end the source's tail is announced. Sources come in the order of their numbers.
    void open(const std::shared_ptr<LocalSource>& source);

    /// Accepts a message; after a failure it has consumed no sequence number. Throws TransportError: LBM_EWOULDBLOCK
    /// and LBM_ETIMEDOUT for want of room, LBM_EOP when stream or source is closed, LBM_EOS.
    void send(LocalSource& source, std::string_view payload, const SendWait& wait);
    void send_request(LocalSource& source, std::uint64_t number, std::string_view payload, const SendWait& wait);

    /// Closes the source, whatever happens, and sends its end; throws as `send`. Twice is harmless.
    void end(LocalSource& source, const SendWait& wait);

    /// The same if there is room for it now; else false, and the source stays open.
    bool try_end(LocalSource& source) noexcept;

    /// Sends that may wait without limit fail from now on instead of waiting.
    void stop_waiting() noexcept;

    /// Tells receivers how far the sources are that have said nothing since the last call, some calls in a row, and all
    /// sources when a receiver has come: what it was not there for is then a loss, not a silence. Never waits.
    void announce() noexcept;

    /// Sends what is left and waits for the receivers' acknowledgement until the deadline or the end of the stream;
    /// holds up no other thread that sends. Whether they have it all.
    bool drain(std::chrono::steady_clock::time_point deadline) noexcept;

    /// Sends that wait give up; nothing is sent any more.
    void close() noexcept;

    /// The engine's writer, whose matched status changes with its receivers.
    dds_entity_t entity() const noexcept { return entity_; }
    bool has_receivers() const noexcept;

    std::uint32_t number() const noexcept { return id_.number; }

    std::optional<std::chrono::steady_clock::time_point> flush() noexcept override;

private:
    using Lock = std::unique_lock<std::mutex>;

    void accept(LocalSource& source, WireMessage message, const SendWait& wait);
    void make_room(Lock& lock, const WireMessage& like, const SendWait& wait);
    void append(const WireMessage& message, bool at_once);
    std::uint64_t frames_begun() const;
    void arm(std::chrono::steady_clock::time_point when);
    dds_return_t write_frame();
    bool try_write();
    bool all_acknowledged();
    bool receiver_came();
    void list_all_tails();
    bool still_to_announce(LocalSource& source);
    void note_tail(LocalSource& source);

    const StreamId id_;
    const FlushPolicy policy_;
    Flusher& flusher_;
    const std::shared_ptr<Counters> counters_;
    std::mutex mutex_;
    std::condition_variable room_;
    DdsEntity writer_;
    const dds_entity_t entity_; ///< the same, for those who do not take the lock; may be gone
    FrameBuilder frame_;
    std::unordered_map<std::uint32_t, std::shared_ptr<LocalSource>> sources_; ///< open ones, by number
    std::vector<std::shared_ptr<LocalSource>> tails_; ///< those that have spoken or are to be announced, each once
    std::vector<dds_instance_handle_t> receivers_;    ///< when last looked at, sorted
    std::uint64_t sequence_ = 0;
    std::uint32_t next_source_ = 0; ///< above the number of every source so far
    std::chrono::steady_clock::time_point last_write_{};
    bool armed_ = false;
    bool stopping_ = false;
    bool closed_ = false;
};

} // namespace qx::transport
