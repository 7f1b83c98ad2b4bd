/// What tests of requests and answers share.
#pragma once

#include <cstddef>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include <lbm/lbm.h>

#include "context_fixture.h"

namespace test {

struct RequestDelete {
    void operator()(lbm_request_t* req) const { lbm_request_delete(req); }
};
using RequestHandle = std::unique_ptr<lbm_request_t, RequestDelete>;
RequestHandle send_request(const SourceHandle& source, const std::string& payload, Recorder& answers,
                           lbm_event_queue_t* evq = nullptr);

/// The result of lbm_send_response.
int answer(lbm_response_t* response, const std::string& payload, int flags = LBM_MSG_FLUSH | LBM_SRC_NONBLOCK);

/// A request message that was kept beyond its callback.
struct MessageRelease {
    void operator()(lbm_msg_t* msg) const { lbm_msg_delete(msg); }
};
using KeptMessage = std::unique_ptr<lbm_msg_t, MessageRelease>;

/// Keeps the requests that a recorder is given. Any thread.
class KeptRequests {
public:
    explicit KeptRequests(Recorder& recorder);

    std::size_t size() const;
    lbm_response_t* response(std::size_t i) const;
    void clear();

private:
    mutable std::mutex mutex_;
    std::vector<KeptMessage> messages_;
};

} // namespace test
