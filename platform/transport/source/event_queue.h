/// Event queues: deliveries run on the thread that dispatches.
#pragma once

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <utility>

#include "gate.h"
#include "mailbox.h"
#include "options.h"

namespace qx::transport {

/// Any number of threads may dispatch. Receivers share the queue: one that was shut down stays as an empty shell for
/// those that still refer to it.
class EventQueue {
public:
    explicit EventQueue(Options options)
        : options_(std::move(options))
        , mailbox_(bytes_max(options_), std::make_shared<Counters>())
    {
    }

    /// What nobody has set on the queue itself is as the first context says on which it is used.
    template <class MakeOptions>
    void configure(MakeOptions defaults)
    {
        std::call_once(configured_, [&] {
            options_.fill_from(defaults());
            mailbox_.set_bytes_max(bytes_max(options_));
        });
    }

    Mailbox& mailbox() noexcept { return mailbox_; }

    /// See lbm_event_dispatch. Throws TransportError (LBM_EOP) when the queue was shut down before.
    int dispatch(unsigned long timeout_ms);

    void shutdown() { static_cast<void>(mailbox_.close()); } // dispatchers need only what they took

    /// Shuts down and waits until no other thread dispatches.
    void close();

private:
    static std::size_t bytes_max(const Options& options)
    {
        return static_cast<std::size_t>(options.get_integer("queue_bytes_max"));
    }
    int dispatch_present();
    int dispatch_until(Mailbox::Deadline deadline);

    Options options_;
    std::once_flag configured_;
    Mailbox mailbox_;
    Gate dispatchers_;
};

} // namespace qx::transport
