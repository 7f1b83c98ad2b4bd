// Contexts, sources, receivers, messages and responses.
#include "tests/doubles/lbm_double/state.h"

using namespace qx::test::details;

namespace {

HeldMessage* held(lbm_msg_t* msg)
{
    return static_cast<HeldMessage*>(msg);
}

int count_reference(const char* function, lbm_msg_t* msg, int change)
{
    const int result = plain(function, static_cast<const lbm_msg_t*>(msg));
    const std::scoped_lock guard(state().lock);
    held(msg)->references += change;
    return result;
}

void copy_context_options(lbm_context& made, const lbm_context_attr_t* attr)
{
    made.options["context_name"]; // every context has one, if only an empty one
    if (attr != nullptr) {
        for (const auto& [option, value] : attr->options) {
            made.options[option] = value;
        }
    }
    const std::scoped_lock guard(state().lock);
    for (const auto& [option, value] : state().contextOptions) {
        made.options[option] = value;
    }
}

auto source_as(const lbm_topic* topic, lbm_src_cb_proc callback, void* clientd)
{
    return [=](lbm_src& made) {
        made.topic = topic->options.at("name");
        made.callback = callback;
        made.clientd = clientd;
    };
}

template <class T>
auto receiver_as(const char* topic, lbm_rcv_cb_proc callback, void* clientd, lbm_event_queue_t* queue)
{
    return [=](T& made) {
        made.topic = topic;
        made.callback = callback;
        made.clientd = clientd;
        made.queue = queue;
    };
}

} // namespace

extern "C" {

int lbm_context_create(lbm_context_t** ctx, const lbm_context_attr_t* attr, lbm_context_event_cb_proc event_cb,
                       void* clientd)
{
    return create(
        __func__, "context", ctx, [&](lbm_context& made) { copy_context_options(made, attr); }, attr, event_cb,
        clientd);
}

int lbm_context_delete(lbm_context_t* ctx)
{
    return destroy(__func__, ctx);
}

int lbm_context_str_getopt(lbm_context_t* ctx, const char* option, char* value, size_t* length)
{
    return get_option(__func__, ctx, option, value, length);
}

int lbm_context_process_events(lbm_context_t* ctx, unsigned long timeout_ms)
{
    return plain(__func__, ctx, timeout_ms);
}

int lbm_context_unblock(lbm_context_t* ctx)
{
    return plain(__func__, ctx);
}

int lbm_rcv_topic_lookup(lbm_topic_t** topic, lbm_context_t* ctx, const char* name, const lbm_rcv_topic_attr_t* attr)
{
    return create(
        __func__, "topic", topic, [&](lbm_topic& made) { made.options["name"] = name; }, ctx, name, attr);
}

int lbm_rcv_create(lbm_rcv_t** rcv, lbm_context_t* ctx, lbm_topic_t* topic, lbm_rcv_cb_proc proc, void* clientd,
                   lbm_event_queue_t* evq)
{
    const std::string name = topic != nullptr ? topic->options["name"] : "";
    return create(__func__, "rcv", rcv, receiver_as<lbm_rcv>(name.c_str(), proc, clientd, evq), ctx, topic, proc,
                  clientd, evq);
}

int lbm_rcv_delete(lbm_rcv_t* rcv)
{
    return destroy(__func__, rcv);
}

int lbm_rcv_str_setopt(lbm_rcv_t* rcv, const char* option, const char* value)
{
    return set_option(__func__, rcv, option, value, show(value));
}

int lbm_rcv_str_getopt(lbm_rcv_t* rcv, const char* option, char* value, size_t* length)
{
    return get_option(__func__, rcv, option, value, length);
}

int lbm_wildcard_rcv_create(lbm_wildcard_rcv_t** rcv, lbm_context_t* ctx, const char* pattern,
                            const lbm_rcv_topic_attr_t* topic_attr, const lbm_wildcard_rcv_attr_t* wildcard_attr,
                            lbm_wildcard_rcv_cb_proc proc, void* clientd, lbm_event_queue_t* evq)
{
    return create(__func__, "wildcard_rcv", rcv, receiver_as<lbm_wildcard_rcv>(pattern, proc, clientd, evq), ctx,
                  pattern, topic_attr, wildcard_attr, proc, clientd, evq);
}

int lbm_wildcard_rcv_delete(lbm_wildcard_rcv_t* rcv)
{
    return destroy(__func__, rcv);
}

int lbm_wildcard_rcv_str_setopt(lbm_wildcard_rcv_t* rcv, const char* option, const char* value)
{
    return set_option(__func__, rcv, option, value, show(value));
}

int lbm_wildcard_rcv_str_getopt(lbm_wildcard_rcv_t* rcv, const char* option, char* value, size_t* length)
{
    return get_option(__func__, rcv, option, value, length);
}

int lbm_src_topic_alloc(lbm_topic_t** topic, lbm_context_t* ctx, const char* name, const lbm_src_topic_attr_t* attr)
{
    return create(
        __func__, "topic", topic, [&](lbm_topic& made) { made.options["name"] = name; }, ctx, name, attr);
}

int lbm_src_create(lbm_src_t** src, lbm_context_t* ctx, lbm_topic_t* topic, lbm_src_cb_proc proc, void* clientd,
                   lbm_event_queue_t* evq)
{
    return create(__func__, "src", src, source_as(topic, proc, clientd), ctx, topic, proc, clientd, evq);
}

int lbm_src_send(lbm_src_t* src, const char* data, size_t length, int flags)
{
    return plain(__func__, src, std::string(data, length), flags);
}

int lbm_src_delete(lbm_src_t* src)
{
    return destroy(__func__, src);
}

int lbm_send_request(lbm_request_t** req, lbm_src_t* src, const char* data, size_t length, lbm_request_cb_proc proc,
                     void* clientd, lbm_event_queue_t* evq, int flags)
{
    const auto prepare = [&](lbm_request& made) {
        made.topic = src->topic;
        made.payload.assign(data, length);
        made.callback = proc;
        made.clientd = clientd;
    };
    return create(__func__, "request", req, prepare, src, std::string(data, length), proc, clientd, evq, flags);
}

int lbm_request_delete(lbm_request_t* req)
{
    return destroy(__func__, req);
}

int lbm_msg_retain(lbm_msg_t* msg)
{
    return count_reference(__func__, msg, +1);
}

int lbm_msg_delete(lbm_msg_t* msg)
{
    return count_reference(__func__, msg, -1);
}

int lbm_send_response(lbm_response_t* response, const char* data, size_t length, int flags)
{
    return plain(__func__, response, std::string(data, length), flags);
}
}
