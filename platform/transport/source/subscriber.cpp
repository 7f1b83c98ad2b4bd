#include "subscriber.h"

#include <utility>

namespace qx::transport {

Subscriber::Subscriber(dds_entity_t participant, const ContextId& self, std::size_t queue_bytes_max,
                       Responder& responder, std::shared_ptr<Counters> counters, const HearingPolicy& policy)
    : participant_(participant)
    , self_(self)
    , responder_(responder)
    , counters_(std::move(counters))
    , policy_(policy)
    , delivering_(std::make_shared<Delivering>(queue_bytes_max, counters_))
{
}

void Subscriber::Delivering::run(Intake& intake)
{
    while (true) {
        Delivery delivery; // its message goes now, not when the next one comes
        const Mailbox::Taken taken = mailbox.take_present(delivery);
        if (taken == Mailbox::Taken::closed) {
            return; // a callback may have deleted the context, and the intake with it
        }
        if (taken == Mailbox::Taken::item) {
            router.handle(delivery, Clock::now());
        } else {
            intake.wait(router.next_due());
        }
        router.tick(Clock::now());
    }
}

void Subscriber::start()
{
    if (intake_) {
        return;
    }
    intake_ = std::make_unique<Intake>(participant_, delivering_->mailbox, requester_, responder_, *counters_, policy_);
    try {
        thread_ = Thread{"lbm_context", [delivering = delivering_, &intake = *intake_] { delivering->run(intake); }};
    } catch (...) {
        intake_.reset();
        throw;
    }
}

void Subscriber::attach(const std::shared_ptr<Receiver>& receiver)
{
    const std::lock_guard lock{mutex_};
    if (closed_) {
        throw TransportError(LBM_EOP, "the context is deleted");
    }
    start();
    intake_->add(receiver);
    receivers_.insert(receiver);
}

void Subscriber::detach(const std::shared_ptr<Receiver>& receiver)
{
    const std::lock_guard lock{mutex_};
    if (receivers_.erase(receiver) > 0) {
        intake_->remove(receiver);
    }
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
    const DeliveryQueue left = delivering_->mailbox.close();
    // Without the lock: a callback that is waited for may itself be creating or deleting a receiver.
    for (const auto& receiver : receivers) {
        receiver->close();
    }
    for (const auto& watch : watches) {
        watch->close();
    }
    requester_.close();
    if (intake) {
        intake->wake();
    }
    thread.finish();
}

} // namespace qx::transport
