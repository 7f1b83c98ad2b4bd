#include "tests/doubles/lbm_double/state.h"

#include <cstring>

namespace qx::test::details {
namespace {

struct ThreadError {
    int errnum = 0;
    std::optional<std::string> errmsg = "";
};

thread_local ThreadError t_error;

/// Counts the call and takes the script that was planned for it, the latest of several. Call with the lock held.
std::optional<Script> take_planned(const std::string& function)
{
    std::optional<Script> taken;
    auto& planned = state().scripts[function];
    for (auto script = planned.begin(); script != planned.end();) {
        if (script->callsUntil-- == 0) {
            taken = script->script;
            script = planned.erase(script);
        } else {
            ++script;
        }
    }
    return taken;
}

} // namespace

State& state()
{
    static auto* instance = new State;
    return *instance;
}

int fail(int errnum, std::optional<std::string> errmsg)
{
    t_error = {errnum, std::move(errmsg)};
    return LBM_FAILURE;
}

Script take_script(const std::string& function)
{
    const std::scoped_lock guard(state().lock);
    Script taken{.result = LBM_OK};
    if (const auto standing = state().standing.find(function); standing != state().standing.end()) {
        taken = standing->second;
    }
    if (const auto planned = take_planned(function)) {
        taken = *planned;
    }
    if (taken.result == LBM_FAILURE) {
        fail(taken.errnum, taken.errmsg);
    }
    return taken;
}

void record(const std::string& function, const std::string& arguments, const std::string& outcome)
{
    const std::scoped_lock guard(state().lock);
    state().calls.push_back(function + "(" + arguments + ")" + outcome);
}

void run_hook(const std::string& function)
{
    std::function<void()> hook;
    {
        const std::scoped_lock guard(state().lock);
        if (const auto found = state().hooks.find(function); found != state().hooks.end()) {
            hook = found->second;
        }
    }
    if (hook) {
        hook();
    }
}

void adopt(std::unique_ptr<Object> object, const std::string& kind)
{
    const std::scoped_lock guard(state().lock);
    object->name = kind + "#" + std::to_string(++state().numbers[kind]);
    object->session = state().session;
    const void* const key = object.get();
    state().objects[key] = std::move(object);
}

int destroy(const char* function, const Object* object)
{
    Script script = take_script(function);
    if (object == nullptr && script.result == LBM_OK) {
        script.result = fail(LBM_EINVAL, "null handle");
    }
    record(function, show(object), show_result(script.result));
    run_hook(function);
    if (script.result != LBM_FAILURE) {
        const std::scoped_lock guard(state().lock);
        state().objects.erase(object);
    }
    return script.result;
}

std::string show(const Object* object)
{
    return object != nullptr ? object->name : "null";
}

std::string show(const lbm_msg_t* msg)
{
    return msg != nullptr ? static_cast<const HeldMessage*>(msg)->name : "null";
}

std::string show(const char* text)
{
    return text != nullptr ? show(std::string(text)) : "null";
}

std::string show(const std::string& text)
{
    return "'" + text + "'";
}

int set_option(const char* function, Object* object, const char* option, const std::string& value,
               const std::string& shownValue)
{
    Script script = take_script(function);
    if (object == nullptr && script.result == LBM_OK) {
        script.result = fail(LBM_EINVAL, "null handle");
    }
    if (script.result != LBM_FAILURE) {
        object->options[option] = value;
    }
    record(function, show_all(object, option) + ", " + shownValue, show_result(script.result));
    run_hook(function);
    return script.result;
}

int get_option(const char* function, const Object* object, const char* option, char* value, std::size_t* length)
{
    Script script = take_script(function);
    const auto found = object != nullptr ? object->options.find(option) : decltype(object->options.end()){};
    if (script.result == LBM_OK && (object == nullptr || found == object->options.end())) {
        script.result = fail(LBM_EINVAL, object == nullptr ? "null handle" : "no such option");
    }
    if (script.result == LBM_OK && found->second.size() >= *length) {
        script.result = fail(LBM_EINVAL, "buffer too small");
    }
    record(function, show_all(object, option, *length), show_result(script.result));
    if (script.result == LBM_OK) {
        std::memcpy(value, found->second.c_str(), found->second.size() + 1);
        *length = found->second.size();
    }
    run_hook(function);
    return script.result;
}

int set_bytes(const char* function, Object* object, const char* option, const void* value, std::size_t length)
{
    int number = 0;
    if (length == sizeof number) {
        std::memcpy(&number, value, sizeof number);
    }
    const std::string text =
        length == sizeof number ? std::to_string(number) : std::string(static_cast<const char*>(value), length);
    return set_option(function, object, option, text, text + ", " + std::to_string(length));
}

int get_bytes(const char* function, const Object* object, const char* option, void* value, std::size_t* length)
{
    char text[1024];
    std::size_t textLength = sizeof text;
    const int result = get_option(function, object, option, text, &textLength);
    if (result == LBM_OK && *length >= sizeof(int)) {
        const int number = std::stoi(text);
        std::memcpy(value, &number, sizeof number);
        *length = sizeof number;
    }
    return result;
}

} // namespace qx::test::details

extern "C" {

const char* lbm_errmsg(void)
{
    {
        const std::scoped_lock guard(qx::test::details::state().lock);
        ++qx::test::details::state().errmsgCalls;
    }
    const auto& errmsg = qx::test::details::t_error.errmsg;
    return errmsg ? errmsg->c_str() : nullptr;
}

int lbm_errnum(void)
{
    return qx::test::details::t_error.errnum;
}
}
