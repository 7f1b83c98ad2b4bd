#include "delivery_queue.h"

#include <utility>

namespace qx::transport {
namespace {

/// What an item costs besides its payload, roughly.
constexpr std::size_t item_overhead_bytes = sizeof(Message) + sizeof(Delivery) + 32;

bool is_bounded(const Delivery& d) noexcept
{
    return d.what == Delivery::What::data || d.what == Delivery::What::answer;
}

std::size_t cost(const Delivery& d) noexcept
{
    return is_bounded(d) ? item_overhead_bytes + d.message->len : 0;
}

} // namespace

MessagePtr loss_message(const SourcePtr& source, std::uint32_t first, std::uint32_t last)
{
    return Message::make(source, first == last ? LBM_MSG_UNRECOVERABLE_LOSS : LBM_MSG_UNRECOVERABLE_LOSS_BURST, first);
}

bool DeliveryQueue::has_room(std::size_t payload_bytes) const noexcept
{
    return bytes_ == 0 || bytes_ + item_overhead_bytes + payload_bytes <= bytes_max_;
}

bool DeliveryQueue::push(Delivery delivery)
{
    if (is_bounded(delivery) && !has_room(delivery.message->len)) {
        ++dropped_;
        if (delivery.what == Delivery::What::data) {
            const std::uint32_t sequence = delivery.message->sequence_number;
            push_loss(std::move(delivery.receiver), std::move(delivery.source), sequence, sequence);
        }
        return false;
    }
    if (!open_losses_.empty()) {
        open_losses_.erase(key_of(delivery));
        open_losses_.erase({nullptr, delivery.source.get()}); // who joins the source here has lost nothing before
    }
    bytes_ += cost(delivery);
    items_.push_back(std::move(delivery));
    return true;
}

void DeliveryQueue::push_loss(std::shared_ptr<Receiver> receiver, SourcePtr source, std::uint32_t first,
                              std::uint32_t last)
{
    const auto open = open_losses_.find({receiver.get(), source.get()});
    if (open != open_losses_.end()) {
        Delivery& loss = items_[open->second - popped_];
        if (loss.last + 1 == first) {
            loss.last = last;
            return;
        }
    }
    open_losses_[{receiver.get(), source.get()}] = popped_ + items_.size();
    items_.push_back({Delivery::What::loss, std::move(receiver), std::move(source), nullptr, first, last, nullptr});
}

std::optional<Delivery> DeliveryQueue::pop()
{
    if (items_.empty()) {
        return std::nullopt;
    }
    Delivery front = std::move(items_.front());
    items_.pop_front();
    if (front.what == Delivery::What::loss) {
        const auto open = open_losses_.find(key_of(front));
        if (open != open_losses_.end() && open->second == popped_) {
            open_losses_.erase(open);
        }
    }
    ++popped_;
    bytes_ -= cost(front);
    return front;
}

} // namespace qx::transport
