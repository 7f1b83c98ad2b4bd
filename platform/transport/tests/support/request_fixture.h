/// One context that asks and one that answers.
#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "context_fixture.h"
#include "requests.h"

namespace test {

/// A requester and a responder that have met. What the responder keeps can be answered at leisure.
class Asking : public testing::Test {
protected:
    Asking() { connect(source, requests, "ASK.A"); }

    /// Sends a request and waits until it has arrived; gives its position in `kept`.
    std::size_t ask(const std::string& payload = "?", lbm_event_queue_t* evq = nullptr)
    {
        const std::size_t before = kept.size();
        open.push_back(send_request(source, payload, answers, evq));
        if (!requests.wait([&] { return kept.size() > before; })) {
            throw std::runtime_error("the request did not arrive");
        }
        return before;
    }
    bool answered(std::size_t times = 1) const { return answers.wait_for(LBM_MSG_RESPONSE, times); }

    Recorder requests;
    Recorder answers;
    ContextHandle asking = make_context();
    ContextHandle answering = make_context();
    KeptRequests kept{requests};
    ReceiverHandle receiver = make_receiver(answering, "ASK.A", requests);
    SourceHandle source = make_source(asking, "ASK.A");
    std::vector<RequestHandle> open;
};

} // namespace test
