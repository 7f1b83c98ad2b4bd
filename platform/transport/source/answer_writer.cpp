#include "answer_writer.h"

#include <algorithm>
#include <utility>

#include "answer.h"
#include "partition.h"
#include "wire.h"
#include "wire_qos.h"

namespace qx::transport {
namespace {

using SteadyClock = std::chrono::steady_clock;

} // namespace

AnswerWriter::AnswerWriter(const ContextId& self, const ContextId& requester, AnswerPolicy policy, Flusher& flusher)
    : self_(self)
    , requester_(requester)
    , policy_(policy)
    , flusher_(flusher)
{
}

void AnswerWriter::open(dds_entity_t participant, dds_entity_t topic)
{
    const std::lock_guard lock{mutex_};
    used_ = SteadyClock::now();
    if (writer_ || gone_ || stopped_) {
        return;
    }
    const DdsQos qos = frames_qos(partition_of_requester(requester_));
    writer_ = {dds_create_writer(participant, topic, qos.get(), nullptr), "dds_create_writer"};
    opened_ = used_;
    found_ = false;
    unacknowledged_ = 0;
}

bool AnswerWriter::send(AnswerTo& to, std::string_view payload, const SendWait& wait)
{
    Bytes answer = encode_answer({to.request, 0, payload});
    Lock lock{mutex_};
    while (true) {
        look();
        if (stopped_) {
            throw TransportError(LBM_EOP, "the context is deleted");
        }
        if (gone_) {
            throw TransportError(LBM_EOP, "the requester is gone");
        }
        if (!writer_) {
            return false;
        }
        renumber_answer(answer, to.next);
        if (accept(answer)) {
            ++to.next;
            return true;
        }
        wait_for_room(lock, room_, wait,
                      found_ ? "the requester has not acknowledged enough answers"
                             : "the requester has not been found");
    }
}

void AnswerWriter::look() noexcept
{
    // Not the matched status: that still counts a reader whose acknowledgements the writer no longer waits for.
    const dds_return_t readers = writer_ ? dds_get_matched_subscriptions(writer_.get(), nullptr, 0) : DDS_RETCODE_ERROR;
    if (readers < 0) {
        return;
    }
    if (readers > 0) {
        found_ = true;
    } else if (found_ || SteadyClock::now() - opened_ >= policy_.patience) {
        gone_ = true;
        waiting_.clear();
        writer_.reset();
        room_.notify_all();
    }
}

bool AnswerWriter::accept(Bytes& answer)
{
    if (unacknowledged_ >= policy_.window && !all_acknowledged()) {
        return false;
    }
    if (!found_ || !waiting_.empty()) {
        if (!wait_until_found(answer)) {
            return false;
        }
    } else {
        const dds_return_t result = write(answer);
        if (result == DDS_RETCODE_TIMEOUT) {
            return false;
        }
        check_dds(result, "dds_write");
    }
    ++unacknowledged_;
    used_ = SteadyClock::now();
    return true;
}

bool AnswerWriter::all_acknowledged()
{
    if (!waiting_.empty() || dds_wait_for_acks(writer_.get(), 0) != DDS_RETCODE_OK) {
        return false;
    }
    unacknowledged_ = 0;
    return true;
}

bool AnswerWriter::wait_until_found(Bytes& answer)
{
    if (!waiting_.empty() && waiting_bytes_ + answer.size() > waiting_bytes_max) {
        return false;
    }
    if (!armed_) {
        flusher_.arm(weak_from_this(), SteadyClock::now() + retry_interval);
        armed_ = true;
    }
    waiting_bytes_ += answer.size();
    waiting_.push_back(std::move(answer));
    return true;
}

dds_return_t AnswerWriter::write(Bytes& answer) noexcept
{
    qx_wire_Packet packet{};
    std::copy(self_.bytes.begin(), self_.bytes.end(), packet.context);
    packet.body._buffer = answer.data();
    packet.body._length = packet.body._maximum = static_cast<std::uint32_t>(answer.size());
    return dds_write(writer_.get(), &packet);
}

void AnswerWriter::write_waiting() noexcept
{
    look();
    while (found_ && !waiting_.empty() && write(waiting_.front()) == DDS_RETCODE_OK) {
        waiting_bytes_ -= waiting_.front().size();
        waiting_.pop_front();
    }
}

std::optional<SteadyClock::time_point> AnswerWriter::flush() noexcept
{
    const std::lock_guard lock{mutex_};
    armed_ = false;
    write_waiting(); // also when stopped: what was accepted goes out until the end
    if (waiting_.empty()) {
        return std::nullopt;
    }
    armed_ = true;
    return SteadyClock::now() + retry_interval;
}

bool AnswerWriter::gone()
{
    const std::lock_guard lock{mutex_};
    look();
    return gone_;
}

bool AnswerWriter::close_if_idle()
{
    const std::lock_guard lock{mutex_};
    if (writer_ && !all_acknowledged()) {
        return false;
    }
    look(); // only now: a requester that is gone leaves nothing unacknowledged, and is not idle for that
    writer_.reset();
    return true;
}

SteadyClock::time_point AnswerWriter::last_used() const
{
    const std::lock_guard lock{mutex_};
    return used_;
}

void AnswerWriter::stop() noexcept
{
    {
        const std::lock_guard lock{mutex_};
        stopped_ = true;
    }
    room_.notify_all();
}

bool AnswerWriter::drained() noexcept
{
    const std::lock_guard lock{mutex_};
    write_waiting();
    return !writer_ || all_acknowledged();
}

void AnswerWriter::close() noexcept
{
    const std::lock_guard lock{mutex_};
    waiting_.clear();
    writer_.reset();
}

} // namespace qx::transport
