#include "request.h"

#include <utility>

#include "last_words.h"

namespace qx::transport {

Request::Request(std::string topic, Callback callback, std::shared_ptr<EventQueue> queue)
    : topic_(std::move(topic))
    , callback_(callback)
    , queue_(std::move(queue))
{
}

void Request::deliver(Message& answer)
{
    if (queue_) {
        queue_->mailbox().post({Delivery::What::answer, nullptr, answer.remote_source(), answer.share(), 0, 0, nullptr,
                                shared_from_this()});
    } else {
        run(answer);
    }
}

bool Request::run(Message& answer)
{
    const Passage passage{gate_};
    if (!passage) {
        return false;
    }
    call_or_die(topic_, answer.sequence_number, [&] { callback_.proc(callback_.handle, &answer, callback_.clientd); });
    return true;
}

} // namespace qx::transport
