/// What transport tests share: contexts that meet nobody else's, and a record of what receivers were told.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <ostream>
#include <string>
#include <vector>

#include <lbm/lbm.h>

namespace test {

/// Every wait of a test ends here: far beyond what a loaded machine needs, and reached by failing tests only.
inline constexpr std::chrono::seconds patience{30};

/// A domain tag of this process alone: runs at the same time on one machine do not meet.
const std::string& domain_tag();

/// Throws std::runtime_error with lbm_errmsg() if a call failed.
void check(int result);

/// `options` are pairs of name and value.
struct ContextDelete {
    void operator()(lbm_context_t* ctx) const { lbm_context_delete(ctx); }
};
using ContextHandle = std::unique_ptr<lbm_context_t, ContextDelete>;
using OptionList = std::vector<std::pair<const char*, std::string>>;
ContextHandle make_context(const OptionList& options = {});

struct SourceDelete {
    void operator()(lbm_src_t* src) const { lbm_src_delete(src); }
};
using SourceHandle = std::unique_ptr<lbm_src_t, SourceDelete>;
/// A topic to make a source from.
lbm_topic_t* source_topic(const ContextHandle& ctx, const std::string& topic, const OptionList& options = {});
SourceHandle make_source(const ContextHandle& ctx, const std::string& topic);
void send(const SourceHandle& source, const std::string& payload, int flags = 0);

/// One message as a receiver saw it.
struct Seen {
    int type;
    std::string topic;
    std::string payload;
    std::uint32_t sequence;
    std::string source;
};
std::ostream& operator<<(std::ostream& out, const Seen& seen);

/// Records what its callback is given. Any thread.
class Recorder {
public:
    static int callback(lbm_rcv_t* rcv, lbm_msg_t* msg, void* recorder);
    static int on_answer(lbm_request_t* req, lbm_msg_t* msg, void* recorder);

    /// Runs within each callback, after it was recorded.
    std::function<void(lbm_msg_t&)> then;

    std::vector<Seen> seen() const;
    std::size_t count(int type) const;
    std::size_t count(int type, const std::string& topic) const;
    std::vector<std::string> payloads(int type = LBM_MSG_DATA) const;

    /// Whether the condition came true in time.
    bool wait(const std::function<bool()>& condition) const;
    bool wait_for(int type, std::size_t at_least = 1) const;

private:
    mutable std::mutex mutex_;
    mutable std::condition_variable changed_;
    std::vector<Seen> seen_;
};

struct ReceiverDelete {
    void operator()(lbm_rcv_t* rcv) const { lbm_rcv_delete(rcv); }
    void operator()(lbm_wildcard_rcv_t* rcv) const { lbm_wildcard_rcv_delete(rcv); }
};
using ReceiverHandle = std::unique_ptr<lbm_rcv_t, ReceiverDelete>;
using WildcardHandle = std::unique_ptr<lbm_wildcard_rcv_t, ReceiverDelete>;
ReceiverHandle make_receiver(const ContextHandle& ctx, const std::string& topic, Recorder& recorder,
                             lbm_event_queue_t* evq = nullptr);
WildcardHandle make_wildcard(const ContextHandle& ctx, const std::string& pattern, Recorder& recorder,
                             lbm_event_queue_t* evq = nullptr);

struct QueueDelete {
    void operator()(lbm_event_queue_t* evq) const { lbm_event_queue_delete(evq); }
};
using QueueHandle = std::unique_ptr<lbm_event_queue_t, QueueDelete>;
QueueHandle make_queue(const OptionList& options = {});

/// Sends until the receiver has heard of the source: from then on nothing of it is missed.
void connect(const SourceHandle& source, const Recorder& recorder, const std::string& topic);

} // namespace test
