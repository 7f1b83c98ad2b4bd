/// Turns what arrives — frames, catalogue pages, the news that a sender is gone — into the life of each source: one
/// beginning, its data in order, its losses in their place, one end.
///
/// Ends      a close message; `end_grace` after a closed catalogue entry once all that the source said has come or can
///           come no more, else when its stream has been quiet for `repair_grace`; once its stream has been quiet for
///           `end_grace` after its page is gone or all of the sender's context is, or after its page lists it no
///           more, and then after `repair_grace` in any case; the loss of the stream's sender.
/// Revival   a source that was closed never returns. One whose sender was lost may: it begins again, and what it sent
///           in between is a loss.
/// Losses    follow from the sequence numbers alone. Sources of which everything is owed, see HeardStream, count from
///           their first message, be it that only their end is heard of; others from their first message here.
/// Threads   not synchronised.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "catalogue.h"
#include "frame.h"
#include "heard_stream.h"
#include "ids.h"
#include "message.h"
#include "number_runs.h"

namespace qx::transport {

inline constexpr std::chrono::milliseconds end_grace{500};

/// The same for a closed source of which data is missing: the engine asks for what is missing at least every 8 s. Also
/// the longest that a source goes on which its page lists no more: its stream may never be quiet.
inline constexpr std::chrono::seconds repair_grace{10};

/// A peer may not make us remember sources without end. Closed ones cost next to nothing as long as they were numbered
/// and closed in much the same order; beyond so many runs of their numbers what lies between the lowest counts as
/// closed, too: a source from there that nobody has heard of would not begin.
inline constexpr std::size_t sources_per_context_max = 1'000'000;
inline constexpr std::size_t closed_runs_per_context_max = 100'000;

/// What comes out. Sequence numbers wrap.
class SourceEvents {
public:
    virtual ~SourceEvents() = default;
    /// `next` is the number of the first message if it is known, else 0.
    virtual void begun(const SourcePtr& source, std::uint32_t next) = 0;
    /// Data or a request, with its sequence number.
    virtual void data(const SourcePtr& source, const WireMessage& message) = 0;
    virtual void lost(const SourcePtr& source, std::uint32_t first, std::uint32_t last) = 0;
    virtual void ended(const SourcePtr& source, std::uint32_t next) = 0;
};

class SourceTracker {
public:
    using ReaderId = HeardStream::ReaderId;

    explicit SourceTracker(SourceEvents& out)
        : out_(out)
    {
    }

    void frame(const StreamId& id, ReaderId reader, const Frame& frame, Clock::time_point now,
               Carries carries = Carries::one_token);
    /// The stream's sender is gone, closed or lost, and everything it sent has been given to `frame`.
    void stream_gone(const StreamId& id, ReaderId reader, Clock::time_point now);
    /// Whether other readers have dropped copies of frames that this reader, their stream's owner, has not brought yet.
    bool is_behind(ReaderId reader) const;
    /// The reader is no more; its streams are free for other readers, if it was not the last.
    void reader_gone(ReaderId reader, bool last);

    void page(const ContextId& id, std::uint32_t page, std::span<const CatalogueEntry> entries, Clock::time_point now);
    void page_gone(const ContextId& id, std::uint32_t page, Clock::time_point now);
    /// Nothing of the context is there any more, whatever others keep alive in its name.
    void context_gone(const ContextId& id, Clock::time_point now);

    /// Ends sources whose grace is over and forgets what is old. Call it at `next_due`, or more often.
    void tick(Clock::time_point now);
    std::optional<Clock::time_point> next_due() const;

    std::uint64_t duplicates() const noexcept { return duplicates_; }
    std::uint64_t refused() const noexcept { return refused_; }

private:
    struct LastWord {
        std::uint32_t sequence; ///< that would have come next
        std::uint64_t frames;   ///< of the stream, up to it
    };
    /// An open source, or one whose sender was lost.
    struct Entry {
        SourcePtr source; ///< while open
        std::uint32_t stream = 0;
        std::optional<std::uint32_t> next;             ///< the sequence number that comes next, once one is known
        bool heard = false;                            ///< whether some number of it was
        std::optional<LastWord> last_word;             ///< as a closed catalogue entry told it
        std::optional<Clock::time_point> ending_since; ///< waits for the stream to be quiet
        Clock::time_point lost_at{};

        bool open() const noexcept { return source != nullptr; }
    };
    struct Context {
        std::unordered_map<std::uint32_t, Entry> sources;
        NumberRuns closed{closed_runs_per_context_max};
        Clock::time_point closed_at{}; ///< the last of them
        std::unordered_map<std::uint32_t, HeardStream> streams;
        std::unordered_map<std::uint32_t, std::vector<std::uint32_t>> pages;
    };
    struct Ending {
        SourceId source;
        Clock::time_point since;
        Clock::time_point due;
        bool unlisted;
    };

    static void forget_numbers(Context& context, std::uint32_t stream);
    static bool owes_all(const Context& context, std::uint32_t stream, std::uint32_t source, std::string_view topic);
    static bool has_passed(const Entry& entry, std::uint32_t sequence);
    static bool has_skipped(const Entry& entry, std::uint32_t sequence);
    Entry* live(Context& context, const SourceId& id, std::uint32_t stream, std::string_view topic, std::uint32_t next);
    void message(Context& context, const StreamId& stream, const WireMessage& m, Clock::time_point now);
    void data(Entry& entry, const WireMessage& m);
    void advance(Entry& entry, std::uint32_t sequence);
    void lose(Entry& entry, Clock::time_point now);
    void close(Context& context, std::uint32_t source, Clock::time_point now);
    void start_ending(const ContextId& id, std::uint32_t source, Clock::time_point now, bool unlisted = false);
    static bool went_on_unheard(const Context& context, const CatalogueEntry& closed);
    void list(const ContextId& id, Context& context, const CatalogueEntry& listed, Clock::time_point now);
    static Clock::time_point end_of(const Ending& ending, const Entry& entry, const HeardStream& stream);
    void finish(const Ending& ending, Clock::time_point now);
    static void forget_lost(Context& context, Clock::time_point now);
    void forget(Clock::time_point now);

    SourceEvents& out_;
    std::unordered_map<ContextId, Context> contexts_;
    std::vector<Ending> endings_;
    Clock::time_point last_forget_{};
    std::uint64_t duplicates_ = 0;
    std::uint64_t refused_ = 0;
};

} // namespace qx::transport
