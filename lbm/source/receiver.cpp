#include <lbm/receiver.h>

#include "calls.h"
#include "catalogue.h"
#include "current_message.h"

namespace lbm {
namespace {

lbm_event_queue_t* HandleOf(EventQueue* eq) noexcept
{
    return eq != nullptr ? static_cast<lbm_event_queue_t*>(*eq) : nullptr;
}

lbm_topic_t* Lookup(Context& ctx, const String& topic, const lbm_rcv_topic_attr_t* attributes)
{
    lbm_topic_t* found = nullptr;
    details::Check(lbm_rcv_topic_lookup(&found, ctx, topic.c_str(), attributes), details::failure::lookupTopic);
    return found;
}

/// What both trampolines do. An exception passes through: it gives back the message's reference but leaves the current
/// message set, for the terminate handler that runs next.
void Deliver(const BaseReceiver::Callback& callback, lbm_msg_t* msg)
{
    Message message(msg);
    const details::RunningCallback running(msg);
    callback(std::move(message));
    running.Returned();
}

} // namespace

template <>
void details::Close<lbm_rcv_t>::operator()(lbm_rcv_t* handle) const noexcept
{
    lbm_rcv_delete(handle);
}

template <>
void details::Close<lbm_wildcard_rcv_t>::operator()(lbm_wildcard_rcv_t* handle) const noexcept
{
    lbm_wildcard_rcv_delete(handle);
}

ReceiverTopic::ReceiverTopic(Context& ctx, const String& topic, const ReceiverTopicAttributes& attributes)
    : m_str(topic)
    , m_topic(Lookup(ctx, m_str, attributes))
{
}

ReceiverTopic::ReceiverTopic(Context& ctx, const String& topic)
    : m_str(topic)
    , m_topic(Lookup(ctx, m_str, nullptr))
{
}

Receiver::Receiver(Context& ctx, ReceiverTopic topic, Callback cb, EventQueue* eq)
    : m_cbk(std::move(cb))
    , m_topic(topic.GetString())
{
    LBM_LOG(QXLOG_INFO, line::receiverCreating) << "Creating receiver on topic=" << m_topic;
    m_rcv = details::Open<lbm_rcv_t>(details::failure::createReceiver, [&](lbm_rcv_t** rcv) {
        return lbm_rcv_create(rcv, ctx, topic, &Receiver::LbmCallback, this, HandleOf(eq));
    });
}

Receiver::~Receiver()
{
    LBM_LOG(QXLOG_INFO, line::receiverDeleting) << "Deleting receiver on topic=" << m_topic;
    // Here, not by the member, so that no callback runs against a function that is gone; without a handle too, which
    // the transport refuses by itself. Released afterwards: callbacks may use the handle until the deletion returns.
    lbm_rcv_delete(m_rcv.get());
    static_cast<void>(m_rcv.release());
}

void Receiver::SetString(const char* name, const char* value)
{
    details::Check(lbm_rcv_str_setopt(m_rcv.get(), name, value), details::failure::setReceiverOption);
}

int Receiver::LbmCallback(lbm_rcv_t*, lbm_msg_t* msg, void* clientd)
{
    const auto* receiver = static_cast<const Receiver*>(clientd);
    if (receiver != nullptr && receiver->m_cbk) {
        Deliver(receiver->m_cbk, msg);
    }
    return 0;
}

WildcardReceiver::WildcardReceiver(Context& ctx, const String& pattern, Callback cb, EventQueue* eq,
                                   const ReceiverTopicAttributes& topicAttributes,
                                   const WildcardReceiverAttributes& wildcardAttributes)
    : m_cbk(std::move(cb))
    , m_topic(pattern)
{
    LBM_LOG(QXLOG_INFO, line::wildcardReceiverCreating) << "Creating wildcard receiver on topic=" << m_topic;
    m_rcv = details::Open<lbm_wildcard_rcv_t>(details::failure::createReceiver, [&](lbm_wildcard_rcv_t** rcv) {
        return lbm_wildcard_rcv_create(rcv, ctx, m_topic.c_str(), topicAttributes, wildcardAttributes,
                                       &WildcardReceiver::LbmCallback, this, HandleOf(eq));
    });
}

WildcardReceiver::~WildcardReceiver()
{
    LBM_LOG(QXLOG_INFO, line::wildcardReceiverDeleting) << "Deleting wildcard receiver on topic=" << m_topic;
    lbm_wildcard_rcv_delete(m_rcv.get()); // as in ~Receiver
    static_cast<void>(m_rcv.release());
}

void WildcardReceiver::SetString(const char* name, const char* value)
{
    details::Check(lbm_wildcard_rcv_str_setopt(m_rcv.get(), name, value), details::failure::setWildcardReceiverOption);
}

int WildcardReceiver::LbmCallback(lbm_rcv_t*, lbm_msg_t* msg, void* clientd)
{
    const auto* receiver = static_cast<const WildcardReceiver*>(clientd);
    if (receiver != nullptr && receiver->m_cbk) {
        Deliver(receiver->m_cbk, msg);
    }
    return 0;
}

} // namespace lbm
