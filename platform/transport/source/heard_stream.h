/// A stream as it is heard: whose copies of its frames count, which came last, and which of its sources owe everything.
///
/// Copies    several readers may bring the same frames: the first is the owner, and the others' are dropped.
/// Owing     who hears the stream from its first frame is owed all that its sources send; who comes later, all of the
///           sources that were opened after the first frame heard. Where no reader heard it for a while, its next frame
///           counts as the first.
/// Threads   not synchronised.
#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "catalogue.h"
#include "frame.h"

namespace qx::transport {

/// Which topics its sources may have.
enum class Carries { one_token, any_topic };

class HeardStream {
public:
    using ReaderId = std::uint64_t;

    /// anew    the first after a time without reader: what the sources said meanwhile is no loss
    enum class Frames { copy, next, anew };
    Frames accept(ReaderId reader, const Frame& frame, Carries carries, Clock::time_point now);

    /// Whether the source is accounted for from its first message. A catalogue page may list what it likes: only topics
    /// that the stream could carry are owed.
    bool owes_all(std::uint32_t source, std::string_view topic) const;
    /// Nobody knows any more what the source had said, should it return.
    void forget(std::uint32_t source);

    /// The sender is gone, by what that reader knows; false when another reader's word counts.
    bool lose_sender(ReaderId reader);
    void lose_reader(ReaderId reader, bool last);

    bool is_owned_by(ReaderId reader) const { return owner_ == reader; }
    /// Whether a reader that is still there has dropped the copy of a frame that no owner has brought.
    bool is_behind() const;
    /// The owner went, and no other has taken over yet.
    bool is_handed_over() const { return handed_over_; }
    /// Whether the first `frames` of the stream have come, or can come no more.
    bool has_passed(std::uint64_t frames) const { return last_ && *last_ + 1 >= frames; }
    Clock::time_point active() const { return active_; } ///< when the last frame came

private:
    bool take_over(std::uint64_t sequence);

    std::optional<ReaderId> owner_;
    std::optional<ReaderId> last_owner_;       ///< also when the sender is lost
    std::optional<std::uint64_t> last_;        ///< frame that was accepted
    std::map<ReaderId, std::uint64_t> copies_; ///< the latest that each reader beside the owner has brought
    Carries carries_ = Carries::one_token;
    std::string token_;            ///< that its topics begin with if they do; once one is known
    std::uint32_t owing_from_ = 0; ///< sources from that number on owe everything
    bool handed_over_ = false;
    Clock::time_point active_{};
};

} // namespace qx::transport
