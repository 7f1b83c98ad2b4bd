/// Any bytes as an operations request: what becomes of it follows from them, line by line and with at most one answer.
#include <cstddef>
#include <cstdint>
#include <string>

#include <google/protobuf/stubs/logging.h>

#include <lbm/lbm_cpp.h>

#include "lbm/tests/triage_fate.h"
#include "tests/doubles/captured_log.h"
#include "tests/doubles/lbm_double/lbm_double.h"

namespace {

/// A handler on a transport double, with one message whose payload changes.
struct Responder {
    Responder()
    {
        google::protobuf::SetLogHandler(nullptr); // it reports bad texts on standard error
    }

    void check(const std::string& payload)
    {
        log.clear();
        transport.clear_calls();
        msg->data = payload.data();
        msg->len = payload.size();
        const bool handled = handler.handleLbmMessage(msg) == 0;
        const auto fate = lbm::test::FateOf(payload);
        if (!handled || lbm::test::LinesOf(log.statements()) != fate.lines ||
            transport.calls("lbm_send_response") != fate.answers) {
            __builtin_trap();
        }
    }

    qx::test::LbmDouble transport;
    qx::test::CapturedLog log;
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
