/// Who gets which source: patterns are matched once per source and receiver, then messages follow the result.
#pragma once

#include <cstdint>
#include <memory>
#include <unordered_set>
#include <vector>

#include "delivery_queue.h"
#include "receiver.h"

namespace qx::transport {

/// Takes a context's deliveries in order and calls the receivers.
/// Threads   the context's thread only. Callbacks may create and delete receivers: that comes back as a delivery.
class Router {
public:
    void handle(Delivery& delivery);

private:
    void begin(Delivery& delivery);
    void attach(const std::shared_ptr<Receiver>& receiver);
    void detach(const std::shared_ptr<Receiver>& receiver);
    static void forward(Delivery& delivery, std::uint32_t next);
    static void pass(Delivery& delivery);

    std::vector<std::shared_ptr<Receiver>> receivers_;
    std::unordered_set<SourcePtr> sources_; ///< those that have begun and not ended
};

} // namespace qx::transport
