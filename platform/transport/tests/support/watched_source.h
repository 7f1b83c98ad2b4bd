/// A source whose events are recorded.
#pragma once

#include <condition_variable>
#include <mutex>
#include <vector>

#include "context_fixture.h"

namespace test {

class WatchedSource {
public:
    WatchedSource(const ContextHandle& ctx, const char* name, lbm_event_queue_t* evq = nullptr,
                  const OptionList& options = {})
    {
        lbm_src_t* raw = nullptr;
        check(lbm_src_create(&raw, ctx.get(), source_topic(ctx, name, options), &WatchedSource::callback, this, evq));
        source.reset(raw);
    }

    bool wait_for(const std::vector<int>& expected)
    {
        std::unique_lock lock{mutex_};
        return changed_.wait_for(lock, patience, [&] { return events_ == expected; });
    }
    std::vector<int> events() const
    {
        const std::lock_guard lock{mutex_};
        return events_;
    }

private:
    static int callback(lbm_src_t*, int event, void*, void* clientd)
    {
        auto& self = *static_cast<WatchedSource*>(clientd);
        const std::lock_guard lock{self.mutex_};
        self.events_.push_back(event);
        self.changed_.notify_all();
        return 0;
    }

    mutable std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<int> events_;

public:
    SourceHandle source; ///< last: it is deleted before what its callback uses
};

} // namespace test
