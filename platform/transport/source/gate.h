/// Keeps callbacks and the deletion of what they serve apart.
#pragma once

#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

namespace qx::transport {

/// Threads pass in and out; closing lets nobody in any more and waits until the others are out. The closing thread may
/// itself be inside: an object may be deleted from its own callback.
class Gate {
public:
    bool enter()
    {
        const std::lock_guard lock{mutex_};
        if (closed_) {
            return false;
        }
        inside_.push_back(std::this_thread::get_id());
        return true;
    }

    void leave() noexcept
    {
        const std::lock_guard lock{mutex_};
        for (auto i = inside_.rbegin(); i != inside_.rend(); ++i) {
            if (*i == std::this_thread::get_id()) {
                inside_.erase(std::next(i).base());
                break;
            }
        }
        if (closed_) {
            left_.notify_all();
        }
    }

    void close()
    {
        std::unique_lock lock{mutex_};
        closed_ = true;
        left_.wait(lock, [this] { return only_caller_inside(); });
    }

    bool closed() const
    {
        const std::lock_guard lock{mutex_};
        return closed_;
    }

private:
    bool only_caller_inside() const
    {
        return std::all_of(inside_.begin(), inside_.end(),
                           [](std::thread::id thread) { return thread == std::this_thread::get_id(); });
    }

    mutable std::mutex mutex_;
    std::condition_variable left_;
    std::vector<std::thread::id> inside_;
    bool closed_ = false;
};

/// One passage through a gate.
class Passage {
public:
    explicit Passage(Gate& gate)
        : gate_(gate)
        , inside_(gate.enter())
    {
    }
    ~Passage()
    {
        if (inside_) {
            gate_.leave();
        }
    }
    Passage(const Passage&) = delete;
    Passage& operator=(const Passage&) = delete;

    explicit operator bool() const noexcept { return inside_; }

private:
    Gate& gate_;
    bool inside_;
};

} // namespace qx::transport
