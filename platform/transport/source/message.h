/// Received messages: what lbm_msg_t really is.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <lbm/lbm.h>

#include "ids.h"

namespace qx::transport {

class Receiver;

/// A source as receivers see it, from its first sign of life to its end. Shared by all its messages, which point at
/// its texts.
struct RemoteSource {
    RemoteSource(const SourceId& id, std::string_view topic_name)
        : context(id.context)
        , topic(topic_name)
        , text(source_text(id, topic))
    {
    }
    /// A context that answers a request sent under that topic.
    RemoteSource(const ContextId& answerer, std::string_view topic_name)
        : context(answerer)
        , topic(topic_name)
        , text(context_text(answerer))
    {
    }

    /// What stands in for a source where there is none.
    explicit RemoteSource(std::string_view topic_name)
        : context()
        , topic(topic_name)
    {
    }

    const ContextId context;
    const std::string topic;
    const std::string text; ///< empty when it stands in for none

    /// The intake's own: who wants what arrives (nothing is queued for nobody), and the number that arrives next.
    std::vector<std::shared_ptr<Receiver>> wanted_by;
    std::uint32_t next = 0;
    bool joined = false; ///< by anybody, ever

    /// The routing's own: who gets what was queued, which differs from `wanted_by` by the joins and departures that
    /// still wait in the queue.
    std::vector<std::shared_ptr<Receiver>> targets;
};
using SourcePtr = std::shared_ptr<RemoteSource>;

/// A message or event with its payload behind it in one piece of memory. Counted by an atomic: any thread may hold and
/// release references.
class Message : public lbm_msg_t {
public:
    struct Release {
        void operator()(Message* m) const noexcept { m->release(); }
    };
    using Ptr = std::unique_ptr<Message, Release>;

    static Ptr make(SourcePtr from, int message_type, std::uint32_t sequence, std::string_view payload = {});

    void retain() noexcept { references_.fetch_add(1, std::memory_order_relaxed); }
    void release() noexcept;
    Ptr share() noexcept
    {
        retain();
        return Ptr{this};
    }
    /// Of a request, before anybody else sees it.
    void answer_through(std::unique_ptr<lbm_response> handle) noexcept;

    const SourcePtr& remote_source() const noexcept { return source_; }

    Message(const Message&) = delete;
    Message& operator=(const Message&) = delete;

private:
    Message(SourcePtr&& from, int message_type, std::uint32_t sequence) noexcept;
    ~Message();

    SourcePtr source_;
    std::unique_ptr<lbm_response> response_;
    std::atomic<std::uint32_t> references_{1};
};
using MessagePtr = Message::Ptr;

} // namespace qx::transport
