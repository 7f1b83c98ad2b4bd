/// What the remaining opaque handles of <lbm/lbm.h> point at.
#pragma once

#include <memory>

#include <lbm/lbm.h>

#include "context.h"
#include "event_queue.h"
#include "options.h"
#include "receiver.h"
#include "request.h"
#include "source_watch.h"

struct lbm_event_queue {
    std::shared_ptr<qx::transport::EventQueue> queue;
};

/// A handle outlives its context if the application wants: then `context` has expired.
struct lbm_rcv {
    std::shared_ptr<qx::transport::Receiver> receiver;
    std::weak_ptr<qx::transport::Context> context;
    qx::transport::Options options;
};

struct lbm_wildcard_rcv {
    std::shared_ptr<qx::transport::Receiver> receiver;
    std::weak_ptr<qx::transport::Context> context;
    qx::transport::Options options;
};

struct lbm_src {
    std::shared_ptr<qx::transport::LocalSource> source;
    std::shared_ptr<qx::transport::SourceWatch> watch; ///< empty when the application gave no callback
    std::weak_ptr<qx::transport::Context> context;
};

struct lbm_request {
    std::shared_ptr<qx::transport::Request> request;
    std::weak_ptr<qx::transport::Context> context;
    std::uint64_t number = 0; ///< within its context
};

namespace qx::transport {

/// The options of a new object: what the application chose, then what the configuration chose for its kind.
template <class Attr>
Options options_for(const Context& context, Scope scope, const Attr* attr)
{
    Options options = attr != nullptr ? attr->options : Options{scope};
    options.fill_from(context.defaults_for(scope));
    return options;
}

/// An event queue is made without a context; it takes its defaults from the first that it is used on.
inline std::shared_ptr<EventQueue> queue_of(const lbm_event_queue* evq, const Context& context)
{
    if (evq == nullptr) {
        return nullptr;
    }
    evq->queue->configure([&] { return context.defaults_for(Scope::event_queue); });
    return evq->queue;
}

/// Throws TransportError (LBM_EINVAL) unless the topic was made for that context.
inline void require_topic_of(const lbm_topic* topic, const Context& context)
{
    if (topic->owner != &context) {
        throw TransportError(LBM_EINVAL, "the topic belongs to another context");
    }
}

} // namespace qx::transport
