#include "message.h"

#include <cstring>
#include <new>

#include "error.h"
#include "responder.h"

namespace qx::transport {

// NOLINTNEXTLINE(clang-analyzer-optin.cplusplus.UninitializedObject): the analyzer misses aggregate bases
Message::Message(SourcePtr&& from, int message_type, std::uint32_t sequence) noexcept
    : lbm_msg_t{message_type, 0, nullptr, 0, from->topic.c_str(), from->text.c_str(), sequence, nullptr}
    , source_(std::move(from))
{
}

Message::~Message() = default;

void Message::answer_through(std::unique_ptr<lbm_response> handle) noexcept
{
    response_ = std::move(handle);
    response = response_.get();
}

Message::Ptr Message::make(SourcePtr from, int message_type, std::uint32_t sequence, std::string_view payload)
{
    void* memory = ::operator new(sizeof(Message) + payload.size());
    Ptr message{new (memory) Message{std::move(from), message_type, sequence}};
    if (!payload.empty()) {
        char* copy = static_cast<char*>(memory) + sizeof(Message);
        std::memcpy(copy, payload.data(), payload.size());
        message->data = copy;
        message->len = payload.size();
    }
    return message;
}

void Message::release() noexcept
{
    if (references_.fetch_sub(1, std::memory_order_acq_rel) == 1) {
        this->~Message();
        ::operator delete(this);
    }
}

} // namespace qx::transport

int lbm_msg_retain(lbm_msg_t* msg)
{
    return qx::transport::guarded("lbm_msg_retain", nullptr, [&] {
        qx::transport::require(msg, "msg");
        static_cast<qx::transport::Message*>(msg)->retain();
    });
}

int lbm_msg_delete(lbm_msg_t* msg)
{
    return qx::transport::guarded("lbm_msg_delete", nullptr, [&] {
        qx::transport::require(msg, "msg");
        static_cast<qx::transport::Message*>(msg)->release();
    });
}
