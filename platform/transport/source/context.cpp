#include "context.h"

#include <algorithm>
#include <chrono>
#include <utility>

#include "context_warnings.h"
#include "deadline.h"

namespace qx::transport {
namespace {

FlushPolicy flush_policy(const Options& options)
{
    return {static_cast<std::size_t>(options.get_integer("frame_bytes_max")),
            std::chrono::microseconds{options.get_integer("flush_gap_us")},
            static_cast<std::size_t>(options.get_integer("send_window_bytes"))};
}

/// Permissions speak of first tokens: a stream of all topics would be beside them.
bool is_bound_to_permissions(const Options& options)
{
    return SecurityFiles{options}.given();
}

SourceOrder source_order(const Options& options)
{
    if (options.get_text("source_order") == "token") {
        return SourceOrder::token;
    }
    if (is_bound_to_permissions(options)) {
        throw TransportError(LBM_EINVAL,
                             "option \"source_order\" cannot be \"context\" with security, since permissions "
                             "are given for first topic tokens; leave it at \"token\"");
    }
    return SourceOrder::context;
}

AnswerPolicy answer_policy(const Options& options)
{
    return {static_cast<std::size_t>(options.get_integer("response_window_messages")),
            std::chrono::milliseconds{options.get_integer("lease_ms")}};
}

} // namespace

Context::Context(ContextSettings settings)
    : settings_(std::move(settings))
    , domain_(DomainSettings{settings_.options})
    , counters_(make_counters())
    , publisher_(domain_.participant(), domain_.context_id(), source_order(settings_.options),
                 flush_policy(settings_.options), domain_.flusher(), counters_)
    , responder_(std::make_shared<Responder>(domain_.participant(), domain_.context_id(),
                                             answer_policy(settings_.options), domain_.flusher()))
    , subscriber_(domain_.participant(), domain_.context_id(),
                  static_cast<std::size_t>(settings_.options.get_integer("receive_queue_bytes_max")), *responder_,
                  counters_, {!is_bound_to_permissions(settings_.options), FaultPolicy{settings_.options}})
{
}

Context::~Context()
{
    close();
}

void Context::close()
{
    {
        const std::lock_guard lock{mutex_};
        closed_ = true;
    }
    unblocked_.notify_all();
    responder_->stop(); // a callback that waits for a requester or for room must not hold up the end of its receiver
    publisher_.stop();
    subscriber_.close();
    const std::chrono::milliseconds patience{settings_.options.get_integer("close_wait_ms")};
    const Clock::time_point deadline = Clock::now() + patience;
    const bool heard = publisher_.close(deadline);
    const bool answered = responder_->close(deadline);
    if (!(heard && answered)) {
        warn_of_unacknowledged(settings_.options);
    }
}

lbm_topic* Context::make_topic(const char* name, Options options)
{
    const std::lock_guard lock{mutex_};
    const auto [first, last] = topics_.equal_range(name);
    const auto known = std::find_if(first, last, [&](const auto& t) { return t.second->options == options; });
    if (known != last) {
        return known->second.get();
    }
    return topics_.emplace(name, std::make_unique<lbm_topic>(lbm_topic{name, std::move(options), this}))->second.get();
}

void Context::process_events(unsigned long timeout_ms)
{
    std::unique_lock lock{mutex_};
    const auto unblocked = [this] { return closed_ || unblocks_ > 0; };
    if (const auto deadline = deadline_after(timeout_ms)) {
        unblocked_.wait_until(lock, *deadline, unblocked);
    } else {
        unblocked_.wait(lock, unblocked);
    }
    unblocks_ -= unblocks_ > 0 ? 1 : 0;
}

void Context::unblock()
{
    {
        const std::lock_guard lock{mutex_};
        ++unblocks_;
    }
    unblocked_.notify_one();
}

} // namespace qx::transport
