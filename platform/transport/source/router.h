/// Hands messages to those who joined their source. Who has had no source for as long as it wanted to wait is told so,
/// once until one comes and goes again.
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "delivery_queue.h"
#include "receiver.h"

namespace qx::transport {

/// Takes a context's deliveries in order and calls the receivers.
/// Threads   the context's thread only. Callbacks may create and delete receivers: that comes back as a delivery.
class Router {
public:
    using TimePoint = std::chrono::steady_clock::time_point;

    void handle(Delivery& delivery, TimePoint now);

    /// Tells of absences that are due. Call it at `next_due`, or more often.
    void tick(TimePoint now);
    std::optional<TimePoint> next_due() const noexcept { return next_due_; }

private:
    void join(Delivery& delivery);
    void end(Delivery& delivery, TimePoint now);
    void attach(const std::shared_ptr<Receiver>& receiver, TimePoint now);
    void detach(const std::shared_ptr<Receiver>& receiver);
    static void pass(Delivery& delivery);
    void await_source(Receiver& receiver, TimePoint now);

    std::vector<std::shared_ptr<Receiver>> receivers_;
    std::optional<TimePoint> next_due_; ///< not later than the first absence to be told
};

} // namespace qx::transport
