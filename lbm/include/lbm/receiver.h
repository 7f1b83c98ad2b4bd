/// Subscriptions of a context to one topic, or to every topic that a pattern matches.
///
/// Threads    callbacks run on the context's own thread, one at a time for all its receivers; on the dispatching thread
///            when an event queue is given. They may begin before the constructor has returned; the receiver's handle
///            is null until then. None runs once the destructor has deleted the transport's receiver.
/// Lifetime   the transport holds a receiver's address: it neither moves nor copies, keep it behind a pointer. A
///            callback must not destroy its own receiver, and with it the function that is running: the function goes
///            last of all. Context and event queue must outlive the receiver.
/// Exceptions that leave a callback are not caught: the message's reference is given back and the exception passes into
///            the transport, which ends the process. Whoever wants to survive one catches it in the callback.
#pragma once

#include <functional>

#include <lbm/attributes.h>
#include <lbm/context.h>
#include <lbm/event_queue.h>
#include <lbm/handle.h>
#include <lbm/message.h>

namespace lbm {

class BaseReceiver {
public:
    /// May be empty: then every message is passed over.
    using Callback = std::function<void(Message)>;

    BaseReceiver(const BaseReceiver&) = delete;
    BaseReceiver& operator=(const BaseReceiver&) = delete;
    BaseReceiver(BaseReceiver&&) = delete;
    BaseReceiver& operator=(BaseReceiver&&) = delete;
    virtual ~BaseReceiver() = default;

    /// Sets an option from its text form. Throws LbmError.
    virtual void SetString(const char* name, const char* value) = 0;
    /// The topic, or the pattern.
    virtual const String& GetTopic() const noexcept = 0;

protected:
    BaseReceiver() = default;
};

/// A topic as one context has resolved it. The transport keeps it for the context's life: nothing is owned here.
class ReceiverTopic {
public:
    /// Throws LbmError when the topic cannot be resolved.
    ReceiverTopic(Context& ctx, const String& topic, const ReceiverTopicAttributes& attributes);
    /// With the transport's default attributes.
    ReceiverTopic(Context& ctx, const String& topic);

    const String& GetString() const noexcept { return m_str; }
    operator lbm_topic_t*() const noexcept { return m_topic; }

private:
    String m_str;
    lbm_topic_t* m_topic = nullptr;
};

class Receiver : public BaseReceiver {
public:
    /// `eq` null: callbacks run on the context's thread. Throws LbmError.
    Receiver(Context& ctx, ReceiverTopic topic, Callback cb, EventQueue* eq = nullptr);
    ~Receiver() override;

    void SetString(const char* name, const char* value) override;
    const String& GetTopic() const noexcept override { return m_topic; }
    operator lbm_rcv_t*() noexcept { return m_rcv.get(); }
    operator const lbm_rcv_t*() const noexcept { return m_rcv.get(); }

    /// The transport's way in; `clientd` is the Receiver. Always 0.
    static int LbmCallback(lbm_rcv_t* rcv, lbm_msg_t* msg, void* clientd);

private:
    details::Handle<lbm_rcv_t> m_rcv;
    Callback m_cbk;
    String m_topic; ///< for the log
};

class WildcardReceiver : public BaseReceiver {
public:
    /// `pattern` is a regular expression that has to match the whole topic. `eq` null: callbacks run on the context's
    /// thread. Throws LbmError.
    WildcardReceiver(Context& ctx, const String& pattern, Callback cb, EventQueue* eq,
                     const ReceiverTopicAttributes& topicAttributes,
                     const WildcardReceiverAttributes& wildcardAttributes);
    ~WildcardReceiver() override;

    void SetString(const char* name, const char* value) override;
    const String& GetTopic() const noexcept override { return m_topic; }
    operator lbm_wildcard_rcv_t*() noexcept { return m_rcv.get(); }
    operator const lbm_wildcard_rcv_t*() const noexcept { return m_rcv.get(); }

    /// The transport's way in; `clientd` is the WildcardReceiver. Always 0.
    static int LbmCallback(lbm_rcv_t* rcv, lbm_msg_t* msg, void* clientd);

private:
    details::Handle<lbm_wildcard_rcv_t> m_rcv;
    Callback m_cbk;
    String m_topic; ///< the pattern, for the log
};

} // namespace lbm
