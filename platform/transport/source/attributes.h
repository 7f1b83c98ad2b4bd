/// What the opaque attribute handles of <lbm/lbm.h> point at.
/// Threads   as a standard container: an attribute set is read by many or changed by one.
#pragma once

#include <lbm/lbm.h>

#include "options.h"
#include "xml_config.h"

/// Besides the context's own options, `defaults_for(scope)` gives what the configuration chose for the sources,
/// receivers and queues that are made on it. Use: `Options o = attr->options;
/// o.fill_from(ctx.defaults_for(o.scope()))`.
struct lbm_context_attr : qx::transport::ContextSettings {};

struct lbm_src_topic_attr {
    qx::transport::Options options{qx::transport::Scope::source};
};

struct lbm_rcv_topic_attr {
    qx::transport::Options options{qx::transport::Scope::receiver};
};

struct lbm_wildcard_rcv_attr {
    qx::transport::Options options{qx::transport::Scope::wildcard_receiver};
};

struct lbm_event_queue_attr {
    qx::transport::Options options{qx::transport::Scope::event_queue};
};
