#include "subscriber.h"

#include <utility>

namespace qx::transport {

Subscriber::Subscriber(dds_entity_t participant, const ContextId& self, std::size_t queue_bytes_max,
                       Responder& responder, std::shared_ptr<Counters> counters)
    : participant_(participant)
    , self_(self)
    , responder_(responder)
    , counters_(std::move(counters))
    , delivering_(std::make_shared<Delivering>(queue_bytes_max, counters_))
{
}

void Subscriber::Delivering::run()
{
    while (true) {
        Delivery delivery; // its message goes now, not when the next one comes
        const Mailbox::Taken taken = mailbox.take(delivery, router.next_due());
        const Clock::time_point now = Clock::now();
        if (taken == Mailbox::Taken::item) {
            router.handle(delivery, now);
        } else if (taken != Mailbox::Taken::timed_out) {
            return;
        }
        router.tick(now);
    }
}

void Subscriber::start()
{
    if (intake_) {
        return;
    }
    if (!thread_.running()) {
        thread_ = Thread{"lbm_context", [delivering = delivering_] { delivering->run(); }};
    }
    intake_ = std::make_unique<Intake>(participant_, delivering_->mailbox, requester_, responder_, *counters_);
}

void Subscriber::attach(const std::shared_ptr<Receiver>& receiver)
{
    const std::lock_guard lock{mutex_};
    if (closed_) {
        throw TransportError(LBM_EOP, "the context is deleted");
    }
    start();
    receivers_.insert(receiver);
    // Before there is a reader: what it hears first must find the receiver routed, since sources send as soon as they
    // see the reader.
    delivering_->mailbox.post({Delivery::What::attach, receiver, nullptr, nullptr, 0, 0, nullptr});
    try {
        intake_->add(receiver->partition());
    } catch (...) {
        receiver->close(); // another reader may have been heard for it
        receivers_.erase(receiver);
        delivering_->mailbox.post({Delivery::What::detach, receiver, nullptr, nullptr, 0, 0, nullptr});
        throw;
    }
}

void Subscriber::detach(const std::shared_ptr<Receiver>& receiver)
{
    const std::lock_guard lock{mutex_};
    if (receivers_.erase(receiver) == 0) {
        return;
    }
    intake_->remove(receiver->partition());
    delivering_->mailbox.post({Delivery::What::detach, receiver, nullptr, nullptr, 0, 0, nullptr});
}

void Subscriber::watch(const std::shared_ptr<SourceWatch>& source)
{
    const std::lock_guard lock{mutex_};
    if (closed_) {
        throw TransportError(LBM_EOP, "the context is deleted");
    }
    start();
    intake_->watch(source);
    watches_.insert(source);
}

void Subscriber::unwatch(const std::shared_ptr<SourceWatch>& source)
{
    const std::lock_guard lock{mutex_};
    if (watches_.erase(source) > 0) {
        intake_->unwatch(source);
    }
}

std::uint64_t Subscriber::open(const std::shared_ptr<Request>& request)
{
    const std::lock_guard lock{mutex_};
    if (closed_) {
        throw TransportError(LBM_EOP, "the context is deleted");
    }
    start();
    intake_->hear_answers(self_);
    return requester_.open(request);
}

void Subscriber::forget(std::uint64_t request)
{
    requester_.forget(request);
}

void Subscriber::close()
{
    std::unordered_set<std::shared_ptr<SourceWatch>> watches;
    std::unordered_set<std::shared_ptr<Receiver>> receivers;
    std::unique_ptr<Intake> intake;
    Thread thread;
    {
        const std::lock_guard lock{mutex_};
        closed_ = true;
        receivers.swap(receivers_);
        watches.swap(watches_);
        intake.swap(intake_);
        thread = std::move(thread_);
    }
    delivering_->mailbox.close();
    // Without the lock: a callback that is waited for may itself be creating or deleting a receiver.
    for (const auto& receiver : receivers) {
        receiver->close();
    }
    for (const auto& watch : watches) {
        watch->close();
    }
    requester_.close();
    intake.reset();
    thread.finish();
}

} // namespace qx::transport
