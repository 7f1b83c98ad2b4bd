// Start-up, configuration and shutdown of the triage handler.
#include <lbm/triage_handler.h>

#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <iostream>
#include <optional>
#include <system_error>

#include <pthread.h>

#include "calls.h"
#include "triage_log.h"

namespace lbm {
namespace {

namespace variable {
constexpr const char* disable = "DISABLE_LBM_TRIAGE_HANDLER";
constexpr const char* environment = "CHEF_ENVIRONMENT";
constexpr const char* dataCenter = "DATA_CENTER";
constexpr const char* useEventQueue = "TRIAGE_HANDLER_USE_EVENT_QUEUE";
constexpr const char* maxRetries = "TRIAGE_HANDLER_MAX_RETRIES";
constexpr const char* timeBetweenRetries = "TRIAGE_HANDLER_TIME_BETWEEN_RETRIES_MS";
} // namespace variable

/// Only a handler with a thread of its own may wait for a requester: on a context's thread a retry would hold up the
/// context's records. So without it the defaults are no retries; the difference is meant.
constexpr int maxRetriesWithEventQueue = 1;
constexpr int timeBetweenRetriesMsWithEventQueue = 55;

constexpr const char* threadName = "lbm_th_evq"; // at most 15 characters

/// The number that a text begins with, cut to an int as it stands; what follows it is ignored. Empty: there is none, or
/// it exceeds a long.
std::optional<int> ParseLeadingNumber(const String& text)
{
    char* end = nullptr;
    errno = 0;
    const long number = std::strtol(text.c_str(), &end, 10);
    if (errno == ERANGE || end == text.c_str()) {
        return std::nullopt;
    }
    return static_cast<int>(number);
}

/// Destruction writes here and not to the log: it may run when the log is gone or silent. An output that was told to
/// throw must not keep the rest from being destroyed.
template <class... Texts>
void Print(const Texts&... texts) noexcept
{
    try {
        ((std::cout << texts), ...) << std::endl;
    } catch (...) {
        return;
    }
}

} // namespace

std::shared_ptr<LbmTriageHandler> LbmTriageHandler::getInstance()
{
    static const std::shared_ptr<LbmTriageHandler> instance = [] {
        auto handler = std::make_unique<LbmTriageHandler>();
        handler->Initialize();
        return std::shared_ptr<LbmTriageHandler>(std::move(handler));
    }();
    return instance;
}

void LbmTriageHandler::Initialize()
{
    // Not empty is enough, "0" and "false" included: who sets the variable at all wants no triage.
    if (const String disabledBy = getEnvVar(variable::disable); !disabledBy.empty()) {
        m_disableTriageHandler = true;
        TRIAGE_LOG_AT(QXLOG_INFO_SEARCH, triage_line::disabled)
            << "triage_handler disabled via environment variable being present DISABLE_LBM_TRIAGE_HANDLER="
            << disabledBy;
        return;
    }
    m_chefEnvironment = details::ToUpper(getEnvVar(variable::environment));
    m_dataCenter = details::ToUpper(getEnvVar(variable::dataCenter));
    if (m_chefEnvironment.empty() || m_dataCenter.empty()) {
        TRIAGE_LOG_AT(QXLOG_ERROR, triage_line::noEnvironment)
            << "CHEF_ENVIRONMENT or DATA_CENTER environment variables are not set. triage_handler will be disabled. "
            << "CHEF_ENVIRONMENT=" << m_chefEnvironment << " DATA_CENTER=" << m_dataCenter;
        m_disableTriageHandler = true;
        return;
    }
    TRIAGE_LOG_AT(QXLOG_INFO_SEARCH, triage_line::initializing) << "Initializing LbmTriageHandler";
    if (const String requestedBy = getEnvVar(variable::useEventQueue); !requestedBy.empty()) {
        StartEventQueue(requestedBy);
    }
    ReadRetrySettings();
}

void LbmTriageHandler::StartEventQueue(const String& requestedBy)
{
    TRIAGE_LOG_AT(QXLOG_INFO_SEARCH, triage_line::usesEventQueue)
        << "triage_handler using EventQueue because env variable is set TRIAGE_HANDLER_USE_EVENT_QUEUE=" << requestedBy;
    m_eventQueuePtr = std::make_unique<EventQueue>(EventQueueAttributes());
    try {
        m_eventQueueThread = std::thread(&LbmTriageHandler::EventQueueLoop, this);
    } catch (const std::system_error& error) {
        TRIAGE_LOG_AT(QXLOG_ERROR, triage_line::threadNotStarted)
            << "failed to create event queue thread, triage receivers will not use an event queue: " << error.what();
        m_eventQueuePtr.reset();
        return;
    }
    if (pthread_setname_np(m_eventQueueThread.native_handle(), threadName) != 0) {
        TRIAGE_LOG_AT(QXLOG_ERROR, triage_line::threadNotNamed)
            << "failed to set event queue thread name thread_id=" << m_eventQueueThread.get_id();
    }
    TRIAGE_LOG_AT(QXLOG_INFO, triage_line::eventQueueStarted)
        << "started triage_handler event_queue=" << m_eventQueuePtr.get()
        << " thread_id=" << m_eventQueueThread.get_id();
    m_maxRetries = maxRetriesWithEventQueue;
    m_timeBetweenRetriesMs = timeBetweenRetriesMsWithEventQueue;
}

void LbmTriageHandler::ReadRetrySettings()
{
    const String maxRetries = getEnvVar(variable::maxRetries);
    const String timeBetweenRetries = getEnvVar(variable::timeBetweenRetries);
    if (!maxRetries.empty()) {
        if (const std::optional<int> number = ParseLeadingNumber(maxRetries)) {
            m_maxRetries = *number;
        } else {
            TRIAGE_LOG_AT(QXLOG_WARNING, triage_line::badMaxRetries)
                << "invalid value for TRIAGE_HANDLER_MAX_RETRIES=" << maxRetries
                << " using default max_retries=" << m_maxRetries;
        }
    }
    if (!timeBetweenRetries.empty()) {
        if (const std::optional<int> number = ParseLeadingNumber(timeBetweenRetries)) {
            m_timeBetweenRetriesMs = *number;
        } else {
            TRIAGE_LOG_AT(QXLOG_WARNING, triage_line::badTimeBetweenRetries)
                << "invalid value for TRIAGE_HANDLER_TIME_BETWEEN_RETRIES_MS=" << timeBetweenRetries
                << " using default time_between_retries_ms=" << m_timeBetweenRetriesMs;
        }
    }
}

void LbmTriageHandler::EventQueueLoop()
{
    if (!m_eventQueuePtr) {
        return;
    }
    TRIAGE_LOG_AT(QXLOG_INFO_SEARCH, triage_line::loopStarting)
        << "triage_handler event_queue=" << m_eventQueuePtr.get() << " loop starting";
    m_eventQueuePtr->Run();
    TRIAGE_LOG_AT(QXLOG_INFO_SEARCH, triage_line::loopStopping)
        << "triage_handler event_queue=" << m_eventQueuePtr.get() << " loop stopping";
}

LbmTriageHandler::~LbmTriageHandler()
{
    Print("lbm_triage_handler destructor called");
    if (m_triageEnvReceiver) {
        Print("lbm_triage_handler destructor deleting env receiver");
        m_triageEnvReceiver.reset();
    }
    if (m_triageEnvDcReceiver) {
        Print("lbm_triage_handler destructor deleting env dc receiver");
        m_triageEnvDcReceiver.reset();
    }
    if (m_eventQueuePtr) {
        StopEventQueue();
    }
}

void LbmTriageHandler::StopEventQueue()
{
    Print("lbm_triage_handler destructor cleaning up event_queue=", m_eventQueuePtr.get());
    if (lbm_event_queue_t* const queue = *m_eventQueuePtr) {
        lbm_event_dispatch_unblock(queue); // there is nobody left to tell of a failure
    }
    if (m_eventQueueThread.joinable()) {
        Print("lbm_triage_handler destructor joining event_queue=", m_eventQueuePtr.get(),
              " thread_id=", m_eventQueueThread.get_id());
        m_eventQueueThread.join();
        Print("lbm_triage_handler destructor joined event_queue=", m_eventQueuePtr.get());
    }
    m_eventQueuePtr.reset();
}

} // namespace lbm
