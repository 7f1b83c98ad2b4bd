#include <lbm/response.h>

#include <cerrno>
#include <cstdint>
#include <ctime>
#include <ostream>

#include "calls.h"
#include "catalogue.h"

namespace lbm {
namespace {

/// With this number of retries the caller's own flags count.
constexpr int keepFlags = -1;

timespec Interval(int milliseconds) noexcept
{
    return {milliseconds / 1000, (milliseconds % 1000) * 1'000'000L};
}

/// An interrupted sleep goes on with what is left of it; any other failure ends it early.
void SleepFor(timespec interval) noexcept
{
    while (nanosleep(&interval, &interval) == -1 && errno == EINTR) {
    }
}

/// What the lines about one answer have in common.
struct Attempt {
    const String& requestId;
    int retrySleepMs;
    std::int64_t retriesRemaining; ///< one below the lowest int must not wrap
    int maxRetries;
    const char* source;
    const char* topicName;
};

std::ostream& operator<<(std::ostream& out, const Attempt& attempt)
{
    return out << "requestId=" << attempt.requestId << " retrySleepMs=" << attempt.retrySleepMs
               << " retriesRemaining=" << attempt.retriesRemaining << " maxRetries=" << attempt.maxRetries
               << " source=" << attempt.source << " topicName=" << attempt.topicName;
}

} // namespace

void Response::Send(const char* data, std::size_t length, int flags) const
{
    details::Check(lbm_send_response(m_resp, data, length, flags), details::failure::sendResponse);
}

void Response::Send(const String& data, int flags) const
{
    Send(data.data(), data.size(), flags);
}

bool Response::SendWithRetries(const char* source, const char* topicName, const String& data, const String& request_id,
                               int maxRetries, int timeBetweenRetries, int flags) const
{
    return SendWithRetries(source, topicName, data.data(), data.size(), request_id, maxRetries, timeBetweenRetries,
                           flags);
}

bool Response::SendWithRetries(const char* source, const char* topicName, const char* data, std::size_t length,
                               const String& request_id, int maxRetries, int timeBetweenRetries, int flags) const
{
    if (m_resp == nullptr) {
        QX_LOG(QXLOG_ERROR) << "source=" << source << " topicName=" << topicName
                            << " does not contain a valid response object.";
        return false;
    }
    // Only a send that does not block can say that it would, and that is what the retries are for.
    const int effectiveFlags = maxRetries == keepFlags ? flags : LBM_MSG_FLUSH | LBM_SRC_NONBLOCK;
    Attempt attempt{request_id, timeBetweenRetries, maxRetries, maxRetries, source, topicName};
    while (lbm_send_response(m_resp, data, length, effectiveFlags) == LBM_FAILURE) {
        const int errorCode = lbm_errnum();
        if (errorCode != LBM_EWOULDBLOCK) {
            QX_LOG(QXLOG_ERROR) << "Error responding to " << attempt << " errorCode=" << errorCode;
            return false;
        }
        if (timeBetweenRetries > 0) {
            SleepFor(Interval(timeBetweenRetries));
        }
        if (--attempt.retriesRemaining == 0) {
            QX_LOG(QXLOG_ERROR) << "Failed responding: " << attempt << " error=" << LBM_EWOULDBLOCK;
            return false;
        }
        QX_LOG(QXLOG_DEBUG) << "LBMEWouldBlockException responding to " << attempt << " error=" << LBM_EWOULDBLOCK;
        // Not a slip to mend: who asks for no retries is told that the answer went out, even if it did not.
        if (attempt.retriesRemaining < 0) {
            return true;
        }
    }
    return true;
}

} // namespace lbm
