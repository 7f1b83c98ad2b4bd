// Sources and requests from the test's side: what comes back to them.
#include "tests/doubles/lbm_double/state.h"

namespace qx::test {

using details::state;

namespace {

/// The living object of that kind and this double for which `wanted` holds; the last one of several. Call with the lock
/// held.
template <class T, class Wanted>
const T* find_object(Wanted wanted)
{
    const T* found = nullptr;
    int number = 0;
    for (const auto& [key, object] : state().objects) {
        const auto* candidate = dynamic_cast<const T*>(object.get());
        if (candidate == nullptr || candidate->session != state().session || !wanted(*candidate)) {
            continue;
        }
        const int candidate_number = std::stoi(candidate->name.substr(candidate->name.find('#') + 1));
        if (candidate_number > number) {
            found = candidate;
            number = candidate_number;
        }
    }
    return found;
}

std::function<void()> prepare_event(const std::string& topic, int event)
{
    const std::scoped_lock guard(state().lock);
    const auto* found = find_object<lbm_src>([&](const lbm_src& source) { return source.topic == topic; });
    if (found == nullptr || found->callback == nullptr) {
        return {};
    }
    auto* handle = const_cast<lbm_src_t*>(found);
    return [=, callback = found->callback, clientd = found->clientd] { callback(handle, event, nullptr, clientd); };
}

/// Null when it is deleted, or there is none yet. Call with the lock held.
const lbm_request* find_request(int n)
{
    const std::string name = "request#" + std::to_string(n);
    return find_object<lbm_request>([&](const lbm_request& request) { return request.name == name; });
}

struct PreparedAnswer {
    std::string topic;
    std::function<void(lbm_msg_t*)> call_back; ///< empty: there is no such request
};

PreparedAnswer prepare_answer(int n)
{
    const std::scoped_lock guard(state().lock);
    const auto* found = find_request(n);
    if (found == nullptr) {
        return {};
    }
    auto* handle = const_cast<lbm_request_t*>(found);
    return {found->topic, [=, callback = found->callback, clientd = found->clientd](lbm_msg_t* msg) {
                callback(handle, msg, clientd);
            }};
}

} // namespace

bool LbmDouble::tell_source(const std::string& topic, int event)
{
    const auto tell = prepare_event(topic, event);
    if (tell) {
        tell();
    }
    return tell != nullptr;
}

std::string LbmDouble::request(int n) const
{
    const std::scoped_lock guard(state().lock);
    const auto* found = find_request(n);
    return found != nullptr ? found->payload : "";
}

bool LbmDouble::answer(int n, const std::string& payload, const std::string& source, std::uint32_t sequenceNumber)
{
    const PreparedAnswer answer = prepare_answer(n);
    if (!answer.call_back) {
        return false;
    }
    lbm_msg_t* msg = make_message({.type = LBM_MSG_RESPONSE,
                                   .payload = payload,
                                   .topic = answer.topic,
                                   .source = source,
                                   .sequenceNumber = sequenceNumber});
    answer.call_back(msg);
    const std::scoped_lock guard(state().lock);
    --static_cast<details::HeldMessage*>(msg)->references;
    return true;
}

} // namespace qx::test
