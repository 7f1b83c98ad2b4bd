#include "mailbox.h"

#include <utility>

namespace qx::transport {

void Mailbox::set_bytes_max(std::size_t bytes_max)
{
    const std::lock_guard lock{mutex_};
    queue_.set_bytes_max(bytes_max);
}

void Mailbox::count_overflow(Delivery::What what) noexcept
{
    if (what == Delivery::What::answer) {
        counters_->answers_dropped.add();
    } else {
        counters_->messages_overflowed.add();
        counters_->messages_lost.add();
    }
}

void Mailbox::wake(std::unique_lock<std::mutex> lock)
{
    counters_->queue_messages_max.raise_to(queue_.size());
    counters_->queue_bytes_max.raise_to(queue_.bytes());
    const bool somebody_waits = waiting_ > 0;
    lock.unlock();
    if (somebody_waits) {
        filled_.notify_one();
    }
}

bool Mailbox::post(Delivery delivery)
{
    std::unique_lock lock{mutex_};
    if (closed_) {
        return true;
    }
    const Delivery::What what = delivery.what;
    const bool taken = queue_.push(std::move(delivery));
    if (!taken) {
        count_overflow(what);
    }
    wake(std::move(lock));
    return taken;
}

void Mailbox::post_loss(std::shared_ptr<Receiver> receiver, SourcePtr source, std::uint32_t first, std::uint32_t last)
{
    std::unique_lock lock{mutex_};
    if (closed_) {
        return;
    }
    queue_.push_loss(std::move(receiver), std::move(source), first, last);
    wake(std::move(lock));
}

Mailbox::Taken Mailbox::take(Delivery& out, Deadline deadline)
{
    std::unique_lock lock{mutex_};
    const auto ready = [this] { return closed_ || unblocks_ > 0 || queue_.size() > 0; };
    ++waiting_;
    if (deadline) {
        filled_.wait_until(lock, *deadline, ready);
    } else {
        filled_.wait(lock, ready);
    }
    --waiting_;
    return take_locked(out);
}

Mailbox::Taken Mailbox::take_present(Delivery& out)
{
    const std::lock_guard lock{mutex_};
    return take_locked(out);
}

Mailbox::Taken Mailbox::take_locked(Delivery& out)
{
    if (closed_) {
        return Taken::closed;
    }
    if (unblocks_ > 0) {
        --unblocks_;
        return Taken::unblocked;
    }
    if (std::optional<Delivery> next = queue_.pop()) {
        out = std::move(*next);
        return Taken::item;
    }
    return Taken::timed_out;
}

void Mailbox::unblock()
{
    std::unique_lock lock{mutex_};
    ++unblocks_;
    wake(std::move(lock));
}

DeliveryQueue Mailbox::close()
{
    DeliveryQueue left{0};
    {
        const std::lock_guard lock{mutex_};
        closed_ = true;
        std::swap(left, queue_);
    }
    filled_.notify_all();
    return left;
}

bool Mailbox::closed() const
{
    const std::lock_guard lock{mutex_};
    return closed_;
}

bool Mailbox::waits_for_posts() const
{
    const std::lock_guard lock{mutex_};
    return !closed_ && queue_.size() == 0;
}

std::size_t Mailbox::size() const
{
    const std::lock_guard lock{mutex_};
    return queue_.size();
}

std::uint64_t Mailbox::dropped() const
{
    const std::lock_guard lock{mutex_};
    return queue_.dropped();
}

} // namespace qx::transport
