#include "qxnotify/publish_transport.h"

#include <chrono>

namespace qx::tool {

namespace {

/// A full transport is tried again after this; it does not tell when there is room.
constexpr double retry_interval_seconds = 0.001;

void check(int result, std::string_view call, std::string_view subject)
{
    if (result == LBM_FAILURE) {
        throw TransportError(call, subject);
    }
}

struct AttributesDelete {
    void operator()(lbm_context_attr_t* attributes) const noexcept { lbm_context_attr_delete(attributes); }
};

constexpr const char* context_name = "PriceEnvironmentContext";

} // namespace

TransportError::TransportError(std::string_view call, std::string_view subject)
    : std::runtime_error(std::string{call} + "(" + std::string{subject} + "): " + lbm_errmsg() + " [" +
                         std::to_string(lbm_errnum()) + "]")
{
}

TransportSender::TransportSender(double listener_wait_seconds, StopSignals& stop)
    : m_listenerWaitSeconds(listener_wait_seconds)
    , m_stop(stop)
    , m_context(open_context())
{
}

std::unique_ptr<lbm_context_t, TransportSender::ContextDelete> TransportSender::open_context()
{
    lbm_context_attr_t* raw_attributes = nullptr;
    check(lbm_context_attr_create_from_xml(&raw_attributes, context_name), "lbm_context_attr_create_from_xml",
          context_name);
    const std::unique_ptr<lbm_context_attr_t, AttributesDelete> attributes(raw_attributes);
    lbm_context_t* context = nullptr;
    check(lbm_context_create(&context, attributes.get(), nullptr, nullptr), "lbm_context_create", context_name);
    return std::unique_ptr<lbm_context_t, ContextDelete>(context);
}

int TransportSender::on_event(lbm_src_t* /*source*/, int event, void* /*event_data*/, void* clientd) noexcept
{
    if (event == LBM_SRC_EVENT_CONNECT) {
        static_cast<Waker*>(clientd)->wake();
    }
    return 0;
}

void TransportSender::open_source(const std::string& topic, Source& source)
{
    lbm_topic_t* lbm_topic = nullptr;
    check(lbm_src_topic_alloc(&lbm_topic, m_context.get(), topic.c_str(), nullptr), "lbm_src_topic_alloc", topic);
    lbm_src_t* handle = nullptr;
    check(lbm_src_create(&handle, m_context.get(), lbm_topic, &on_event, &source.connected, nullptr), "lbm_src_create",
          topic);
    source.handle.reset(handle);
}

SendResult TransportSender::wait_for_listener(Source& source)
{
    if (m_listenerWaitSeconds <= 0) {
        return SendResult::sent;
    }
    switch (wait_for(source.connected.fd(), m_stop, deadline_in(m_listenerWaitSeconds))) {
    case Woken::stopped:
        return SendResult::stopped;
    case Woken::timed_out:
        return SendResult::no_listener;
    case Woken::ready:
        break;
    }
    return SendResult::sent;
}

/// Never blocks in the transport, where a signal could not end it.
SendResult TransportSender::send_on(const std::string& topic, Source& source, std::string_view payload)
{
    while (lbm_src_send(source.handle.get(), payload.data(), payload.size(), LBM_SRC_NONBLOCK) == LBM_FAILURE) {
        if (lbm_errnum() != LBM_EWOULDBLOCK) {
            throw TransportError("lbm_src_send", topic);
        }
        if (wait_for(-1, m_stop, deadline_in(retry_interval_seconds)) == Woken::stopped) {
            return SendResult::stopped;
        }
    }
    return SendResult::sent;
}

SendResult TransportSender::send(std::uint64_t market, Fate fate, std::string_view payload)
{
    const std::string topic = topic_of(market, fate);
    auto found = m_sources.find(topic);
    if (found == m_sources.end()) {
        if (m_sources.size() == topics_max) {
            return SendResult::too_many_topics;
        }
        found = m_sources.try_emplace(topic).first;
        open_source(topic, found->second);
        if (const SendResult result = wait_for_listener(found->second); result != SendResult::sent) {
            return result;
        }
    }
    return send_on(topic, found->second, payload);
}

} // namespace qx::tool
