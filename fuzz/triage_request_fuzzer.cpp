/// Any bytes as an operations request: it is answered once, with success and the id that it carries, or not at all.
#include <cstddef>
#include <cstdint>
#include <string>

#include <google/protobuf/stubs/logging.h>

#include <lbm/lbm_cpp.h>

#include "header.pb.h"
#include "tests/doubles/lbm_double/lbm_double.h"
#include "triage_action.pb.h"
#include "wire.pb.h"

namespace triage = qx::messaging::triage;

namespace {

/// The one answer that may come.
std::string expected_call(const std::string& payload)
{
    qx::messaging::Wire wire;
    triage::TriageActionWithWire action;
    if (wire.ParseFromString(payload) && wire.payload_size() > 0) {
        static_cast<void>(action.ParseFromString(wire.payload(0)));
    }
    triage::TriageResponse response;
    response.set_request_id(action.request_id());
    response.set_status(triage::TRIAGE_RESPONSE_STATUS_SUCCESS);
    return "lbm_send_response(response#1, '" + response.SerializeAsString() + "', 12)";
}

/// A handler on a transport double, with one message whose payload changes.
struct Responder {
    Responder()
    {
        google::protobuf::SetLogHandler(nullptr);              // it reports bad texts on standard error
        qx::logging::g_minLogLevel = qx::logging::QXLOG_DEBUG; // every line is made, and thrown away
    }

    void check(const std::string& payload)
    {
        transport.clear_calls();
        msg->data = payload.data();
        msg->len = payload.size();
        const bool handled = handler.handleLbmMessage(msg) == 0;
        const auto answers = transport.calls("lbm_send_response");
        if (!handled || answers.size() > 1 || (answers.size() == 1 && answers.front() != expected_call(payload))) {
            __builtin_trap();
        }
    }

    qx::test::LbmDouble transport;
    lbm_msg_t* msg = transport.make_message({.type = LBM_MSG_REQUEST, .withResponse = true});
    lbm::LbmTriageHandler handler;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static Responder responder;
    responder.check(std::string(reinterpret_cast<const char*>(data), size)); // bytes as characters
    return 0;
}
