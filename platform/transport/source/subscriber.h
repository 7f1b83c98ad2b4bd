/// The receiving half of a context: its receivers, and the thread that calls them.
#pragma once

#include <memory>
#include <mutex>
#include <unordered_set>

#include "intake.h"
#include "mailbox.h"
#include "receiver.h"
#include "router.h"
#include "thread.h"

namespace qx::transport {

/// Threads   any; nothing here is started before the first receiver or watch.
class Subscriber {
public:
    Subscriber(dds_entity_t participant, std::size_t queue_bytes_max);

    /// From now on the receiver is called. Throws TransportError.
    void attach(const std::shared_ptr<Receiver>& receiver);

    /// The receiver must be closed before.
    void detach(const std::shared_ptr<Receiver>& receiver);

    /// From now on the source's application is told of its receivers.
    void watch(const std::shared_ptr<SourceWatch>& source);

    /// The watch must be closed before.
    void unwatch(const std::shared_ptr<SourceWatch>& source);

    /// Closes every receiver and watch and stops. May be called from a callback; twice is harmless.
    void close();

private:
    /// What the context's thread works on. The thread shares it: a callback that deletes its own context leaves the
    /// thread to end by itself.
    struct Delivering {
        explicit Delivering(std::size_t queue_bytes_max)
            : mailbox(queue_bytes_max)
        {
        }
        Mailbox mailbox;
        Router router;
    };

    void start();

    const dds_entity_t participant_;
    std::shared_ptr<Delivering> delivering_;
    std::mutex mutex_;
    std::unordered_set<std::shared_ptr<Receiver>> receivers_;
    std::unordered_set<std::shared_ptr<SourceWatch>> watches_;
    std::unique_ptr<Intake> intake_;
    Thread thread_;
    bool closed_ = false;
};

} // namespace qx::transport
