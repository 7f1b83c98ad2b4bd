#include "context_fixture.h"

#include <unistd.h>

#include <algorithm>
#include <random>
#include <stdexcept>

namespace test {

const std::string& domain_tag()
{
    static const std::string tag = "test-" + std::to_string(getpid()) + "-" + std::to_string(std::random_device{}());
    return tag;
}

void check(int result)
{
    if (result == LBM_FAILURE) {
        throw std::runtime_error(lbm_errmsg());
    }
}

ContextHandle make_context(const OptionList& options)
{
    lbm_context_attr_t* attr = nullptr;
    check(lbm_context_attr_create(&attr));
    const std::unique_ptr<lbm_context_attr_t, int (*)(lbm_context_attr_t*)> owner{attr, &lbm_context_attr_delete};
    check(lbm_context_attr_str_setopt(attr, "domain_tag", domain_tag().c_str()));
    for (const auto& [name, value] : options) {
        check(lbm_context_attr_str_setopt(attr, name, value.c_str()));
    }
    lbm_context_t* ctx = nullptr;
    check(lbm_context_create(&ctx, attr, nullptr, nullptr));
    return ContextHandle{ctx};
}

lbm_topic_t* source_topic(const ContextHandle& ctx, const std::string& topic, const OptionList& options)
{
    lbm_src_topic_attr_t* attributes = nullptr;
    check(lbm_src_topic_attr_create(&attributes));
    const std::unique_ptr<lbm_src_topic_attr_t, decltype(&lbm_src_topic_attr_delete)> owned{attributes,
                                                                                            &lbm_src_topic_attr_delete};
    for (const auto& [name, value] : options) {
        check(lbm_src_topic_attr_str_setopt(attributes, name, value.c_str()));
    }
    lbm_topic_t* resolved = nullptr;
    check(lbm_src_topic_alloc(&resolved, ctx.get(), topic.c_str(), attributes));
    return resolved;
}

SourceHandle make_source(const ContextHandle& ctx, const std::string& topic)
{
    lbm_src_t* source = nullptr;
    check(lbm_src_create(&source, ctx.get(), source_topic(ctx, topic), nullptr, nullptr, nullptr));
    return SourceHandle{source};
}

void send(const SourceHandle& source, const std::string& payload, int flags)
{
    check(lbm_src_send(source.get(), payload.data(), payload.size(), flags));
}

std::ostream& operator<<(std::ostream& out, const Seen& seen)
{
    return out << "type " << seen.type << " " << seen.topic << " #" << seen.sequence << " '" << seen.payload << "'";
}

int Recorder::callback(lbm_rcv_t*, lbm_msg_t* msg, void* recorder)
{
    auto& self = *static_cast<Recorder*>(recorder);
    {
        const std::lock_guard lock{self.mutex_};
        const std::string payload = msg->len > 0 ? std::string{msg->data, msg->len} : std::string{};
        self.seen_.push_back({msg->type, msg->topic_name, payload, msg->sequence_number, msg->source});
    }
    self.changed_.notify_all();
    if (self.then) {
        self.then(*msg);
    }
    return 0;
}

int Recorder::on_answer(lbm_request_t*, lbm_msg_t* msg, void* recorder)
{
    return callback(nullptr, msg, recorder);
}

std::vector<Seen> Recorder::seen() const
{
    const std::lock_guard lock{mutex_};
    return seen_;
}

std::size_t Recorder::count(int type) const
{
    const std::lock_guard lock{mutex_};
    return static_cast<std::size_t>(
        std::count_if(seen_.begin(), seen_.end(), [&](const Seen& s) { return s.type == type; }));
}

std::size_t Recorder::count(int type, const std::string& topic) const
{
    const std::lock_guard lock{mutex_};
    return static_cast<std::size_t>(
        std::count_if(seen_.begin(), seen_.end(), [&](const Seen& s) { return s.type == type && s.topic == topic; }));
}

std::vector<std::string> Recorder::payloads(int type) const
{
    const std::lock_guard lock{mutex_};
    std::vector<std::string> data;
    for (const Seen& s : seen_) {
        if (s.type == type) {
            data.push_back(s.payload);
        }
    }
    return data;
}

bool Recorder::wait(const std::function<bool()>& condition) const
{
    const auto deadline = std::chrono::steady_clock::now() + patience;
    std::unique_lock lock{mutex_};
    while (std::chrono::steady_clock::now() < deadline) {
        lock.unlock();
        const bool met = condition();
        lock.lock();
        if (met) {
            return true;
        }
        // Most conditions change with a callback; the short limit is for those that change otherwise.
        changed_.wait_for(lock, std::chrono::milliseconds{5});
    }
    return false;
}

bool Recorder::wait_for(int type, std::size_t at_least) const
{
    return wait([&] { return count(type) >= at_least; });
}

ReceiverHandle make_receiver(const ContextHandle& ctx, const std::string& topic, Recorder& recorder,
                             lbm_event_queue_t* evq)
{
    lbm_topic_t* resolved = nullptr;
    check(lbm_rcv_topic_lookup(&resolved, ctx.get(), topic.c_str(), nullptr));
    lbm_rcv_t* rcv = nullptr;
    check(lbm_rcv_create(&rcv, ctx.get(), resolved, &Recorder::callback, &recorder, evq));
    return ReceiverHandle{rcv};
}

WildcardHandle make_wildcard(const ContextHandle& ctx, const std::string& pattern, Recorder& recorder,
                             lbm_event_queue_t* evq)
{
    lbm_wildcard_rcv_t* rcv = nullptr;
    check(lbm_wildcard_rcv_create(&rcv, ctx.get(), pattern.c_str(), nullptr, nullptr, &Recorder::callback, &recorder,
                                  evq));
    return WildcardHandle{rcv};
}

QueueHandle make_queue(const OptionList& options)
{
    lbm_event_queue_attr_t* attr = nullptr;
    check(lbm_event_queue_attr_create(&attr));
    const std::unique_ptr<lbm_event_queue_attr_t, int (*)(lbm_event_queue_attr_t*)> owner{attr,
                                                                                          &lbm_event_queue_attr_delete};
    for (const auto& [name, value] : options) {
        check(lbm_event_queue_attr_str_setopt(attr, name, value.c_str()));
    }
    lbm_event_queue_t* evq = nullptr;
    check(lbm_event_queue_create(&evq, nullptr, nullptr, attr));
    return QueueHandle{evq};
}

void connect(const SourceHandle& source, const Recorder& recorder, const std::string& topic)
{
    const bool heard = recorder.wait([&] {
        send(source, "hello", LBM_MSG_FLUSH);
        return recorder.count(LBM_MSG_DATA, topic) > 0;
    });
    if (!heard) {
        throw std::runtime_error("no data of " + topic + " arrived");
    }
}

} // namespace test
