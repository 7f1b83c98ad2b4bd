/// Operations requests as requesters build them, and their answers.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "header.pb.h"
#include "triage_action.pb.h"
#include "wire.pb.h"

#include "tests/doubles/lbm_double/lbm_double.h"

namespace lbm::test {

namespace triage = qx::messaging::triage;
using qx::messaging::Header;
using qx::messaging::Wire;

inline Wire MakeWire(int type, const std::string& payload)
{
    Wire wire;
    wire.mutable_header()->set_msg_type(static_cast<Header::MessageType>(type));
    wire.add_payload(payload);
    return wire;
}

inline triage::TriageActionWithWire MakeAction(const std::string& id, const Wire& inner)
{
    triage::TriageActionWithWire action;
    action.set_request_id(id);
    *action.mutable_wire() = inner;
    return action;
}

inline std::string Enveloped(const triage::TriageActionWithWire& action)
{
    return MakeWire(Header::MSG_OPS_TRIAGE_ACTION_WITH_WIRE, action.SerializeAsString()).SerializeAsString();
}

inline std::string TestRequest(const std::string& id)
{
    return Enveloped(MakeAction(id, MakeWire(Header::MSG_OPS_TRIAGE_TEST_REQUEST, "")));
}

inline std::string NakKillRequest(const std::string& id, int context, bool enable)
{
    triage::TriageNakKillRequest request;
    request.set_context(static_cast<triage::LBMContext>(context));
    request.set_enable(enable);
    return Enveloped(MakeAction(id, MakeWire(Header::MSG_OPS_TRIAGE_NAK_KILL_REQUEST, request.SerializeAsString())));
}

/// The bytes of one answer and the send flags.
struct Answer {
    std::string bytes;
    std::string flags;
};

/// Of the calls "lbm_send_response(response#1, 'bytes', flags)".
inline std::vector<Answer> Answers(const qx::test::LbmDouble& transport)
{
    std::vector<Answer> answers;
    for (const auto& call : transport.calls("lbm_send_response")) {
        const auto begin = call.find('\'') + 1;
        const auto end = call.rfind('\'');
        answers.push_back({call.substr(begin, end - begin), call.substr(end + 3, call.find(')', end) - end - 3)});
    }
    return answers;
}

inline std::optional<triage::TriageResponse> Decoded(const Answer& answer)
{
    triage::TriageResponse response;
    return response.ParseFromString(answer.bytes) ? std::optional(response) : std::nullopt;
}

} // namespace lbm::test
