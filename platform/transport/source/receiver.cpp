#include "receiver.h"

#include <utility>

#include "last_words.h"
#include "partition.h"
#include "request.h"
#include "source_watch.h"

namespace qx::transport {

Receiver::Receiver(std::string topic, Callback callback, std::shared_ptr<EventQueue> queue,
                   std::chrono::milliseconds absence_told_after)
    : absence(absence_told_after)
    , topic_(std::move(topic))
    , beginning_(topic_)
    , partition_(partition_of_topic(topic_))
    , callback_(callback)
    , queue_(std::move(queue))
{
}

Receiver::Receiver(std::unique_ptr<TopicPattern> pattern, Callback callback, std::shared_ptr<EventQueue> queue,
                   std::chrono::milliseconds absence_told_after)
    : absence(absence_told_after)
    , topic_(pattern->text())
    , pattern_(std::move(pattern))
    , beginning_(pattern_->literal_prefix())
    , partition_(partition_of_prefix(beginning_))
    , callback_(callback)
    , queue_(std::move(queue))
{
}

bool Receiver::matches(std::string_view topic) const
{
    return pattern_ ? pattern_->matches(topic) : topic == topic_;
}

void Receiver::deliver(Delivery::What what, const SourcePtr& source, Message& message)
{
    if (queue_) {
        queue_->mailbox().post({what, shared_from_this(), source, message.share(), 0, 0, nullptr});
    } else {
        run(message);
    }
}

void Receiver::lose(const SourcePtr& source, std::uint32_t first, std::uint32_t last)
{
    if (queue_) {
        queue_->mailbox().post_loss(shared_from_this(), source, first, last);
    } else {
        run(*loss_message(source, first, last));
    }
}

void Receiver::miss()
{
    const auto nobody = std::make_shared<RemoteSource>(topic_);
    deliver(Delivery::What::absence, nobody, *Message::make(nobody, LBM_MSG_NO_SOURCE_NOTIFICATION, 0));
}

bool Receiver::run(Message& message)
{
    const Passage passage{gate_};
    if (!passage) {
        return false;
    }
    call_or_die(message.topic_name, message.sequence_number,
                [&] { callback_.proc(callback_.handle, &message, callback_.clientd); });
    return true;
}

bool run_queued(Delivery& delivery)
{
    if (delivery.what == Delivery::What::source_event) {
        return delivery.watch->run(static_cast<int>(delivery.first));
    }
    if (delivery.what == Delivery::What::answer) {
        return delivery.request->run(*delivery.message);
    }
    const MessagePtr message = delivery.what == Delivery::What::loss
                                   ? loss_message(delivery.source, delivery.first, delivery.last)
                                   : std::move(delivery.message);
    return delivery.receiver->run(*message);
}

} // namespace qx::transport
