/// The receiving half of a context: its receivers, and the thread that calls them.
#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <unordered_set>
#include <utility>

#include "counters.h"
#include "intake.h"
#include "mailbox.h"
#include "receiver.h"
#include "requester.h"
#include "responder.h"
#include "router.h"
#include "thread.h"

namespace qx::transport {

/// Threads   any; nothing here is started before the first receiver, watch or request.
class Subscriber {
public:
    /// `responder` must outlive `close`.
    Subscriber(dds_entity_t participant, const ContextId& self, std::size_t queue_bytes_max, Responder& responder,
               std::shared_ptr<Counters> counters, const HearingPolicy& policy);

    /// From now on the receiver is called. Throws TransportError.
    void attach(const std::shared_ptr<Receiver>& receiver);

    /// The receiver must be closed before.
    void detach(const std::shared_ptr<Receiver>& receiver);

    /// From now on the source's application is told of its receivers.
    void watch(const std::shared_ptr<SourceWatch>& source);

    /// The watch must be closed before.
    void unwatch(const std::shared_ptr<SourceWatch>& source);

    /// From now on answers to the request are delivered; gives the number that they are to bear. Throws
    /// TransportError.
    std::uint64_t open(const std::shared_ptr<Request>& request);

    /// The request must be closed before.
    void forget(std::uint64_t request);

    /// Closes every receiver, watch and request and stops. May be called from a callback; twice is harmless.
    void close();

private:
    /// What the context's thread works on. The thread shares it: a callback that deletes its own context leaves the
    /// thread to end by itself.
    struct Delivering {
        Delivering(std::size_t queue_bytes_max, std::shared_ptr<Counters> counters)
            : mailbox(queue_bytes_max, std::move(counters))
        {
        }
        void run(Intake& intake); ///< until the mailbox is closed; does not touch the intake then

        Mailbox mailbox;
        Router router;
    };

    void start();

    const dds_entity_t participant_;
    const ContextId self_;
    Responder& responder_;
    const std::shared_ptr<Counters> counters_;
    const HearingPolicy policy_;
    Requester requester_;
    std::shared_ptr<Delivering> delivering_;
    std::mutex mutex_;
    std::unordered_set<std::shared_ptr<Receiver>> receivers_;
    std::unordered_set<std::shared_ptr<SourceWatch>> watches_;
    std::unique_ptr<Intake> intake_;
    Thread thread_;
    bool closed_ = false;
};

} // namespace qx::transport
