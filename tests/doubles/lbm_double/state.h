/// The inside of the double: what the opaque handles are, and the three shapes that nearly every function has.
#pragma once

#include <condition_variable>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <type_traits>
#include <utility>

#include "tests/doubles/lbm_double/lbm_double.h"

namespace qx::test::details {

struct Object {
    virtual ~Object() = default;
    std::string name;
    int session = 0; ///< of which LbmDouble
    std::map<std::string, std::string> options;
};

struct ReceiverObject : Object {
    std::string topic; ///< or pattern
    lbm_rcv_cb_proc callback = nullptr;
    void* clientd = nullptr;
    lbm_event_queue_t* queue = nullptr;
};

} // namespace qx::test::details

struct lbm_context_attr : qx::test::details::Object {};
struct lbm_event_queue_attr : qx::test::details::Object {};
struct lbm_rcv_topic_attr : qx::test::details::Object {};
struct lbm_wildcard_rcv_attr : qx::test::details::Object {};
struct lbm_src_topic_attr : qx::test::details::Object {};
struct lbm_context : qx::test::details::Object {};
struct lbm_topic : qx::test::details::Object {};
struct lbm_src : qx::test::details::Object {
    std::string topic;
    lbm_src_cb_proc callback = nullptr;
    void* clientd = nullptr;
};
struct lbm_request : qx::test::details::Object {
    std::string topic;
    std::string payload;
    lbm_request_cb_proc callback = nullptr;
    void* clientd = nullptr;
};
struct lbm_rcv : qx::test::details::ReceiverObject {};
struct lbm_wildcard_rcv : qx::test::details::ReceiverObject {};
struct lbm_response : qx::test::details::Object {};
struct lbm_event_queue : qx::test::details::Object {
    bool unblocked = false;
    bool shutDown = false;
    std::deque<std::function<void()>> posted;
};

namespace qx::test::details {

struct HeldMessage : lbm_msg_t {
    std::string name;
    std::string payload;
    std::string topic;
    std::string source_text;
    lbm_response response_object;
    int references = 1;
};

struct PlannedScript {
    int callsUntil; ///< 0: this call
    Script script;
};

/// Never destroyed: objects under test may call the transport while the program exits.
struct State {
    mutable std::mutex lock;
    std::condition_variable queueChanged;
    int session = 0;
    Calls calls;
    int errmsgCalls = 0;
    std::map<std::string, int> numbers; ///< of the last object of each kind
    std::map<const void*, std::unique_ptr<Object>> objects;
    std::deque<HeldMessage> messages;
    std::map<std::string, std::deque<PlannedScript>> scripts;
    std::map<std::string, Script> standing;
    std::map<std::string, std::function<void()>> hooks;
    std::map<std::string, std::string> contextOptions;
    lbm_context_stats_t contextStats{};
    lbm_event_queue_stats_t eventQueueStats{};
};

State& state();

/// Sets the calling thread's error and returns LBM_FAILURE.
int fail(int errnum, std::optional<std::string> errmsg);

/// The script for this call, taken; one that succeeds when there is none. Sets the error of a failure.
Script take_script(const std::string& function);
void record(const std::string& function, const std::string& arguments, const std::string& outcome);
void run_hook(const std::string& function);
/// Owns the object and names it after its kind.
void adopt(std::unique_ptr<Object> object, const std::string& kind);

std::string show(const Object* object);
std::string show(const lbm_msg_t* msg);
std::string show(const char* text);
std::string show(const std::string& text);
std::string show_pointer(const void* pointer, const std::string& what);
std::string show_options(const Object& object);

template <class T>
std::string show_argument(const T& argument)
{
    if constexpr (std::is_arithmetic_v<T>) {
        return std::to_string(argument);
    } else if constexpr (std::is_null_pointer_v<T>) {
        return "null";
    } else if constexpr (std::is_pointer_v<T> && std::is_function_v<std::remove_pointer_t<T>>) {
        return argument != nullptr ? "callback" : "null";
    } else if constexpr (std::is_pointer_v<T> && std::is_void_v<std::remove_pointer_t<T>>) {
        return argument != nullptr ? "clientd" : "null";
    } else {
        return show(argument);
    }
}

template <class... Args>
std::string show_all(const Args&... args)
{
    std::string text;
    ((text += (text.empty() ? "" : ", ") + show_argument(args)), ...);
    return text;
}

inline std::string show_result(int result)
{
    return result == 0 ? "" : " = " + std::to_string(result);
}

/// A call that makes nothing.
template <class... Args>
int plain(const char* function, const Args&... args)
{
    const Script script = take_script(function);
    record(function, show_all(args...), show_result(script.result));
    run_hook(function);
    return script.result;
}

/// A call that makes a T; `prepare` is given it before anybody else sees it.
template <class T, class Prepare, class... Args>
int create(const char* function, const char* kind, T** out, Prepare prepare, const Args&... args)
{
    const Script script = take_script(function);
    std::string outcome = show_result(script.result);
    if (script.result != LBM_FAILURE && !script.withoutHandle) {
        auto object = std::make_unique<T>();
        *out = object.get();
        prepare(**out);
        adopt(std::move(object), kind);
        outcome = " = " + (*out)->name + (script.result == 0 ? "" : " and " + std::to_string(script.result));
    }
    record(function, show_all(args...), outcome);
    run_hook(function);
    return script.result;
}

int destroy(const char* function, const Object* object);

/// Option access; `object` may be null, which is a failure.
int set_option(const char* function, Object* object, const char* option, const std::string& value,
               const std::string& shownValue);
int get_option(const char* function, const Object* object, const char* option, char* value, std::size_t* length);
int set_bytes(const char* function, Object* object, const char* option, const void* value, std::size_t length);
int get_bytes(const char* function, const Object* object, const char* option, void* value, std::size_t* length);

} // namespace qx::test::details
