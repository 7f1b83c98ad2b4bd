/// What waits to be delivered, bounded in bytes, with overflow told as loss in its place.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <unordered_map>

#include "message.h"

namespace qx::transport {

class Request;
class SourceWatch;

/// One step of delivery; `absence`, that a topic has no source, comes from the routing itself. In a context's queue
/// `receiver` is set for attach, detach and begin, from which on it hears the source; all else goes to everybody who
/// hears the source. In an event queue it is always set.
struct Delivery {
    enum class What { data, loss, begin, end, attach, detach, source_event, answer, absence };

    What what = What::data;
    std::shared_ptr<Receiver> receiver;
    SourcePtr source;
    MessagePtr message;      ///< of data, begin, end, absence and an answer
    std::uint32_t first = 0; ///< of a loss: the sequence numbers that are missing, both ends included
    std::uint32_t last = 0;
    std::shared_ptr<SourceWatch> watch{}; ///< of a source event, whose number is `first`
    std::shared_ptr<Request> request{};   ///< of an answer
};

/// The message that tells of a loss: its sequence number is the first missing one.
MessagePtr loss_message(const SourcePtr& source, std::uint32_t first, std::uint32_t last);

/// Data that finds the queue full is dropped and becomes part of a loss at the end of the queue; losses that follow one
/// another directly are one. Answers that find it full are dropped. Everything else is always taken: there is at most
/// one loss between two data of a source, and beginnings and ends are as few as sources. A message larger than the
/// bound is taken by an empty queue. Threads   not synchronised.
class DeliveryQueue {
public:
    explicit DeliveryQueue(std::size_t bytes_max)
        : bytes_max_(bytes_max)
    {
    }

    /// What waits already stays.
    void set_bytes_max(std::size_t bytes_max) noexcept { bytes_max_ = bytes_max; }

    /// Whether data with that payload would be taken now.
    bool has_room(std::size_t payload_bytes) const noexcept;

    /// `delivery` is anything but a loss. False: it was data and has become a loss, or an answer and is dropped.
    bool push(Delivery delivery);
    void push_loss(std::shared_ptr<Receiver> receiver, SourcePtr source, std::uint32_t first, std::uint32_t last);
    std::optional<Delivery> pop();

    std::size_t size() const noexcept { return items_.size(); }
    std::size_t bytes() const noexcept { return bytes_; }
    std::uint64_t dropped() const noexcept { return dropped_; }

private:
    struct Key {
        const Receiver* receiver;
        const RemoteSource* source;
        bool operator==(const Key&) const = default;
    };
    struct KeyHash {
        std::size_t operator()(const Key& key) const noexcept
        {
            return std::hash<const void*>{}(key.receiver) * 31 + std::hash<const void*>{}(key.source);
        }
    };

    static Key key_of(const Delivery& d) noexcept { return {d.receiver.get(), d.source.get()}; }

    std::size_t bytes_max_;
    std::size_t bytes_ = 0;
    std::uint64_t dropped_ = 0;
    std::uint64_t popped_ = 0; ///< the position of the first item, counted from the queue's beginning
    std::deque<Delivery> items_;
    std::unordered_map<Key, std::uint64_t, KeyHash> open_losses_; ///< positions of losses that may still grow
};

} // namespace qx::transport
