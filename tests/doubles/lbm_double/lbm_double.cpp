#include "tests/doubles/lbm_double/lbm_double.h"

#include <algorithm>
#include <stdexcept>

#include "tests/doubles/lbm_double/state.h"

namespace qx::test {

using details::state;

namespace {

/// Objects stay: code under test may still hold them, and deletes them later.
void start_afresh()
{
    const std::scoped_lock guard(state().lock);
    ++state().session;
    state().calls.clear();
    state().errmsgCalls = 0;
    state().numbers.clear();
    state().scripts.clear();
    state().standing.clear();
    state().hooks.clear();
    state().contextOptions.clear();
    state().contextStats = {};
    state().eventQueueStats = {};
}

/// The living receivers of this double for that topic or pattern, in order of their making. Call with the lock held.
std::vector<details::ReceiverObject*> find_receivers(const std::string& topicOrPattern)
{
    std::vector<details::ReceiverObject*> found;
    for (const auto& [key, object] : state().objects) {
        auto* receiver = dynamic_cast<details::ReceiverObject*>(object.get());
        if (receiver != nullptr && receiver->session == state().session && receiver->topic == topicOrPattern) {
            found.push_back(receiver);
        }
    }
    const auto number = [](const auto* receiver) {
        return std::stoi(receiver->name.substr(receiver->name.find('#') + 1));
    };
    std::sort(found.begin(), found.end(), [&](auto* a, auto* b) { return number(a) < number(b); });
    return found;
}

/// As the transport does: calls back, then drops its own reference, whatever happened.
int call_back(lbm_rcv_cb_proc callback, lbm_rcv_t* handle, void* clientd, lbm_msg_t* msg)
{
    struct DropReference {
        lbm_msg_t* msg;
        ~DropReference()
        {
            const std::scoped_lock guard(state().lock);
            --static_cast<details::HeldMessage*>(msg)->references;
        }
    } drop{msg};
    return callback(handle, msg, clientd);
}

/// The transport's own fields, which point into the texts that `msg` holds.
void set_fields(details::HeldMessage& msg, const MessageSpec& spec)
{
    msg.type = spec.type;
    msg.flags = spec.flags;
    msg.data = msg.payload.empty() ? nullptr : msg.payload.data();
    msg.len = msg.payload.size();
    msg.topic_name = msg.topic.c_str();
    msg.source = msg.source_text.c_str();
    msg.sequence_number = spec.sequenceNumber;
    msg.response = spec.withResponse ? &msg.response_object : nullptr;
}

std::optional<std::function<int()>> prepare_delivery(const std::string& topicOrPattern, lbm_msg_t* msg,
                                                     lbm_event_queue_t** queue = nullptr)
{
    const std::scoped_lock guard(state().lock);
    const auto found = find_receivers(topicOrPattern);
    if (found.empty()) {
        return std::nullopt;
    }
    const auto* receiver = found.back();
    if (queue != nullptr) {
        *queue = receiver->queue;
    }
    auto* handle = const_cast<lbm_rcv_t*>(dynamic_cast<const lbm_rcv_t*>(receiver));
    return [=, callback = receiver->callback, clientd = receiver->clientd] {
        return call_back(callback, handle, clientd, msg);
    };
}

} // namespace

LbmDouble::LbmDouble()
{
    start_afresh();
    details::fail(0, "");
}

LbmDouble::~LbmDouble()
{
    start_afresh();
}

Calls LbmDouble::calls() const
{
    const std::scoped_lock guard(state().lock);
    return state().calls;
}

Calls LbmDouble::calls(const std::string& prefix) const
{
    Calls chosen;
    for (const auto& call : calls()) {
        if (call.starts_with(prefix)) {
            chosen.push_back(call);
        }
    }
    return chosen;
}

void LbmDouble::clear_calls()
{
    const std::scoped_lock guard(state().lock);
    state().calls.clear();
}

void LbmDouble::note(const std::string& text)
{
    const std::scoped_lock guard(state().lock);
    state().calls.push_back(text);
}

int LbmDouble::errmsg_calls() const
{
    const std::scoped_lock guard(state().lock);
    return state().errmsgCalls;
}

std::vector<std::string> LbmDouble::leaks() const
{
    const std::scoped_lock guard(state().lock);
    std::vector<std::string> names;
    for (const auto& [key, object] : state().objects) {
        if (object->session == state().session && dynamic_cast<lbm_topic_t*>(object.get()) == nullptr) {
            names.push_back(object->name);
        }
    }
    std::sort(names.begin(), names.end());
    return names;
}

void LbmDouble::fail_next(const std::string& function, int errnum, const std::string& errmsg)
{
    fail_nth(function, 1, errnum, errmsg);
}

void LbmDouble::fail_nth(const std::string& function, int n, int errnum, const std::string& errmsg)
{
    script_nth(function, n, {.errnum = errnum, .errmsg = errmsg});
}

void LbmDouble::fail_always(const std::string& function, int errnum, const std::string& errmsg)
{
    const std::scoped_lock guard(state().lock);
    state().standing[function] = {.errnum = errnum, .errmsg = errmsg};
}

void LbmDouble::script_nth(const std::string& function, int n, const Script& script)
{
    const std::scoped_lock guard(state().lock);
    state().scripts[function].push_back({n - 1, script});
}

void LbmDouble::on_call(const std::string& function, std::function<void()> hook)
{
    const std::scoped_lock guard(state().lock);
    state().hooks[function] = std::move(hook);
}

void LbmDouble::set_error(int errnum, const std::string& errmsg)
{
    details::fail(errnum, errmsg);
}

void LbmDouble::set_context_option(const std::string& option, const std::string& value)
{
    const std::scoped_lock guard(state().lock);
    state().contextOptions[option] = value;
}

void LbmDouble::set_context_stats(const lbm_context_stats_t& stats)
{
    const std::scoped_lock guard(state().lock);
    state().contextStats = stats;
}

void LbmDouble::set_event_queue_stats(const lbm_event_queue_stats_t& stats)
{
    const std::scoped_lock guard(state().lock);
    state().eventQueueStats = stats;
}

lbm_msg_t* LbmDouble::make_message(const MessageSpec& spec)
{
    const std::scoped_lock guard(state().lock);
    auto& msg = state().messages.emplace_back();
    const auto number = std::to_string(++state().numbers["msg"]);
    msg.name = "msg#" + number;
    msg.response_object.name = "response#" + number;
    msg.payload = spec.payload;
    msg.topic = spec.topic;
    msg.source_text = spec.source;
    set_fields(msg, spec);
    return &msg;
}

int LbmDouble::refcount(const lbm_msg_t* msg) const
{
    const std::scoped_lock guard(state().lock);
    return static_cast<const details::HeldMessage*>(msg)->references;
}

std::optional<int> LbmDouble::deliver(const std::string& topicOrPattern, lbm_msg_t* msg)
{
    const auto delivery = prepare_delivery(topicOrPattern, msg);
    return delivery ? std::optional<int>((*delivery)()) : std::nullopt;
}

bool LbmDouble::post(const std::string& topicOrPattern, lbm_msg_t* msg)
{
    lbm_event_queue_t* queue = nullptr;
    const auto delivery = prepare_delivery(topicOrPattern, msg, &queue);
    if (!delivery || queue == nullptr) {
        return false;
    }
    {
        const std::scoped_lock guard(state().lock);
        queue->posted.emplace_back([run = *delivery] { run(); });
    }
    state().queueChanged.notify_all();
    return true;
}

int LbmDouble::receivers(const std::string& topicOrPattern) const
{
    const std::scoped_lock guard(state().lock);
    return static_cast<int>(find_receivers(topicOrPattern).size());
}

} // namespace qx::test
