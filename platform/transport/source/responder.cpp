#include "responder.h"

#include <algorithm>

#include "wire_qos.h"

namespace qx::transport {
namespace {

constexpr std::chrono::seconds sweep_interval{1};

} // namespace

Responder::Responder(dds_entity_t participant, const ContextId& self, AnswerPolicy policy, Flusher& flusher)
    : participant_(participant)
    , self_(self)
    , policy_(policy)
    , flusher_(flusher)
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
        known_looked_at_ = 2 * known_.size() + idle_answer_writers_max;
    }
    auto writer = std::make_shared<AnswerWriter>(self_, requester, policy_, flusher_);
    known_.insert_or_assign(requester, writer);
    return writer;
}

void Responder::open(const WriterPtr& writer)
{
    if (stopped_) {
        throw TransportError(LBM_EOP, "the context is deleted");
    }
    if (!topic_) {
        topic_ = make_packet_topic(participant_, answers_topic);
    }
    if (std::find(open_.begin(), open_.end(), writer) != open_.end()) {
        writer->open(participant_, topic_.get());
        return;
    }
    make_room();
    writer->open(participant_, topic_.get());
    open_.push_back(writer);
    if (!armed_) {
        flusher_.arm(weak_from_this(), std::chrono::steady_clock::now() + sweep_interval);
        armed_ = true;
    }
}

void Responder::make_room()
{
    if (open_.size() < idle_answer_writers_max) {
        return;
    }
    forget_vanished();
    std::sort(open_.begin(), open_.end(),
              [](const WriterPtr& a, const WriterPtr& b) { return a->last_used() < b->last_used(); });
    for (auto oldest = open_.begin(); open_.size() >= idle_answer_writers_max && oldest != open_.end();) {
        oldest = (*oldest)->close_if_idle() ? open_.erase(oldest) : std::next(oldest);
    }
    if (open_.size() >= answer_writers_max) {
        throw TransportError(LBM_EWOULDBLOCK, "too many requesters have not acknowledged their answers yet");
    }
}

void Responder::forget_vanished()
{
    std::erase_if(open_, [](const WriterPtr& writer) { return writer->gone(); });
}

void Responder::send(lbm_response& response, std::string_view payload, const SendWait& wait)
{
    while (!response.writer->send(response.to, payload, wait)) {
        const std::lock_guard lock{mutex_};
        open(response.writer);
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
    const std::lock_guard lock{mutex_};
    stopped_ = true;
    for (const WriterPtr& writer : open_) {
        writer->stop();
    }
}

void Responder::close(std::chrono::steady_clock::time_point deadline) noexcept
{
    stop();
    std::vector<WriterPtr> writers;
    {
        const std::lock_guard lock{mutex_};
        writers.swap(open_);
    }
    for (const WriterPtr& writer : writers) {
        writer->drain(deadline);
    }
    const std::lock_guard lock{mutex_};
    topic_.reset();
}

} // namespace qx::transport
