/// What has to become of a request, told from its bytes alone, and what did become of it. Everything that a handler
/// without contexts leaves behind is compared: each line whole, and the calls that answer.
///
/// The decoder of the messages is trusted; the decisions, numbers and texts stand here a second time, on purpose.
#pragma once

#include <map>
#include <ostream>
#include <string>
#include <vector>

#include <lbm/lbm_cpp.h>

#include "tests/doubles/captured_log.h"
#include "tests/doubles/lbm_double/lbm_double.h"
#include "triage_action.pb.h"
#include "wire.pb.h"

namespace lbm::test {

enum class Outcome { envelopeNotValid, notAnAction, silence, notARequest, tested, switched };

struct FateLine {
    qx::logging::LogLevel level;
    std::string source;
    std::string text;

    friend bool operator==(const FateLine&, const FateLine&) = default;
    friend std::ostream& operator<<(std::ostream& out, const FateLine& line)
    {
        return out << "level " << line.level << " [" << line.source << "] " << line.text;
    }
};

using FateLines = std::vector<FateLine>;

/// Of a message as the double makes it by default, with a response, that was handed to handleLbmMessage.
struct Fate {
    Outcome outcome;
    FateLines lines;
    qx::test::Calls answers; ///< "response#1", its bytes and the send flags, as the double writes them
};

inline FateLine HandlerLine(qx::logging::LogLevel level, const std::string& text)
{
    return {level, "lbm_triage_handler", text};
}

inline Fate Framed(Outcome outcome, const FateLines& between, const qx::test::Calls& answers)
{
    const std::string fields = " lbm_topic=TOPIC lbm_src=SOURCE lbm_sqn=0 lbm_flags=0";
    Fate fate{outcome, {HandlerLine(qx::logging::QXLOG_INFO_SEARCH, "Received LBM request" + fields)}, answers};
    fate.lines.insert(fate.lines.end(), between.begin(), between.end());
    fate.lines.push_back(HandlerLine(qx::logging::QXLOG_INFO_SEARCH, "Finished with LBM request" + fields));
    return fate;
}

inline Fate Dropped(Outcome outcome, const std::string& text)
{
    return Framed(outcome, {HandlerLine(qx::logging::QXLOG_WARNING, text)}, {});
}

/// `request` is the one-line text of what was asked for, `done` what stands between the lines about it.
inline Fate Answered(Outcome outcome, const std::string& kind, const std::string& request, const std::string& id,
                     const std::vector<std::string>& done)
{
    qx::messaging::triage::TriageResponse response;
    response.set_request_id(id);
    response.set_status(qx::messaging::triage::TRIAGE_RESPONSE_STATUS_SUCCESS);
    std::vector<std::string> texts = {"handling " + kind + " request=" + request + " request_id=" + id +
                                      " topic=TOPIC"};
    texts.insert(texts.end(), done.begin(), done.end());
    texts.push_back("responding to " + kind + " request with request_id=" + id + " :" + response.ShortDebugString() +
                    " topic=TOPIC");
    FateLines lines;
    for (const auto& text : texts) {
        lines.push_back(HandlerLine(qx::logging::QXLOG_INFO_SEARCH, text));
    }
    // The bytes are compared, not the fields: an id that is not UTF-8 does not decode.
    return Framed(outcome, lines, {"lbm_send_response(response#1, '" + response.SerializeAsString() + "', 12)"});
}

inline Fate FateOfTest(const qx::messaging::triage::TriageActionWithWire& action)
{
    qx::messaging::triage::TriageTestRequest request;
    static_cast<void>(request.ParseFromString(action.wire().payload(0)));
    return Answered(Outcome::tested, "TriageTestRequest", request.ShortDebugString(), action.request_id(), {});
}

inline Fate FateOfNakKill(const qx::messaging::triage::TriageActionWithWire& action)
{
    static const std::map<int, std::string> selectors = {{0, ""}, {1, "PRICEENVIRONMENT"}, {2, "QXNOTIFY"}, {3, "ALL"}};
    qx::messaging::triage::TriageNakKillRequest request;
    static_cast<void>(request.ParseFromString(action.wire().payload(0)));
    const auto found = selectors.find(request.context());
    const std::string toggling = " toggling NAKs for contexts matching " +
                                 (found == selectors.end() ? "unknown" : found->second) +
                                 (request.enable() ? " enable_naks=1" : " enable_naks=0");
    return Answered(Outcome::switched, "TriageNakKillRequest", request.ShortDebugString(), action.request_id(),
                    {"begin" + toggling, "end" + toggling});
}

inline bool LacksSomething(const qx::messaging::Wire& wire)
{
    return !wire.has_header() || !wire.header().has_msg_type() || wire.payload().empty();
}

inline Fate FateOf(const std::string& payload)
{
    qx::messaging::Wire outer;
    const bool decoded = outer.ParseFromString(payload);
    if (!decoded || LacksSomething(outer)) {
        return Dropped(Outcome::envelopeNotValid,
                       "dropping request. Wire message is not valid topic=TOPIC wire=" + outer.ShortDebugString());
    }
    if (outer.header().msg_type() != 1301) {
        return Dropped(Outcome::notAnAction, "dropping Triage request topic=TOPIC Header must be "
                                             "MSG_OPS_TRIAGE_ACTION_WITH_WIRE wire=" +
                                                 outer.ShortDebugString());
    }
    qx::messaging::triage::TriageActionWithWire action;
    static_cast<void>(action.ParseFromString(outer.payload(0)));
    if (LacksSomething(action.wire())) {
        return Framed(Outcome::silence, {}, {});
    }
    const int type = action.wire().header().msg_type();
    if (type == 1303 || type == 1304) {
        return type == 1303 ? FateOfTest(action) : FateOfNakKill(action);
    }
    return Dropped(Outcome::notARequest, "dropping Triage request. msg_type must be MSG_OPS_TRIAGE_NAK_KILL_REQUEST or "
                                         "MSG_OPS_TRIAGE_TEST_REQUEST TriageActionWithWire=" +
                                             action.ShortDebugString());
}

inline FateLines LinesOf(const std::vector<qx::test::CapturedStatement>& statements)
{
    FateLines lines;
    for (const auto& statement : statements) {
        lines.push_back({statement.level, statement.source, statement.text});
    }
    return lines;
}

} // namespace lbm::test
