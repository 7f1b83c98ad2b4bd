/// A request of this process that may still be answered.
#pragma once

#include <memory>
#include <string>

#include <lbm/lbm.h>

#include "event_queue.h"
#include "gate.h"
#include "message.h"

namespace qx::transport {

class Request : public std::enable_shared_from_this<Request> {
public:
    struct Callback {
        lbm_request_cb_proc proc;
        void* clientd;
        lbm_request_t* handle;
    };

    /// `queue` may be null: then the context's thread runs the callback.
    Request(std::string topic, Callback callback, std::shared_ptr<EventQueue> queue);

    const std::string& topic() const noexcept { return topic_; }

    /// Called on the context's thread only, in order.
    void deliver(Message& answer);

    /// Runs the callback here and now. False: it was closed before.
    bool run(Message& answer);

    /// No callback begins any more; waits for one that another thread is running.
    void close() { gate_.close(); }

private:
    const std::string topic_;
    const Callback callback_;
    const std::shared_ptr<EventQueue> queue_;
    Gate gate_;
};

} // namespace qx::transport
