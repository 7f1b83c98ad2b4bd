#include "router.h"

#include <algorithm>

#include "request.h"
#include "source_watch.h"

namespace qx::transport {

void Router::handle(Delivery& delivery, TimePoint now)
{
    switch (delivery.what) {
    case Delivery::What::begin:
        join(delivery);
        break;
    case Delivery::What::data:
    case Delivery::What::loss:
        pass(delivery);
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

void Router::join(Delivery& delivery)
{
    Receiver& receiver = *delivery.receiver;
    delivery.source->targets.push_back(delivery.receiver);
    receiver.sources.insert(delivery.source.get());
    receiver.absent_at.reset();
    receiver.deliver(Delivery::What::begin, delivery.source, *delivery.message);
}

void Router::end(Delivery& delivery, TimePoint now)
{
    pass(delivery);
    for (const auto& receiver : delivery.source->targets) {
        receiver->sources.erase(delivery.source.get());
        await_source(*receiver, now);
    }
    delivery.source->targets.clear();
}

void Router::await_source(Receiver& receiver, TimePoint now)
{
    if (!receiver.sources.empty() || receiver.absence.count() == 0) {
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
    await_source(*receiver, now);
}

void Router::detach(const std::shared_ptr<Receiver>& receiver)
{
    std::erase(receivers_, receiver);
    for (RemoteSource* const source : receiver->sources) {
        std::erase(source->targets, receiver);
    }
    receiver->sources.clear();
}

} // namespace qx::transport
