#include "stream_writer.h"

#include <algorithm>
#include <utility>

#include "wire.h"
#include "wire_qos.h"

namespace qx::transport {
namespace {

using SteadyClock = std::chrono::steady_clock;

/// Frames that a losing stream keeps: of the largest as much as a window. The engine never waits for a receiver of such
/// a writer, so only messages larger than a frame make it hold more.
constexpr std::int32_t frames_kept = 256;

DdsQos writer_qos(const std::string& partition, WhenFull when_full)
{
    return when_full == WhenFull::lose ? latest_frames_qos(partition, frames_kept) : frames_qos(partition);
}

FlushPolicy adapted(FlushPolicy policy, WhenFull when_full)
{
    if (when_full == WhenFull::lose) {
        policy.frame_bytes_max = std::min(policy.frame_bytes_max, policy.window_bytes / frames_kept);
    }
    return policy;
}

} // namespace

StreamWriter::StreamWriter(dds_entity_t participant, dds_entity_t topic, const StreamId& id,
                           const std::string& partition, WhenFull when_full, FlushPolicy policy, Flusher& flusher,
                           std::shared_ptr<Counters> counters)
    : id_(id)
    , policy_(adapted(policy, when_full))
    , flusher_(flusher)
    , counters_(std::move(counters))
    , writer_(dds_create_writer(participant, topic, writer_qos(partition, when_full).get(), nullptr),
              "dds_create_writer")
    , entity_(writer_.get())
    , frame_(policy_.frame_bytes_max)
{
}

void StreamWriter::open(const std::shared_ptr<LocalSource>& source)
{
    const std::lock_guard lock{mutex_};
    sources_.emplace(source->number, source);
    next_source_ = source->number + 1;
}

void StreamWriter::send(LocalSource& source, std::string_view payload, const SendWait& wait)
{
    accept(source, {Kind::data, source.number, 0, source.topic, {}, payload}, wait);
}

void StreamWriter::send_request(LocalSource& source, std::uint64_t number, std::string_view payload,
                                const SendWait& wait)
{
    const auto extra = encode_request_number(number);
    accept(source, {Kind::request, source.number, 0, source.topic, {extra.data(), extra.size()}, payload}, wait);
}

void StreamWriter::accept(LocalSource& source, WireMessage message, const SendWait& wait)
{
    Lock lock{mutex_};
    make_room(lock, message, wait);
    if (source.closed) {
        throw TransportError(LBM_EOP, "the source is closed");
    }
    message.sequence = source.next;
    note_tail(source);
    append(message, wait.flush);
    ++source.next;
    counters_->messages_sent.add();
    counters_->bytes_sent.add(message.payload.size());
}

void StreamWriter::note_tail(LocalSource& source)
{
    if (!source.spoke && source.announcements == 0) {
        tails_.push_back(sources_.at(source.number));
    }
    source.spoke = true;
}

void StreamWriter::end(LocalSource& source, const SendWait& wait)
{
    Lock lock{mutex_};
    if (source.closed) {
        return;
    }
    source.closed = true;
    sources_.erase(source.number);
    source.frames = frames_begun(); // if there will be no room for more
    const WireMessage close{Kind::close, source.number, source.next, source.topic, {}, {}};
    make_room(lock, close, wait);
    append(close, wait.flush);
    source.frames = frames_begun();
}

bool StreamWriter::try_end(LocalSource& source) noexcept
{
    const std::lock_guard lock{mutex_};
    if (source.closed || closed_) {
        return true;
    }
    const WireMessage close{Kind::close, source.number, source.next, source.topic, {}, {}};
    if (!frame_.fits(close) && !try_write()) {
        return false;
    }
    source.closed = true;
    sources_.erase(source.number);
    append(close, false);
    return true;
}

void StreamWriter::stop_waiting() noexcept
{
    {
        const std::lock_guard lock{mutex_};
        stopping_ = true;
    }
    room_.notify_all();
}

void StreamWriter::make_room(Lock& lock, const WireMessage& like, const SendWait& wait)
{
    while (true) {
        if (closed_) {
            throw TransportError(LBM_EOP, "the context is deleted");
        }
        if (frame_.fits(like)) {
            return;
        }
        const dds_return_t result = write_frame();
        if (result == DDS_RETCODE_OK) {
            continue;
        }
        if (result != DDS_RETCODE_TIMEOUT) {
            check_dds(result, "dds_write");
        }
        if (stopping_ && !wait.deadline && !wait.never) {
            throw TransportError(LBM_EOP, "the context is being deleted");
        }
        try {
            wait_for_room(lock, room_, wait, "receivers have not acknowledged enough");
        } catch (const TransportError&) {
            counters_->sends_refused.add();
            throw;
        }
    }
}

void StreamWriter::append(const WireMessage& message, bool at_once)
{
    frame_.add(message);
    const auto now = SteadyClock::now();
    const bool full = frame_.bytes() >= policy_.frame_bytes_max;
    if (at_once || full || now - last_write_ >= policy_.gap) {
        if (!try_write()) {
            arm(now + retry_interval);
        }
    } else {
        arm(last_write_ + policy_.gap);
    }
}

std::uint64_t StreamWriter::frames_begun() const
{
    return frame_.empty() ? sequence_ : sequence_ + 1;
}

void StreamWriter::arm(SteadyClock::time_point when)
{
    if (!armed_) {
        flusher_.arm(weak_from_this(), when);
        armed_ = true;
    }
}

/// What could not be written stays collected, with its number.
dds_return_t StreamWriter::write_frame()
{
    if (frame_.empty()) {
        return DDS_RETCODE_OK;
    }
    Bytes& bytes = frame_.finish(sequence_, next_source_);
    qx_wire_Packet packet{};
    std::copy(id_.context.bytes.begin(), id_.context.bytes.end(), packet.context);
    packet.part = id_.number;
    packet.body._buffer = bytes.data();
    packet.body._length = packet.body._maximum = static_cast<std::uint32_t>(bytes.size());
    const dds_return_t result = dds_write(writer_.get(), &packet);
    if (result == DDS_RETCODE_OK) {
        ++sequence_;
        counters_->frames_sent.add();
        frame_.clear();
        last_write_ = SteadyClock::now();
    }
    return result;
}

bool StreamWriter::try_write()
{
    return write_frame() == DDS_RETCODE_OK;
}

std::optional<SteadyClock::time_point> StreamWriter::flush() noexcept
{
    const std::lock_guard lock{mutex_};
    armed_ = false;
    if (closed_ || try_write()) {
        return std::nullopt;
    }
    armed_ = true;
    return SteadyClock::now() + retry_interval;
}

bool StreamWriter::drain(SteadyClock::time_point deadline) noexcept
{
    Lock lock{mutex_};
    while (!closed_ && !(try_write() && all_acknowledged())) {
        if (SteadyClock::now() >= deadline) {
            return false;
        }
        room_.wait_for(lock, retry_interval);
    }
    return true;
}

/// Who returns has another handle, however short it was away. The status that the engine keeps of matches is not asked:
/// reading it would take the news from who watches it.
bool StreamWriter::receiver_came()
{
    std::vector<dds_instance_handle_t> now(receivers_.size() + 16);
    dds_return_t count = dds_get_matched_subscriptions(entity_, now.data(), now.size());
    if (count > static_cast<dds_return_t>(now.size())) {
        now.resize(static_cast<std::size_t>(count));
        count = std::min(dds_get_matched_subscriptions(entity_, now.data(), now.size()), count);
    }
    now.resize(static_cast<std::size_t>(std::max(count, 0)));
    std::sort(now.begin(), now.end());
    const bool came = !std::includes(receivers_.begin(), receivers_.end(), now.begin(), now.end());
    receivers_ = std::move(now);
    return came;
}

void StreamWriter::announce() noexcept
{
    const std::lock_guard lock{mutex_};
    if (closed_) {
        return;
    }
    if (receiver_came()) {
        list_all_tails();
    }
    std::erase_if(tails_, [this](const auto& source) { return !still_to_announce(*source); });
    if (!try_write()) {
        arm(SteadyClock::now() + retry_interval);
    }
}

/// A source that has sent nothing has no tail.
void StreamWriter::list_all_tails()
{
    tails_.clear();
    for (const auto& [number, source] : sources_) {
        if (source->next != 0 || source->spoke) { // the numbers may stand at their turn
            source->announcements = tail_announcements;
            tails_.push_back(source);
        }
    }
}

bool StreamWriter::still_to_announce(LocalSource& source)
{
    if (source.closed) {
        return false;
    }
    if (std::exchange(source.spoke, false)) {
        source.announcements = tail_announcements;
        return true;
    }
    const WireMessage sync{Kind::sync, source.number, source.next, source.topic, {}, {}};
    if (receivers_.empty() || (!frame_.fits(sync) && !try_write())) {
        return true; // with nobody there or the window full it stays for another time
    }
    frame_.add(sync);
    return --source.announcements > 0;
}

/// Without waiting: the engine would wait with our lock held.
bool StreamWriter::all_acknowledged()
{
    return dds_wait_for_acks(writer_.get(), 0) == DDS_RETCODE_OK;
}

bool StreamWriter::has_receivers() const noexcept
{
    dds_publication_matched_status_t status{};
    return dds_get_publication_matched_status(entity_, &status) == DDS_RETCODE_OK && status.current_count > 0;
}

void StreamWriter::close() noexcept
{
    {
        const std::lock_guard lock{mutex_};
        closed_ = true;
        sources_.clear(); // they refer to the stream
        tails_.clear();
        writer_.reset();
    }
    room_.notify_all();
}

} // namespace qx::transport
