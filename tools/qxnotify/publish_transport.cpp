#include "qxnotify/publish_transport.h"

#include "qxnotify/notification_names.h"

namespace qx::tool {

TransportSender::TransportSender(double listener_wait_seconds, StopSignals& stop)
    : m_listenerWaitSeconds(listener_wait_seconds)
    , m_stop(stop)
    , m_context(open_context(price_context_name, AtEnd::waits))
{
}

SendResult TransportSender::wait_for_listener(TopicSource& source)
{
    if (m_listenerWaitSeconds <= 0) {
        return SendResult::sent;
    }
    switch (source.wait_for_receiver(m_listenerWaitSeconds, m_stop)) {
    case Woken::stopped:
        return SendResult::stopped;
    case Woken::timed_out:
        return SendResult::no_listener;
    case Woken::ready:
        break;
    }
    return SendResult::sent;
}

SendResult TransportSender::send_on(const std::string& topic, const TopicSource& source, std::string_view payload)
{
    const auto send = [&] { return lbm_src_send(source.get(), payload.data(), payload.size(), LBM_SRC_NONBLOCK); };
    return send_when_possible(send, "lbm_src_send", topic, m_stop) ? SendResult::sent : SendResult::stopped;
}

SendResult TransportSender::send(std::uint64_t market, Fate fate, std::string_view payload)
{
    const std::string topic = topic_of(market, fate);
    auto found = m_sources.find(topic);
    if (found == m_sources.end()) {
        if (m_sources.size() == topics_max) {
            return SendResult::too_many_topics;
        }
        found = m_sources.try_emplace(topic, m_context.get(), topic).first;
        if (const SendResult result = wait_for_listener(found->second); result != SendResult::sent) {
            return result;
        }
    }
    return send_on(topic, found->second, payload);
}

} // namespace qx::tool
