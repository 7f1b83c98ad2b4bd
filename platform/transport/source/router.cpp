#include "router.h"

#include <algorithm>

#include "request.h"
#include "source_watch.h"

namespace qx::transport {
namespace {

/// What nobody wanted was never queued: the first receiver begins with what arrives from now on.
void start_at_arrivals(RemoteSource& source)
{
    const Arrivals::Seen seen = source.arrivals.want();
    source.routed = seen.next;
    source.begin_at = seen.any ? std::optional{seen.next} : std::nullopt;
}

} // namespace

void Router::handle(Delivery& delivery, TimePoint now)
{
    switch (delivery.what) {
    case Delivery::What::begin:
        begin(delivery);
        break;
    case Delivery::What::data:
        forward(delivery, delivery.message->sequence_number + 1);
        break;
    case Delivery::What::loss:
        forward(delivery, delivery.last + 1);
        break;
    case Delivery::What::end:
        end(delivery, now);
        break;
    case Delivery::What::attach:
        attach(delivery.receiver, now);
        break;
    case Delivery::What::detach:
        detach(delivery.receiver);
        break;
    case Delivery::What::source_event:
        delivery.watch->deliver(static_cast<int>(delivery.first));
        break;
    case Delivery::What::answer:
        delivery.request->deliver(*delivery.message);
        break;
    case Delivery::What::absence:
        break; // made here, never taken from the queue
    }
}

void Router::begin(Delivery& delivery)
{
    RemoteSource& source = *delivery.source;
    for (const auto& receiver : receivers_) {
        if (receiver->matches(source.topic)) {
            join(source, receiver);
        }
    }
    if (source.targets.empty()) {
        source.arrivals.unwant();
    }
    source.routed = delivery.message->sequence_number;
    sources_.insert(delivery.source);
    pass(delivery);
}

void Router::end(Delivery& delivery, TimePoint now)
{
    pass(delivery);
    for (const auto& receiver : delivery.source->targets) {
        --receiver->sources;
        await_source(*receiver, now);
    }
    delivery.source->targets.clear();
    sources_.erase(delivery.source);
}

void Router::join(RemoteSource& source, const std::shared_ptr<Receiver>& receiver)
{
    source.targets.push_back(receiver);
    ++receiver->sources;
    receiver->absent_at.reset();
}

void Router::await_source(Receiver& receiver, TimePoint now)
{
    if (receiver.sources > 0 || receiver.absence.count() == 0) {
        return;
    }
    receiver.absent_at = now + receiver.absence;
    next_due_ = std::min(next_due_.value_or(*receiver.absent_at), *receiver.absent_at);
}

void Router::tick(TimePoint now)
{
    if (!next_due_ || now < *next_due_) {
        return;
    }
    next_due_.reset();
    for (const auto& receiver : receivers_) {
        if (receiver->absent_at && *receiver->absent_at <= now) {
            receiver->absent_at.reset();
            receiver->miss();
        } else if (receiver->absent_at) {
            next_due_ = std::min(next_due_.value_or(*receiver->absent_at), *receiver->absent_at);
        }
    }
}

/// `next` is the number that follows the data or loss.
void Router::forward(Delivery& delivery, std::uint32_t next)
{
    RemoteSource& source = *delivery.source;
    if (source.begin_at) {
        // It was queued for receivers that are gone, and what followed it may not have been: a hole without a loss.
        if (static_cast<std::int32_t>(next - *source.begin_at) <= 0) {
            return;
        }
        source.begin_at.reset();
    }
    source.routed = next;
    pass(delivery);
}

void Router::pass(Delivery& delivery)
{
    for (const auto& receiver : delivery.source->targets) {
        if (delivery.what == Delivery::What::loss) {
            receiver->lose(delivery.source, delivery.first, delivery.last);
        } else {
            receiver->deliver(delivery.what, delivery.source, *delivery.message);
        }
    }
}

void Router::attach(const std::shared_ptr<Receiver>& receiver, TimePoint now)
{
    receivers_.push_back(receiver);
    for (const SourcePtr& source : sources_) {
        if (!receiver->matches(source->topic)) {
            continue;
        }
        if (source->targets.empty()) {
            start_at_arrivals(*source);
        }
        join(*source, receiver);
        receiver->deliver(Delivery::What::begin, source, *Message::make(source, LBM_MSG_BOS, source->routed));
    }
    await_source(*receiver, now);
}

void Router::detach(const std::shared_ptr<Receiver>& receiver)
{
    std::erase(receivers_, receiver);
    for (const SourcePtr& source : sources_) {
        std::erase(source->targets, receiver);
        if (source->targets.empty()) {
            source->arrivals.unwant();
        }
    }
}

} // namespace qx::transport
