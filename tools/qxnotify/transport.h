/// What every verb that sends needs of the transport: a context, a source that knows when somebody is there, and sends
/// that a signal can end.
#pragma once

#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>

#include <lbm/lbm.h>

#include "qxnotify/signals.h"

namespace qx::tool {

/// A transport call failed: the call, what it was about, and the transport's reason.
class TransportError : public std::runtime_error {
public:
    TransportError(std::string_view call, std::string_view subject);
};

/// Throws TransportError for LBM_FAILURE.
void check_transport(int result, std::string_view call, std::string_view subject);

struct ContextDelete {
    void operator()(lbm_context_t* context) const noexcept { lbm_context_delete(context); }
};
using ContextHandle = std::unique_ptr<lbm_context_t, ContextDelete>;

/// What deleting a context does about receivers that have yet to acknowledge what was sent last.
enum class AtEnd { waits, leaves };

/// Of the transport alone, not an lbm::Context: that one would answer operations requests. Throws TransportError.
ContextHandle open_context(const std::string& name, AtEnd at_end);

/// A source and whether it has a receiver. Stays where it is: the transport's callback points at it.
class TopicSource {
public:
    /// Throws TransportError. The context must outlive it.
    TopicSource(lbm_context_t* context, const std::string& topic);

    lbm_src_t* get() const { return m_handle.get(); }
    /// The transport tells of the first receiver of the topic's transport only.
    Woken wait_for_receiver(double seconds, StopSignals& stop);

private:
    struct SourceDelete {
        void operator()(lbm_src_t* source) const noexcept { lbm_src_delete(source); }
    };
    static int on_event(lbm_src_t* source, int event, void* event_data, void* clientd) noexcept;

    Waker m_connected; ///< before the source, whose callback wakes it
    std::unique_ptr<lbm_src_t, SourceDelete> m_handle;
};

/// Repeats a non-blocking send until the transport has room for it: one that blocked could not be ended by a signal.
/// False when a signal came. Throws TransportError when the send fails for another reason.
bool send_when_possible(const std::function<int()>& send, std::string_view call, std::string_view subject,
                        StopSignals& stop);

} // namespace qx::tool
