/// Responders on the double: whoever is asked has them answer, at once.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "tests/doubles/lbm_double/lbm_double.h"
#include "triage_action.pb.h"
#include "wire.pb.h"

namespace qx::tool {

/// Every source is connected from its making on, and every request is given to `on_request` while it is being sent.
class TriageNetwork {
public:
    static constexpr const char* topic = "TRIAGE.ACTION.DEV.LBM";

    TriageNetwork()
    {
        lbm.on_call("lbm_src_create", [this] { lbm.tell_source(topic, LBM_SRC_EVENT_CONNECT); });
        lbm.on_call("lbm_send_request", [this] {
            if (on_request && !lbm.request(m_requests + 1).empty()) { // else the call made none
                on_request(++m_requests);
            }
        });
    }

    /// A good answer to the n-th request.
    void answer(int n, const std::string& source)
    {
        messaging::Wire outer;
        messaging::triage::TriageActionWithWire action;
        messaging::triage::TriageResponse response;
        if (outer.ParseFromString(lbm.request(n)) && outer.payload_size() > 0) {
            action.ParseFromString(outer.payload(0));
        }
        response.set_request_id(action.request_id());
        response.set_status(messaging::triage::TRIAGE_RESPONSE_STATUS_SUCCESS);
        lbm.answer(n, response.SerializeAsString(), source);
    }

    test::LbmDouble lbm;
    std::function<void(int n)> on_request;

private:
    int m_requests = 0;
};

} // namespace qx::tool
