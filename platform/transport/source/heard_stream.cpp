#include "heard_stream.h"

#include <algorithm>

#include "topic_name.h"

namespace qx::transport {

HeardStream::Frames HeardStream::accept(ReaderId reader, const Frame& frame, Carries carries, Clock::time_point now)
{
    const std::uint64_t sequence = frame.stream_sequence;
    if (owner_ && *owner_ != reader) {
        copies_[reader] = sequence;
        return Frames::copy;
    }
    if (last_ && sequence <= *last_) {
        return Frames::copy;
    }
    const bool anew = take_over(sequence);
    if (!last_ || anew) {
        owing_from_ = sequence == 0 ? 0 : frame.next_source;
    }
    if (token_.empty() && !frame.messages.empty()) {
        token_ = first_token(frame.messages.front().topic);
    }
    carries_ = carries;
    owner_ = last_owner_ = reader;
    last_ = sequence;
    active_ = now;
    return anew ? Frames::anew : Frames::next;
}

/// A new reader goes on where the last one was, unless for a while there was none.
bool HeardStream::take_over(std::uint64_t sequence)
{
    const bool missed = handed_over_ && last_ && sequence > *last_ + 1;
    handed_over_ = false;
    return missed && !is_behind();
}

bool HeardStream::owes_all(std::uint32_t source, std::string_view topic) const
{
    const bool could_carry = carries_ == Carries::any_topic || first_token(topic) == token_;
    return last_ && !handed_over_ && source >= owing_from_ && could_carry;
}

void HeardStream::forget(std::uint32_t source)
{
    owing_from_ = std::max(owing_from_, source + 1);
}

bool HeardStream::lose_sender(ReaderId reader)
{
    if (owner_ && *owner_ != reader) {
        return false;
    }
    owner_.reset(); // the last frame's number stays: other readers may still come with copies
    return true;
}

void HeardStream::lose_reader(ReaderId reader, bool last)
{
    copies_.erase(reader);
    const bool nobody_is_left = !owner_ && (last || (last_owner_ == reader && copies_.empty()));
    if (owner_ == reader || nobody_is_left) {
        owner_.reset();
        handed_over_ = true;
    }
}

bool HeardStream::is_behind() const
{
    return std::any_of(copies_.begin(), copies_.end(),
                       [this](const auto& copy) { return copy.second > last_.value_or(0); });
}

} // namespace qx::transport
