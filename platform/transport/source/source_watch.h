/// Tells an application whether anybody listens to one of its sources.
#pragma once

#include <memory>

#include <lbm/lbm.h>

#include "event_queue.h"
#include "gate.h"
#include "stream_writer.h"

namespace qx::transport {

class SourceWatch : public std::enable_shared_from_this<SourceWatch> {
public:
    struct Callback {
        lbm_src_cb_proc proc;
        void* clientd;
        lbm_src_t* handle;
    };

    SourceWatch(std::shared_ptr<LocalSource> source, Callback callback, std::shared_ptr<EventQueue> queue);

    StreamWriter& stream() const noexcept { return *source_->stream; }

    /// Called on the context's thread only, in order.
    void deliver(int event);

    /// Runs the callback here and now. False: it was closed before.
    bool run(int event);

    /// No callback begins any more; waits for one that another thread is running.
    void close() { gate_.close(); }

private:
    std::shared_ptr<LocalSource> source_;
    Callback callback_;
    std::shared_ptr<EventQueue> queue_;
    Gate gate_;
};

} // namespace qx::transport
