/// The back end as one object: formats a statement, finds its sink, and writes the line at once or through the queue.
#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <string_view>

#include <logger/logger.h>
#include <spdlog/async_logger.h>

#include "config.h"
#include "line_sinks.h"

namespace spdlog::details {
class thread_pool;
}

namespace qx::logging::backend {

class Backend {
public:
    /// Made from the environment on the first call and never destroyed: static objects may log until the very end.
    static Backend& instance();

    explicit Backend(OutputConfig config);
    ~Backend();
    Backend(const Backend&) = delete;
    Backend& operator=(const Backend&) = delete;

    /// Writes one line to the sink named `handlerName`: "stderr", "stdout", or "file" when a file is configured. An
    /// empty name means the default sink, which is the file when there is one and standard error otherwise; so does
    /// an unknown name, which is reported once. Throws what the sink throws; with a queue such failures are reported
    /// by the writing thread instead.
    void write(const LogRecord& record, const std::string& handlerName);

    /// Empties the queue and ends its thread. From then on lines are written at once, by the thread that logs.
    void drain();

    /// Around a fork, which takes along only the thread that calls it: no lock may be held by another one meanwhile,
    /// and the child has no writing thread. It writes at once; what is queued belongs to the parent. Not covered is a
    /// fork while another thread is at the program's very first statement, when the back end is still being made.
    void beforeFork();
    void afterForkInParent();
    void afterForkInChild();

private:
    /// A sink, and the same sink behind the queue.
    struct Route {
        std::shared_ptr<LineSink> direct;
        std::shared_ptr<spdlog::async_logger> queued;
    };
    using Routes = std::map<std::string, Route, std::less<>>;

    void addRoute(const std::string& name, std::shared_ptr<LineSink> sink);
    void addFileRoute();
    void startQueue();
    const Route& routeFor(const std::string& handlerName);
    void reportUnknown(const std::string& handlerName);
    std::string lineOf(const LogRecord& record);
    bool enqueue(const Route& route, std::string_view line);

    const OutputConfig m_config;
    Routes m_routes; ///< fixed once constructed
    const Route* m_defaultRoute = nullptr;

    std::mutex m_zoneLock; ///< around the C library's lock of its time zone, for a fork to wait for

    std::mutex m_queueLock; ///< held while a line is put in, so that the queue never ends under a waiting thread
    std::shared_ptr<spdlog::details::thread_pool> m_queue; ///< one thread; empty when lines are written at once

    std::shared_ptr<spdlog::details::thread_pool> m_parentsQueue; ///< in a forked child, never to be joined

    std::mutex m_unknownLock;
    std::set<std::string> m_unknown; ///< handler names already reported
};

} // namespace qx::logging::backend
