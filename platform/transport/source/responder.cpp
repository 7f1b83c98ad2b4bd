#include "responder.h"

#include <algorithm>
#include <utility>

#include "wire_qos.h"

namespace qx::transport {
namespace {

constexpr std::chrono::seconds sweep_interval{1};

/// Longer than for a window: every look asks all writers, and the intake needs the lock too.
constexpr std::chrono::milliseconds writers_retry_interval{10};

} // namespace

Responder::Responder(dds_entity_t participant, const ContextId& self, AnswerPolicy policy, Flusher& flusher,
                     WriterLimits limits)
    : participant_(participant)
    , self_(self)
    , policy_(policy)
    , flusher_(flusher)
    , limits_(limits)
{
}

std::unique_ptr<lbm_response> Responder::handle_for(const ContextId& requester, std::uint64_t request)
{
    const std::lock_guard lock{mutex_};
    const WriterPtr writer = writer_for(requester);
    try {
        open(writer);
    } catch (const TransportError&) {
        // Whoever answers tries again and is told.
    }
    return std::make_unique<lbm_response>(lbm_response{shared_from_this(), writer, {request, 0}});
}

Responder::WriterPtr Responder::writer_for(const ContextId& requester)
{
    if (const auto found = known_.find(requester); found != known_.end()) {
        if (WriterPtr writer = found->second.lock(); writer && !writer->gone()) {
            return writer;
        }
    }
    if (known_.size() >= known_looked_at_) {
        std::erase_if(known_, [](const auto& item) { return item.second.expired(); });
        known_looked_at_ = 2 * known_.size() + limits_.idle;
    }
    auto writer = std::make_shared<AnswerWriter>(self_, requester, policy_, flusher_);
    known_.insert_or_assign(requester, writer);
    return writer;
}

/// False: there are too many, see `make_room`.
bool Responder::open(const WriterPtr& writer)
{
    if (stopped_) {
        throw TransportError(LBM_EOP, "the context is deleted");
    }
    if (!topic_) {
        topic_ = make_packet_topic(participant_, answers_topic);
    }
    const bool known = std::find(open_.begin(), open_.end(), writer) != open_.end();
    if (!known && !make_room()) {
        return false;
    }
    writer->open(participant_, topic_.get());
    if (!known) {
        open_.push_back(writer);
    }
    if (!armed_) {
        flusher_.arm(weak_from_this(), std::chrono::steady_clock::now() + sweep_interval);
        armed_ = true;
    }
    return true;
}

bool Responder::make_room()
{
    if (open_.size() >= limits_.idle) {
        forget_vanished();
        close_idle();
    }
    return open_.size() < limits_.all;
}

void Responder::close_idle()
{
    std::vector<std::pair<std::chrono::steady_clock::time_point, WriterPtr>> by_use;
    by_use.reserve(open_.size());
    for (const WriterPtr& writer : open_) {
        by_use.emplace_back(writer->last_used(), writer); // once: others answer meanwhile, and an order must hold still
    }
    std::sort(by_use.begin(), by_use.end());
    for (const auto& [used, writer] : by_use) {
        if (open_.size() < limits_.idle) {
            break;
        }
        if (writer->close_if_idle()) {
            std::erase(open_, writer);
        }
    }
}

void Responder::forget_vanished()
{
    std::erase_if(open_, [](const WriterPtr& writer) { return writer->gone(); });
}

void Responder::send(lbm_response& response, std::string_view payload, const SendWait& wait)
{
    while (!response.writer->send(response.to, payload, wait)) {
        Lock lock{mutex_};
        while (!open(response.writer)) {
            wait_for_room(lock, room_, wait, "too many requesters have not acknowledged their answers",
                          writers_retry_interval);
        }
    }
}

std::optional<std::chrono::steady_clock::time_point> Responder::flush() noexcept
{
    const std::lock_guard lock{mutex_};
    armed_ = false;
    forget_vanished();
    if (stopped_ || open_.empty()) {
        return std::nullopt;
    }
    armed_ = true;
    return std::chrono::steady_clock::now() + sweep_interval;
}

std::size_t Responder::open_writers() const
{
    const std::lock_guard lock{mutex_};
    return open_.size();
}

void Responder::stop() noexcept
{
    {
        const std::lock_guard lock{mutex_};
        stopped_ = true;
        for (const WriterPtr& writer : open_) {
            writer->stop();
        }
    }
    room_.notify_all();
}

bool Responder::close(std::chrono::steady_clock::time_point deadline) noexcept
{
    stop();
    Lock lock{mutex_};
    const std::vector<WriterPtr> writers = std::exchange(open_, {});
    const auto busy = [](const WriterPtr& writer) { return !writer->drained(); };
    // All in each round: what one sends must not wait for what another is to acknowledge.
    auto left = std::count_if(writers.begin(), writers.end(), busy);
    while (left > 0 && std::chrono::steady_clock::now() < deadline) {
        room_.wait_for(lock, retry_interval);
        left = std::count_if(writers.begin(), writers.end(), busy);
    }
    for (const WriterPtr& writer : writers) {
        writer->close();
    }
    topic_.reset();
    return left == 0;
}

} // namespace qx::transport
