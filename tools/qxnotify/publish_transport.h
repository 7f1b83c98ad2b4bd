/// Sending over the transport.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>

#include "qxnotify/publish_sender.h"
#include "qxnotify/transport.h"

namespace qx::tool {

/// The real one. The context is configured like the listener's, by the name "PriceEnvironmentContext".
/// Errors    constructor and send throw TransportError.
/// Lifetime  destruction waits, for a moment, until the transport has handed over what was sent.
class TransportSender : public Sender {
public:
    /// Before a topic's first message, waits so long for a receiver; 0 does not wait.
    TransportSender(double listener_wait_seconds, StopSignals& stop);

    SendResult send(std::uint64_t market, Fate fate, std::string_view payload) override;

private:
    SendResult wait_for_listener(TopicSource& source);
    SendResult send_on(const std::string& topic, const TopicSource& source, std::string_view payload);

    const double m_listenerWaitSeconds;
    StopSignals& m_stop;
    ContextHandle m_context;
    std::map<std::string, TopicSource> m_sources; ///< after the context, so that they go first
};

} // namespace qx::tool
