/// Event queues: deliveries run on the thread that dispatches.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "gate.h"
#include "mailbox.h"

namespace qx::transport {

/// Any number of threads may dispatch. Receivers share the queue: one that was shut down stays as an empty shell for
/// those that still refer to it.
class EventQueue {
public:
    explicit EventQueue(std::size_t bytes_max)
        : mailbox_(bytes_max, std::make_shared<Counters>())
    {
    }

    Mailbox& mailbox() noexcept { return mailbox_; }

    /// See lbm_event_dispatch. Throws TransportError (LBM_EOP) when the queue was shut down before.
    int dispatch(unsigned long timeout_ms);

    void shutdown() noexcept { mailbox_.close(); }

    /// Shuts down and waits until no other thread dispatches.
    void close();

private:
    int dispatch_present();
    int dispatch_until(Mailbox::Deadline deadline);

    Mailbox mailbox_;
    Gate dispatchers_;
};

} // namespace qx::transport
