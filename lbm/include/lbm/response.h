/// Where a request is answered.
#pragma once

#include <cstddef>

#include <lbm/error.h>
#include <lbm/lbm.h>

namespace lbm {

/// A view of a request's response handle; null when the message carried none.
/// Threads   any; sending holds no lock.
/// Lifetime  owns nothing: the handle is valid for as long as the message that carried it is held.
class Response {
public:
    Response(lbm_response_t* response) noexcept
        : m_resp(response)
    {
    }

    operator lbm_response_t*() const noexcept { return m_resp; } // a view: const says nothing about what it shows

    /// One attempt. `flags` are the transport's send flags. Throws LbmError.
    void Send(const char* data, std::size_t length, int flags) const;
    void Send(const String& data, int flags) const;

    /// Sends, and while the transport would block, sleeps and tries again. The sleeps take the calling thread at most
    /// `maxRetries` times `timeBetweenRetries`, or once that pause when `maxRetries` is 0 or negative.
    ///
    /// Texts     `source`, `topicName` and `request_id` are for log lines only. Neither pointer may be null: it would
    ///           silence the calling thread's log.
    /// Units     `timeBetweenRetries` in milliseconds; 0 and less retry at once.
    /// Retries   `maxRetries` is the number of attempts. 0 and negative numbers allow one attempt, and a would-block
    ///           answer to it counts as success, after the sleep.
    /// Flags     replaced by flush and non-blocking, unless `maxRetries` is -1: then yours hold, and without
    ///           LBM_SRC_NONBLOCK among them the send itself waits, without limit, until the requester takes answers
    ///           again or is gone.
    /// Errors    false after a line at QXLOG_ERROR; throws nothing for the transport's failures.
    bool SendWithRetries(const char* source, const char* topicName, const char* data, std::size_t length,
                         const String& request_id, int maxRetries, int timeBetweenRetries, int flags) const;
    bool SendWithRetries(const char* source, const char* topicName, const String& data, const String& request_id,
                         int maxRetries, int timeBetweenRetries, int flags) const;

private:
    lbm_response_t* m_resp;
};

static_assert(sizeof(Response) == sizeof(lbm_response_t*), "a handle and nothing else");

} // namespace lbm
