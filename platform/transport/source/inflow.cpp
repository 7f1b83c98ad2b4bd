#include "inflow.h"

#include <utility>

#include "responder.h"

namespace qx::transport {

Inflow::Inflow(Mailbox& out, Counters& counters, MakeResponse make_response)
    : out_(out)
    , counters_(counters)
    , make_response_(std::move(make_response))
{
}

void Inflow::add(const std::shared_ptr<Receiver>& receiver)
{
    out_.post({Delivery::What::attach, receiver, nullptr, nullptr, 0, 0, nullptr});
    for (const SourcePtr& source : interest_.add(receiver)) {
        join(receiver, source);
    }
}

void Inflow::remove(const std::shared_ptr<Receiver>& receiver)
{
    interest_.remove(receiver);
    out_.post({Delivery::What::detach, receiver, nullptr, nullptr, 0, 0, nullptr});
}

void Inflow::join(const std::shared_ptr<Receiver>& receiver, const SourcePtr& source)
{
    source->joined = true;
    out_.post(
        {Delivery::What::begin, receiver, source, Message::make(source, LBM_MSG_BOS, source->next), 0, 0, nullptr});
}

void Inflow::begun(const SourcePtr& source, std::uint32_t next)
{
    counters_.sources.add();
    source->next = next;
    interest_.begin(source);
    for (const auto& receiver : source->wanted_by) {
        join(receiver, source);
    }
}

void Inflow::data(const SourcePtr& source, const WireMessage& m)
{
    source->next = m.sequence + 1;
    if (source->wanted_by.empty()) {
        counters_.messages_unwanted.add();
        return;
    }
    counters_.messages_received.add();
    counters_.bytes_received.add(m.payload.size());
    const bool request = m.kind == Kind::request;
    MessagePtr message = Message::make(source, request ? LBM_MSG_REQUEST : LBM_MSG_DATA, m.sequence, m.payload);
    if (request) {
        message->answer_through(make_response_(source->context, request_number(m)));
    }
    out_.post({Delivery::What::data, nullptr, source, std::move(message), 0, 0, nullptr});
}

void Inflow::lost(const SourcePtr& source, std::uint32_t first, std::uint32_t last)
{
    source->next = last + 1;
    if (!source->wanted_by.empty()) {
        counters_.messages_lost.add(last - first + 1);
        out_.post_loss(nullptr, source, first, last);
    }
}

void Inflow::ended(const SourcePtr& source, std::uint32_t next)
{
    counters_.sources.subtract();
    interest_.end(source);
    if (source->joined) {
        out_.post({Delivery::What::end, nullptr, source, Message::make(source, LBM_MSG_EOS, next), 0, 0, nullptr});
    }
}

} // namespace qx::transport
