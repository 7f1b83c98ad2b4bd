#include "router.h"

#include <algorithm>

#include "source_watch.h"

namespace qx::transport {

void Router::handle(Delivery& delivery)
{
    switch (delivery.what) {
    case Delivery::What::begin:
        begin(delivery);
        break;
    case Delivery::What::data:
        delivery.source->routed = delivery.message->sequence_number + 1;
        pass(delivery);
        break;
    case Delivery::What::loss:
        delivery.source->routed = delivery.last + 1;
        pass(delivery);
        break;
    case Delivery::What::end:
        pass(delivery);
        delivery.source->targets.clear();
        sources_.erase(delivery.source);
        break;
    case Delivery::What::attach:
        attach(delivery.receiver);
        break;
    case Delivery::What::detach:
        detach(delivery.receiver);
        break;
    case Delivery::What::source_event:
        delivery.watch->deliver(static_cast<int>(delivery.first));
        break;
    }
}

void Router::begin(Delivery& delivery)
{
    RemoteSource& source = *delivery.source;
    for (const auto& receiver : receivers_) {
        if (receiver->matches(source.topic)) {
            source.targets.push_back(receiver);
        }
    }
    source.wanted = !source.targets.empty();
    source.routed = delivery.message->sequence_number;
    sources_.insert(delivery.source);
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

void Router::attach(const std::shared_ptr<Receiver>& receiver)
{
    receivers_.push_back(receiver);
    for (const SourcePtr& source : sources_) {
        if (receiver->matches(source->topic)) {
            // What nobody wanted was never queued, so then the number to begin with is that of the arrivals.
            const std::uint32_t next = source->targets.empty() ? source->arrived.load() : source->routed;
            source->targets.push_back(receiver);
            source->wanted = true;
            receiver->deliver(Delivery::What::begin, source, *Message::make(source, LBM_MSG_BOS, next));
        }
    }
}

void Router::detach(const std::shared_ptr<Receiver>& receiver)
{
    std::erase(receivers_, receiver);
    for (const SourcePtr& source : sources_) {
        std::erase(source->targets, receiver);
        source->wanted = !source->targets.empty();
    }
}

} // namespace qx::transport
