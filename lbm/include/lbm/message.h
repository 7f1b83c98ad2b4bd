/// A received message or transport event, as callbacks are given it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>

#include <lbm/error.h>
#include <lbm/handle.h>
#include <lbm/response.h>

namespace lbm {

/// Holds one reference on the transport's message, so that it may be kept or passed on after the callback has returned.
///
/// Errors    none: taking and giving back a reference reports nothing.
/// Threads   one Message belongs to one thread at a time; copies may go to different threads.
/// Lifetime  all pointers that the accessors give live as long as any Message on the same transport message does. A
///           moved-from Message is empty, like one made from null: only ToString, the conversions, assignment and
///           destruction are allowed on it.
class Message {
public:
    /// Takes a reference of its own; none when `msg` is null.
    Message(lbm_msg_t* msg);
    Message(const Message& other);
    /// Gives back what the target held.
    Message& operator=(const Message& other);
    Message(Message&& other) noexcept = default;
    Message& operator=(Message&& other) noexcept = default;
    ~Message() = default;

    int Type() const noexcept { return m_msg->type; } ///< LBM_MSG_…
    int Flags() const noexcept { return m_msg->flags; }
    const char* Data() const noexcept { return m_msg->data; } ///< Length() bytes, not NUL-terminated
    std::size_t Length() const noexcept { return m_msg->len; }
    const char* TopicName() const noexcept { return m_msg->topic_name; } ///< the concrete topic, never a pattern
    const char* Source() const noexcept { return m_msg->source; }
    unsigned int SequenceNumber() const noexcept { return m_msg->sequence_number; }
    Response GetResponse() const noexcept { return m_msg->response; }

    operator lbm_msg_t*() noexcept { return m_msg.get(); }
    operator const lbm_msg_t*() const noexcept { return m_msg.get(); }

    /// One line for people: kind, topic, source, numbers; not the payload.
    String ToString() const;

    // The transport delivers messages whole, acknowledges by itself and tells nothing else about them. These keep
    // programs that ask compiling and answer truthfully.
    bool IsFragment() const noexcept { return false; }                     ///< always false
    bool CanSendExplicitAck() const noexcept { return false; }             ///< always false
    int SendExplicitAck() noexcept { return LBM_FAILURE; }                 ///< always a failure; sets no error text
    bool WasSentOnChannel() const noexcept { return false; }               ///< always false
    std::uint32_t ChannelNumber() const noexcept { return 0; }             ///< always 0
    const void* SourceClientd() const noexcept { return nullptr; }         ///< always null
    std::pair<long, long> GetTimestamp() const noexcept { return {0, 0}; } ///< always 0: seconds, sub-second part

private:
    details::Handle<lbm_msg_t> m_msg;
};

static_assert(sizeof(Message) == sizeof(lbm_msg_t*), "a reference and nothing else");

/// The message whose receiver callback is running on the calling thread, null when none is; inside a callback that runs
/// within another one, the inner message. For last words: a handler installed with std::set_terminate can name the
/// message that the process could not survive.
///
/// Lifetime  a borrowed pointer, valid while the callback runs; nothing is retained for it. When the callback returns,
///           the value is the outer callback's message again, or null. When an exception leaves the callback it stays
///           as it is: an exception that reaches the transport ends the process, and the transport holds its own
///           reference until its frame is left, so a terminate handler may still read the message. Whoever calls a
///           trampoline directly and catches the exception must not use the value until the thread's next callback has
///           begun; once that has returned, nothing is left of it.
const lbm_msg_t* CurrentMessage() noexcept;

} // namespace lbm
