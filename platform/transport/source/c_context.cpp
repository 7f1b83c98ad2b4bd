#include <lbm/lbm.h>

#include <memory>
#include <utility>

#include "attributes.h"
#include "context.h"
#include "context_warnings.h"
#include "error.h"
#include "fork_guard.h"

using qx::transport::Context;
using qx::transport::ContextSettings;
using qx::transport::ContextWarnings;
using qx::transport::guarded_live;
using qx::transport::require;

namespace {

constinit ContextWarnings process_warnings;

} // namespace

int lbm_context_create(lbm_context_t** ctx, const lbm_context_attr_t* attr, lbm_context_event_cb_proc, void*)
{
    return guarded_live("lbm_context_create", "", [&] {
        require(ctx, "ctx");
        auto handle = std::make_unique<lbm_context>();
        ContextSettings settings{attr != nullptr ? static_cast<const ContextSettings&>(*attr) : ContextSettings{}};
        process_warnings.give(settings.options);
        handle->context = std::make_shared<Context>(std::move(settings));
        *ctx = handle.release();
    });
}

int lbm_context_delete(lbm_context_t* ctx)
{
    return guarded_live("lbm_context_delete", "", [&] {
        require(ctx, "ctx");
        const std::unique_ptr<lbm_context> handle{ctx};
        handle->context->close();
    });
}

int lbm_context_str_getopt(lbm_context_t* ctx, const char* option, char* value, size_t* length)
{
    return guarded_live("lbm_context_str_getopt", option, [&] {
        require(ctx, "ctx");
        require(option, "option");
        require(value, "value");
        require(length, "length");
        ctx->context->options().copy_text(option, value, *length);
    });
}

int lbm_context_retrieve_stats(lbm_context_t* ctx, lbm_context_stats_t* stats)
{
    return guarded_live("lbm_context_retrieve_stats", "", [&] {
        require(stats, "stats");
        if (ctx == nullptr) {
            *stats = qx::transport::process_stats();
            return;
        }
        *stats = {};
        ctx->context->counters().add_to(*stats);
    });
}

int lbm_context_process_events(lbm_context_t* ctx, unsigned long timeout_ms)
{
    return guarded_live("lbm_context_process_events", "", [&] {
        require(ctx, "ctx");
        const std::shared_ptr<Context> context = ctx->context; // another thread may delete the handle meanwhile
        context->process_events(timeout_ms);
    });
}

int lbm_context_unblock(lbm_context_t* ctx)
{
    return guarded_live("lbm_context_unblock", "", [&] {
        require(ctx, "ctx");
        ctx->context->unblock();
    });
}
