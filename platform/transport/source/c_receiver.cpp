#include <lbm/lbm.h>

#include <chrono>
#include <memory>

#include "attributes.h"
#include "error.h"
#include "fork_guard.h"
#include "handles.h"
#include "topic_name.h"

namespace {

using namespace qx::transport;

template <class Handle>
int destroy(const char* call, Handle* rcv) noexcept
{
    return guarded_live(call, "", [&] {
        require(rcv, "rcv");
        const std::unique_ptr<Handle> handle{rcv};
        handle->receiver->close();
        if (const auto context = handle->context.lock()) {
            context->subscriber().detach(handle->receiver);
        }
    });
}

template <class Handle>
int set_option(const char* call, Handle* rcv, const char* option, const char* value) noexcept
{
    return guarded_live(call, option, [&] {
        require(rcv, "rcv");
        require(option, "option");
        require(value, "value");
        rcv->options.set_text(option, value);
    });
}

template <class Handle>
int get_option(const char* call, Handle* rcv, const char* option, char* value, size_t* length) noexcept
{
    return guarded_live(call, option, [&] {
        require(rcv, "rcv");
        require(option, "option");
        require(value, "value");
        require(length, "length");
        rcv->options.copy_text(option, value, *length);
    });
}

std::chrono::milliseconds absence_of(const Options& options)
{
    return std::chrono::milliseconds{options.get_integer("no_source_ms")};
}

/// The caller's variable is set before the first callback can run. If attaching fails it means nothing, as always.
template <class Handle>
void attach(Handle** out, std::unique_ptr<Handle> handle, Context& context)
{
    Handle* const before = *out;
    *out = handle.get();
    try {
        context.subscriber().attach(handle->receiver);
    } catch (...) {
        *out = before;
        throw;
    }
    static_cast<void>(handle.release());
}

} // namespace

int lbm_rcv_topic_lookup(lbm_topic_t** topic, lbm_context_t* ctx, const char* name, const lbm_rcv_topic_attr_t* attr)
{
    return guarded_live("lbm_rcv_topic_lookup", name, [&] {
        require(topic, "topic");
        require(ctx, "ctx");
        require(name, "name");
        check_topic_name(name);
        *topic = ctx->context->make_topic(name, options_for(*ctx->context, Scope::receiver, attr));
    });
}

int lbm_rcv_create(lbm_rcv_t** rcv, lbm_context_t* ctx, lbm_topic_t* topic, lbm_rcv_cb_proc proc, void* clientd,
                   lbm_event_queue_t* evq)
{
    return guarded_live("lbm_rcv_create", topic != nullptr ? topic->name.c_str() : nullptr, [&] {
        require(rcv, "rcv");
        require(ctx, "ctx");
        require(topic, "topic");
        require(reinterpret_cast<const void*>(proc), "proc");
        require_topic_of(topic, *ctx->context);
        auto handle = std::make_unique<lbm_rcv>(lbm_rcv{nullptr, ctx->context, topic->options});
        const Callback callback{proc, clientd, handle.get()};
        handle->receiver = std::make_shared<Receiver>(topic->name, callback, queue_of(evq, *ctx->context),
                                                      absence_of(handle->options));
        attach(rcv, std::move(handle), *ctx->context);
    });
}

int lbm_rcv_delete(lbm_rcv_t* rcv)
{
    return destroy("lbm_rcv_delete", rcv);
}

int lbm_rcv_str_setopt(lbm_rcv_t* rcv, const char* option, const char* value)
{
    return set_option("lbm_rcv_str_setopt", rcv, option, value);
}

int lbm_rcv_str_getopt(lbm_rcv_t* rcv, const char* option, char* value, size_t* length)
{
    return get_option("lbm_rcv_str_getopt", rcv, option, value, length);
}

int lbm_wildcard_rcv_create(lbm_wildcard_rcv_t** rcv, lbm_context_t* ctx, const char* pattern,
                            const lbm_rcv_topic_attr_t*, const lbm_wildcard_rcv_attr_t* wildcard_attr,
                            lbm_wildcard_rcv_cb_proc proc, void* clientd, lbm_event_queue_t* evq)
{
    return guarded_live("lbm_wildcard_rcv_create", pattern, [&] {
        require(rcv, "rcv");
        require(ctx, "ctx");
        require(pattern, "pattern");
        require(reinterpret_cast<const void*>(proc), "proc");
        const Callback callback{proc, clientd, nullptr};
        auto handle = std::make_unique<lbm_wildcard_rcv>(lbm_wildcard_rcv{
            nullptr, ctx->context, options_for(*ctx->context, Scope::wildcard_receiver, wildcard_attr)});
        handle->receiver = std::make_shared<Receiver>(std::make_unique<TopicPattern>(pattern), callback,
                                                      queue_of(evq, *ctx->context), absence_of(handle->options));
        attach(rcv, std::move(handle), *ctx->context);
    });
}

int lbm_wildcard_rcv_delete(lbm_wildcard_rcv_t* rcv)
{
    return destroy("lbm_wildcard_rcv_delete", rcv);
}

int lbm_wildcard_rcv_str_setopt(lbm_wildcard_rcv_t* rcv, const char* option, const char* value)
{
    return set_option("lbm_wildcard_rcv_str_setopt", rcv, option, value);
}

int lbm_wildcard_rcv_str_getopt(lbm_wildcard_rcv_t* rcv, const char* option, char* value, size_t* length)
{
    return get_option("lbm_wildcard_rcv_str_getopt", rcv, option, value, length);
}
