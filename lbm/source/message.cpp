#include <lbm/message.h>

#include <sstream>

#include "current_message.h"

namespace lbm {
namespace {

thread_local const details::RunningCallback* t_innermostCallback = nullptr;
thread_local const lbm_msg_t* t_currentMessage = nullptr;

lbm_msg_t* Retain(lbm_msg_t* msg) noexcept
{
    if (msg != nullptr) {
        lbm_msg_retain(msg);
    }
    return msg;
}

const char* OrUnknown(const char* text) noexcept
{
    return text != nullptr ? text : "(none)";
}

} // namespace

template <>
void details::Close<lbm_msg_t>::operator()(lbm_msg_t* handle) const noexcept
{
    lbm_msg_delete(handle);
}

Message::Message(lbm_msg_t* msg)
    : m_msg(Retain(msg))
{
}

Message::Message(const Message& other)
    : m_msg(Retain(other.m_msg.get()))
{
}

Message& Message::operator=(const Message& other)
{
    return *this = Message(other); // retained before anything is given back: other may be this
}

String Message::ToString() const
{
    if (!m_msg) {
        return "empty message";
    }
    std::ostringstream text;
    text << "type=" << Type() << " topic=" << OrUnknown(TopicName()) << " source=" << OrUnknown(Source())
         << " sequence_number=" << SequenceNumber() << " flags=" << Flags() << " length=" << Length();
    return text.str();
}

const lbm_msg_t* CurrentMessage() noexcept
{
    return t_currentMessage;
}

details::RunningCallback::RunningCallback(const lbm_msg_t* msg) noexcept
    : m_msg(msg)
    , m_outer(std::exchange(t_innermostCallback, this))
{
    t_currentMessage = msg;
}

details::RunningCallback::~RunningCallback()
{
    t_innermostCallback = m_outer;
}

void details::RunningCallback::Returned() const noexcept
{
    t_currentMessage = m_outer != nullptr ? m_outer->m_msg : nullptr;
}

} // namespace lbm
