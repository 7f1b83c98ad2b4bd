/// One thread that sends what was collected and is due.
#pragma once

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

#include "thread.h"

namespace qx::transport {

/// Something with work at a later time.
class Flushable {
public:
    virtual ~Flushable() = default;
    /// Does what is due; says when to come again, or that `arm` will tell.
    virtual std::optional<std::chrono::steady_clock::time_point> flush() noexcept = 0;
};

/// Threads   `arm` from any, with any lock held that `flush` takes.
class Flusher {
public:
    Flusher() = default;
    ~Flusher();
    Flusher(const Flusher&) = delete;
    Flusher& operator=(const Flusher&) = delete;

    /// Starts the thread unless it runs. Throws TransportError (LBM_EOS); afterwards `arm` cannot fail for want of it.
    void start();

    /// Calls `flush` at that time or soon after; an object that is gone by then is forgotten. The thread starts with
    /// the first call.
    void arm(std::weak_ptr<Flushable> target, std::chrono::steady_clock::time_point when);

private:
    struct Armed {
        std::chrono::steady_clock::time_point when;
        std::weak_ptr<Flushable> target;
    };

    void start_locked();
    void run();
    std::vector<Armed> take_due();

    std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<Armed> armed_;
    std::chrono::steady_clock::time_point sleeping_until_{};
    bool stop_ = false;
    Thread thread_;
};

} // namespace qx::transport
