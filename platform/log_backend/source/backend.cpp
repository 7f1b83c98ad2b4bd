#include "backend.h"

#include <csignal>
#include <cstdlib>
#include <utility>

#include <pthread.h>
#include <spdlog/details/thread_pool.h>
#include <unistd.h>

#include "line_format.h"
#include "line_sinks.h"
#include "report.h"

namespace qx::logging::backend {

namespace {

constexpr auto anyLevel = spdlog::level::info; // our own levels were tested before the statement was made
constexpr std::size_t unknownNamesMax = 32;

OutputConfig configFromEnvironment()
{
    auto reading = readOutputConfig([](const char* name) { return std::getenv(name); });
    for (const auto& complaint : reading.complaints) {
        report(complaint);
    }
    return std::move(reading.value);
}

/// Threads that are started while it lives begin with every signal blocked: the host program's signals are for its own
/// threads, from the first instruction of ours.
class AllSignalsBlocked {
public:
    AllSignalsBlocked()
    {
        sigset_t all{};
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &m_before);
    }
    ~AllSignalsBlocked() { pthread_sigmask(SIG_SETMASK, &m_before, nullptr); }
    AllSignalsBlocked(const AllSignalsBlocked&) = delete;
    AllSignalsBlocked& operator=(const AllSignalsBlocked&) = delete;

private:
    sigset_t m_before{};
};

void nameWriterThread()
{
    pthread_setname_np(pthread_self(), "qx_log");
}

} // namespace

Backend& Backend::instance()
{
    static auto* const backend = [] {
        auto* made = new Backend(configFromEnvironment());
        std::atexit([] { instance().drain(); });
        pthread_atfork([] { instance().beforeFork(); }, [] { instance().afterForkInParent(); },
                       [] { instance().afterForkInChild(); });
        return made;
    }();
    return *backend;
}

Backend::Backend(OutputConfig config)
    : m_config(std::move(config))
{
    startQueue();
    addRoute("stderr", std::make_shared<DescriptorSink>(STDERR_FILENO));
    addRoute("stdout", std::make_shared<DescriptorSink>(STDOUT_FILENO));
    addFileRoute();
    const auto file = m_routes.find("file");
    m_defaultRoute = file != m_routes.end() ? &file->second : &m_routes.at("stderr");
}

Backend::~Backend()
{
    drain();
}

void Backend::addRoute(const std::string& name, std::shared_ptr<LineSink> sink)
{
    auto queued = std::make_shared<spdlog::async_logger>(name, sink, m_queue);
    queued->set_error_handler([](const std::string& why) { reportLoss(why); });
    m_routes.emplace(name, Route{std::move(sink), std::move(queued)});
}

void Backend::addFileRoute()
{
    if (m_config.file.empty()) {
        return;
    }
    try {
        addRoute("file", std::make_shared<RotatingFileSink>(m_config.file, m_config.fileBytesMax, m_config.fileCount));
    } catch (const std::exception& failure) {
        report(std::string("QX_LOG_FILE cannot be opened, lines go to standard error: ") + failure.what());
    }
}

void Backend::startQueue()
{
    if (m_config.queueLines == 0) {
        return;
    }
    try {
        const AllSignalsBlocked inherited;
        m_queue = std::make_shared<spdlog::details::thread_pool>(m_config.queueLines, 1, nameWriterThread);
    } catch (const std::exception& failure) {
        report(std::string("QX_LOG_ASYNC cannot be had, lines are written at once: ") + failure.what());
    }
}

void Backend::write(const LogRecord& record, const std::string& handlerName)
{
    const Route& route = routeFor(handlerName);
    const std::string line = lineOf(record);
    if (!enqueue(route, line)) {
        route.direct->log(spdlog::details::log_msg({}, anyLevel, line));
    }
}

std::string Backend::lineOf(const LogRecord& record)
{
    if (m_config.timeZone == TimeZone::utc) {
        return formatLine(record, m_config.format, m_config.timeZone);
    }
    const std::scoped_lock guard(m_zoneLock);
    return formatLine(record, m_config.format, m_config.timeZone);
}

bool Backend::enqueue(const Route& route, std::string_view line)
{
    if (m_config.queueLines == 0) {
        return false;
    }
    const std::scoped_lock guard(m_queueLock);
    if (m_queue == nullptr) {
        return false;
    }
    route.queued->log(anyLevel, spdlog::string_view_t(line.data(), line.size()));
    return true;
}

void Backend::drain()
{
    const std::scoped_lock guard(m_queueLock);
    m_queue.reset(); // writes what is queued, then joins the thread
}

void Backend::beforeFork()
{
    m_zoneLock.lock();
    m_unknownLock.lock();
    m_queueLock.lock();
    for (const auto& [name, route] : m_routes) {
        route.direct->lock();
    }
}

void Backend::afterForkInParent()
{
    for (const auto& [name, route] : m_routes) {
        route.direct->unlock();
    }
    m_queueLock.unlock();
    m_unknownLock.unlock();
    m_zoneLock.unlock();
}

void Backend::afterForkInChild()
{
    m_parentsQueue = std::move(m_queue);
    m_queue.reset();
    afterForkInParent();
}

const Backend::Route& Backend::routeFor(const std::string& handlerName)
{
    if (handlerName.empty()) {
        return *m_defaultRoute;
    }
    const auto found = m_routes.find(handlerName);
    if (found == m_routes.end()) {
        reportUnknown(handlerName);
        return *m_defaultRoute;
    }
    return found->second;
}

void Backend::reportUnknown(const std::string& handlerName)
{
    {
        const std::scoped_lock guard(m_unknownLock);
        if (m_unknown.size() >= unknownNamesMax || !m_unknown.insert(handlerName).second) {
            return;
        }
    }
    report("no handler is named '" + handlerName +
           "' (stderr, stdout, or file when QX_LOG_FILE is set); its lines go where the others go");
}

} // namespace qx::logging::backend
