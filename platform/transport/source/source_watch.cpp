#include "source_watch.h"

#include <utility>

#include "last_words.h"

namespace qx::transport {

SourceWatch::SourceWatch(std::shared_ptr<LocalSource> source, Callback callback, std::shared_ptr<EventQueue> queue)
    : source_(std::move(source))
    , callback_(callback)
    , queue_(std::move(queue))
{
}

void SourceWatch::deliver(int event)
{
    if (queue_) {
        queue_->mailbox().post({Delivery::What::source_event, nullptr, nullptr, nullptr,
                                static_cast<std::uint32_t>(event), 0, shared_from_this()});
    } else {
        run(event);
    }
}

bool SourceWatch::run(int event)
{
    const Passage passage{gate_};
    if (!passage) {
        return false;
    }
    call_or_die(source_->topic, 0, [&] { callback_.proc(callback_.handle, event, nullptr, callback_.clientd); });
    return true;
}

} // namespace qx::transport
