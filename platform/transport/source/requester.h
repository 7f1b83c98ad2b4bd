/// The requests of a context that may still be answered.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <unordered_map>

#include "bytes.h"
#include "delivery_queue.h"
#include "ids.h"
#include "request.h"

namespace qx::transport {

/// Threads   any.
class Requester {
public:
    /// Gives the request its number, never used again within the context.
    std::uint64_t open(const std::shared_ptr<Request>& request);
    void forget(std::uint64_t number);

    /// Closes and forgets every request.
    void close();

    /// The delivery of an answer that has arrived. Empty, and counted: it makes no sense, or nobody waits for it.
    std::optional<Delivery> receive(const ContextId& from, ByteView bytes);
    std::uint64_t dropped() const noexcept { return dropped_; }

private:
    std::shared_ptr<Request> find(std::uint64_t number) const;

    mutable std::mutex mutex_;
    std::unordered_map<std::uint64_t, std::shared_ptr<Request>> requests_;
    std::uint64_t last_ = 0;
    std::atomic<std::uint64_t> dropped_{0};
};

} // namespace qx::transport
