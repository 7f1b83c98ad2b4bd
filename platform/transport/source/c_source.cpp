#include <lbm/lbm.h>

#include <chrono>
#include <memory>
#include <utility>

#include "attributes.h"
#include "error.h"
#include "fork_guard.h"
#include "handles.h"
#include "send_arguments.h"
#include "topic_name.h"

using namespace qx::transport;

namespace {

WhenFull when_full(const Options& options)
{
    return options.get_text("when_full") == "lose" ? WhenFull::lose : WhenFull::block;
}

void watch(lbm_src& handle, Context& context, SourceWatch::Callback callback, std::shared_ptr<EventQueue> queue)
{
    if (callback.proc != nullptr) {
        handle.watch = std::make_shared<SourceWatch>(handle.source, callback, std::move(queue));
        context.subscriber().watch(handle.watch);
    }
}

} // namespace

int lbm_src_topic_alloc(lbm_topic_t** topic, lbm_context_t* ctx, const char* name, const lbm_src_topic_attr_t* attr)
{
    return guarded_live("lbm_src_topic_alloc", name, [&] {
        require(topic, "topic");
        require(ctx, "ctx");
        require(name, "name");
        check_topic_name(name);
        *topic = ctx->context->make_topic(name, options_for(*ctx->context, Scope::source, attr));
    });
}

int lbm_src_create(lbm_src_t** src, lbm_context_t* ctx, lbm_topic_t* topic, lbm_src_cb_proc proc, void* clientd,
                   lbm_event_queue_t* evq)
{
    return guarded_live("lbm_src_create", topic != nullptr ? topic->name.c_str() : nullptr, [&] {
        require(src, "src");
        require(ctx, "ctx");
        require(topic, "topic");
        require_topic_of(topic, *ctx->context);
        auto handle = std::make_unique<lbm_src>(lbm_src{nullptr, nullptr, ctx->context});
        handle->source = ctx->context->publisher().open(topic->name, when_full(topic->options));
        lbm_src_t* const before = std::exchange(*src, handle.get()); // set before the first event can come
        try {
            watch(*handle, *ctx->context, {proc, clientd, handle.get()}, queue_of(evq, *ctx->context));
        } catch (...) {
            *src = before;
            ctx->context->publisher().close_source(*handle->source, {Clock::now()});
            throw;
        }
        static_cast<void>(handle.release());
    });
}

int lbm_src_send(lbm_src_t* src, const char* data, size_t length, int flags)
{
    if (src == nullptr) {
        return guarded_live("lbm_src_send", nullptr, [&] { require(src, "src"); });
    }
    return guarded_live("lbm_src_send", src->source->topic.c_str(), [&] {
        check_send(data, length, flags);
        src->source->stream->send(*src->source, {data, length}, wait_by(flags));
    });
}

int lbm_src_delete(lbm_src_t* src)
{
    return guarded_live("lbm_src_delete", src != nullptr ? src->source->topic.c_str() : nullptr, [&] {
        require(src, "src");
        const std::unique_ptr<lbm_src> handle{src};
        if (handle->watch) {
            handle->watch->close();
        }
        if (const auto context = handle->context.lock()) {
            if (handle->watch) {
                context->subscriber().unwatch(handle->watch);
            }
            const std::chrono::milliseconds patience{context->options().get_integer("close_wait_ms")};
            context->publisher().close_source(*handle->source, {Clock::now() + patience});
        }
    });
}
