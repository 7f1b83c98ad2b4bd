/// A context: its sending and its receiving half.
#pragma once

#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>
#include <string>

#include <lbm/lbm.h>

#include "counters.h"
#include "domain.h"
#include "options.h"
#include "publisher.h"
#include "responder.h"
#include "subscriber.h"
#include "xml_config.h"

namespace qx::transport {

/// Threads   any.
class Context {
public:
    explicit Context(ContextSettings settings);
    ~Context();
    Context(const Context&) = delete;
    Context& operator=(const Context&) = delete;

    const Options& options() const noexcept { return settings_.options; }
    Options defaults_for(Scope scope) const { return settings_.defaults_for(scope); }
    Publisher& publisher() noexcept { return publisher_; }
    Subscriber& subscriber() noexcept { return subscriber_; }
    const Counters& counters() const noexcept { return *counters_; }

    /// A topic of the context, the same for the same name and options; it lives as long as the context.
    lbm_topic* make_topic(const char* name, Options options);

    /// Waits until unblocked, closed or the time is over.
    void process_events(unsigned long timeout_ms);
    void unblock();

    /// Stops what it serves. Sources and receivers that still refer to it find it closed.
    void close();

private:
    ContextSettings settings_;
    DomainUse domain_;
    std::shared_ptr<Counters> counters_;
    Publisher publisher_;
    std::shared_ptr<Responder> responder_;
    Subscriber subscriber_;
    std::mutex mutex_;
    std::condition_variable unblocked_;
    std::multimap<std::string, std::unique_ptr<lbm_topic>> topics_; ///< by name; they differ in their options
    std::size_t unblocks_ = 0;
    bool closed_ = false;
};

} // namespace qx::transport

/// A topic as a source or receiver is made from it: a name and the options of its kind.
struct lbm_topic {
    std::string name;
    qx::transport::Options options;
    const qx::transport::Context* owner;
};

struct lbm_context {
    std::shared_ptr<qx::transport::Context> context;
};
