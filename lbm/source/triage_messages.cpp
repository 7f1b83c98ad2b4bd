// What arrives on the triage topics: events are logged, requests carried out and answered.
#include <ostream>

#include <triage_action.pb.h>
#include <wire.pb.h>

#include "triage_log.h"

namespace lbm {
namespace {

using qx::messaging::Header;
using qx::messaging::Wire;
namespace triage = qx::messaging::triage;

/// A null pointer would silence the thread's log for good.
const char* OrNothing(const char* text) noexcept
{
    return text != nullptr ? text : "";
}

/// A message as every event's line shows it.
struct Identified {
    const Message& msg;
};

std::ostream& operator<<(std::ostream& out, const Identified& identified)
{
    const Message& msg = identified.msg;
    return out << "lbm_topic=" << OrNothing(msg.TopicName()) << " lbm_src=" << OrNothing(msg.Source())
               << " lbm_sqn=" << msg.SequenceNumber() << " lbm_flags=" << msg.Flags();
}

void LogEvent(const char* event, const Message& msg)
{
    TRIAGE_LOG(QXLOG_INFO_SEARCH) << event << ' ' << Identified{msg};
}

bool IsComplete(const Wire& wire)
{
    return wire.has_header() && wire.header().has_msg_type() && wire.payload_size() > 0;
}

/// Which contexts a request means. The empty text for ORDER is meant: it selects the contexts without a name.
const char* SelectorOf(triage::LBMContext context)
{
    switch (static_cast<int>(context)) {
    case triage::ORDER:
        return "";
    case triage::PRICE:
        return "PRICEENVIRONMENT";
    case triage::QXNOTIFY:
        return "QXNOTIFY";
    case triage::ALL:
        return "ALL";
    default:
        return "unknown";
    }
}

/// What the two requests differ in. A payload that cannot be decoded counts as far as it was understood.
template <class Request>
Request DecodeLeniently(const std::string& bytes)
{
    Request request;
    static_cast<void>(request.ParseFromString(bytes));
    return request;
}

} // namespace

/// One request on its way to its answer.
struct LbmTriageHandler::TriageRequest {
    const Message& msg;
    const char* topic;
    triage::TriageActionWithWire action = {};

    const std::string& Payload() const { return action.wire().payload(0); }
};

int LbmTriageHandler::handleLbmMessage(const Message& msg)
{
    switch (msg.Type()) {
    case LBM_MSG_DATA: // told of and never decoded: what must be carried out is asked for by a request
        LogEvent("Received LBM message", msg);
        break;
    case LBM_MSG_EOS:
        LogEvent("End of Transport Session", msg);
        break;
    case LBM_MSG_REQUEST:
        LogEvent("Received LBM request", msg);
        handleTriageMessage(msg);
        LogEvent("Finished with LBM request", msg);
        break;
    case LBM_MSG_UNRECOVERABLE_LOSS:
        LogEvent("LOST", msg);
        break;
    case LBM_MSG_UNRECOVERABLE_LOSS_BURST:
        LogEvent("LOSS BURST", msg);
        break;
    case LBM_MSG_NO_SOURCE_NOTIFICATION:
        LogEvent("no sources found for topic", msg);
        break;
    case LBM_MSG_BOS:
        LogEvent("Beginning of Transport Session", msg);
        break;
    default:
        break;
    }
    return 0;
}

void LbmTriageHandler::handleTriageMessage(const Message& msg)
{
    const std::string payload(msg.Data(), msg.Length());
    const char* const topic = OrNothing(msg.TopicName());
    try {
        Wire wire;
        if (!wire.ParseFromString(payload) || !IsComplete(wire)) {
            TRIAGE_LOG(QXLOG_WARNING) << "dropping request. Wire message is not valid topic=" << topic
                                      << " wire=" << wire.ShortDebugString();
            return;
        }
        if (wire.header().msg_type() != Header::MSG_OPS_TRIAGE_ACTION_WITH_WIRE) {
            TRIAGE_LOG(QXLOG_WARNING) << "dropping Triage request topic=" << topic
                                      << " Header must be MSG_OPS_TRIAGE_ACTION_WITH_WIRE wire="
                                      << wire.ShortDebugString();
            return;
        }
        handleAction({msg, topic, DecodeLeniently<triage::TriageActionWithWire>(wire.payload(0))});
    } catch (const std::exception& error) {
        TRIAGE_LOG(QXLOG_ERROR) << "exception parsing Triage Message topic=" << topic << " error=" << error.what();
    }
}

void LbmTriageHandler::handleAction(const TriageRequest& request)
{
    // Not a word, unlike for an incomplete outer envelope, and meant so: the lines about the received message already
    // tell that a request came and went.
    if (!IsComplete(request.action.wire())) {
        return;
    }
    switch (static_cast<int>(request.action.wire().header().msg_type())) {
    case Header::MSG_OPS_TRIAGE_NAK_KILL_REQUEST:
        return killNaks(request);
    case Header::MSG_OPS_TRIAGE_TEST_REQUEST:
        return answerTest(request);
    default:
        TRIAGE_LOG(QXLOG_WARNING) << "dropping Triage request. msg_type must be MSG_OPS_TRIAGE_NAK_KILL_REQUEST or "
                                     "MSG_OPS_TRIAGE_TEST_REQUEST TriageActionWithWire="
                                  << request.action.ShortDebugString();
    }
}

void LbmTriageHandler::answerTest(const TriageRequest& request)
{
    const auto test = DecodeLeniently<triage::TriageTestRequest>(request.Payload());
    TRIAGE_LOG(QXLOG_INFO_SEARCH) << "handling TriageTestRequest request=" << test.ShortDebugString()
                                  << " request_id=" << request.action.request_id() << " topic=" << request.topic;
    respond(request, "responding to TriageTestRequest request with request_id=");
}

void LbmTriageHandler::killNaks(const TriageRequest& request)
{
    const auto nakKill = DecodeLeniently<triage::TriageNakKillRequest>(request.Payload());
    TRIAGE_LOG(QXLOG_INFO_SEARCH) << "handling TriageNakKillRequest request=" << nakKill.ShortDebugString()
                                  << " request_id=" << request.action.request_id() << " topic=" << request.topic;
    // Whether any context was selected, and whether it could be switched, does not change the answer: it says that the
    // request arrived, and the log says what came of it.
    toggleNaks(nakKill.enable(), SelectorOf(nakKill.context()));
    respond(request, "responding to TriageNakKillRequest request with request_id=");
}

/// The line comes first, so it says nothing about the sending.
void LbmTriageHandler::respond(const TriageRequest& request, const char* announcement) const
{
    const std::string& id = request.action.request_id();
    triage::TriageResponse response;
    response.set_request_id(id);
    response.set_status(triage::TRIAGE_RESPONSE_STATUS_SUCCESS);
    const std::string bytes = response.SerializeAsString();
    TRIAGE_LOG(QXLOG_INFO_SEARCH) << announcement << id << " :" << response.ShortDebugString()
                                  << " topic=" << request.topic;
    request.msg.GetResponse().SendWithRetries(OrNothing(request.msg.Source()), request.topic, bytes.data(),
                                              bytes.size(), id, m_maxRetries, m_timeBetweenRetriesMs, LBM_MSG_FLUSH);
}

} // namespace lbm
