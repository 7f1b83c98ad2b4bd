/// Sending over the transport.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>

#include <lbm/lbm.h>

#include "qxnotify/publish_sender.h"
#include "qxnotify/signals.h"

namespace qx::tool {

/// A transport call failed: the call, what it was about, and the transport's reason.
class TransportError : public std::runtime_error {
public:
    TransportError(std::string_view call, std::string_view subject);
};

/// The real one. The context is configured like the listener's, by the name "PriceEnvironmentContext".
/// Errors    constructor and send throw TransportError.
/// Lifetime  destruction waits, for a moment, until the transport has handed over what was sent.
class TransportSender : public Sender {
public:
    /// Before a topic's first message, waits so long for a receiver; 0 does not wait.
    TransportSender(double listener_wait_seconds, StopSignals& stop);

    SendResult send(std::uint64_t market, Fate fate, std::string_view payload) override;

private:
    struct ContextDelete {
        void operator()(lbm_context_t* context) const noexcept { lbm_context_delete(context); }
    };
    struct SourceDelete {
        void operator()(lbm_src_t* source) const noexcept { lbm_src_delete(source); }
    };
    /// The waker is the callback's: it must not move, and must be there as long as the source.
    struct Source {
        Waker connected;
        std::unique_ptr<lbm_src_t, SourceDelete> handle;
    };

    static std::unique_ptr<lbm_context_t, ContextDelete> open_context();
    static int on_event(lbm_src_t* source, int event, void* event_data, void* clientd) noexcept;
    void open_source(const std::string& topic, Source& source);
    SendResult wait_for_listener(Source& source);
    SendResult send_on(const std::string& topic, Source& source, std::string_view payload);

    const double m_listenerWaitSeconds;
    StopSignals& m_stop;
    std::unique_ptr<lbm_context_t, ContextDelete> m_context;
    std::map<std::string, Source> m_sources; ///< after the context, so that they go first
};

} // namespace qx::tool
