#include "qxnotify/transport.h"

namespace qx::tool {

namespace {

/// A full transport is tried again after this; it does not tell when there is room.
constexpr double retry_interval_seconds = 0.001;

struct AttributesDelete {
    void operator()(lbm_context_attr_t* attributes) const noexcept { lbm_context_attr_delete(attributes); }
};

/// Not every transport says in its reason which call it was; ours does, and with its own subject.
std::string located(const std::string& reason, std::string_view call, std::string_view subject)
{
    const std::string begin = std::string{call} + "(";
    return reason.starts_with(begin) ? reason : begin + std::string{subject} + "): " + reason;
}

} // namespace

TransportError::TransportError(std::string_view call, std::string_view subject)
    : std::runtime_error(located(lbm_errmsg(), call, subject) + " [" + std::to_string(lbm_errnum()) + "]")
{
}

void check_transport(int result, std::string_view call, std::string_view subject)
{
    if (result == LBM_FAILURE) {
        throw TransportError(call, subject);
    }
}

ContextHandle open_context(const std::string& name, AtEnd at_end)
{
    lbm_context_attr_t* raw_attributes = nullptr;
    check_transport(lbm_context_attr_create_from_xml(&raw_attributes, name.c_str()), "lbm_context_attr_create_from_xml",
                    name);
    const std::unique_ptr<lbm_context_attr_t, AttributesDelete> attributes(raw_attributes);
    if (at_end == AtEnd::leaves) {
        lbm_context_attr_str_setopt(attributes.get(), "close_wait_ms", "0"); // unknown to a transport that never waits
    }
    lbm_context_t* context = nullptr;
    check_transport(lbm_context_create(&context, attributes.get(), nullptr, nullptr), "lbm_context_create", name);
    return ContextHandle(context);
}

TopicSource::TopicSource(lbm_context_t* context, const std::string& topic)
{
    lbm_topic_t* lbm_topic = nullptr;
    check_transport(lbm_src_topic_alloc(&lbm_topic, context, topic.c_str(), nullptr), "lbm_src_topic_alloc", topic);
    lbm_src_t* handle = nullptr;
    check_transport(lbm_src_create(&handle, context, lbm_topic, &on_event, &m_connected, nullptr), "lbm_src_create",
                    topic);
    m_handle.reset(handle);
}

int TopicSource::on_event(lbm_src_t* /*source*/, int event, void* /*event_data*/, void* clientd) noexcept
{
    if (event == LBM_SRC_EVENT_CONNECT) {
        static_cast<Waker*>(clientd)->wake();
    }
    return 0;
}

Woken TopicSource::wait_for_receiver(double seconds, StopSignals& stop)
{
    return wait_for(m_connected.fd(), stop, deadline_in(seconds));
}

bool send_when_possible(const std::function<int()>& send, std::string_view call, std::string_view subject,
                        StopSignals& stop)
{
    while (send() == LBM_FAILURE) {
        if (lbm_errnum() != LBM_EWOULDBLOCK) {
            throw TransportError(call, subject);
        }
        if (wait_for(-1, stop, deadline_in(retry_interval_seconds)) == Woken::stopped) {
            return false;
        }
    }
    return true;
}

} // namespace qx::tool
