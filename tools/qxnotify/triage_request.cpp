#include "qxnotify/triage_request.h"

#include <limits>
#include <random>

#include "qxnotify/terminal.h"
#include "wire.pb.h"

namespace qx::tool {

namespace {

using messaging::Header;
using messaging::Wire;
using messaging::triage::TriageActionWithWire;
using messaging::triage::TriageNakKillRequest;
using messaging::triage::TriageResponse;
using messaging::triage::TriageTestRequest;

std::string hexadecimal(std::string_view bytes)
{
    constexpr std::string_view digits = "0123456789abcdef";
    std::string text;
    text.reserve(2 * bytes.size());
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        text += digits[byte >> 4U];
        text += digits[byte & 0xFU];
    }
    return text;
}

std::string random_digits()
{
    std::random_device chance;
    std::string bytes;
    for (int i = 0; i < 8; ++i) {
        bytes += static_cast<char>(chance() & 0xFFU);
    }
    return hexadecimal(bytes);
}

Wire wire_of(Header::MessageType type, const google::protobuf::MessageLite& payload)
{
    Wire wire;
    wire.mutable_header()->set_msg_type(type);
    wire.add_payload(payload.SerializeAsString());
    return wire;
}

std::string encode(const std::string& id, Header::MessageType type, const google::protobuf::MessageLite& request)
{
    TriageActionWithWire action;
    action.set_request_id(id);
    *action.mutable_wire() = wire_of(type, request);
    return wire_of(Header::MSG_OPS_TRIAGE_ACTION_WITH_WIRE, action).SerializeAsString();
}

std::string describe_payload(const Wire& wire)
{
    TriageNakKillRequest naks;
    if (wire.header().msg_type() == Header::MSG_OPS_TRIAGE_NAK_KILL_REQUEST && wire.payload_size() > 0 &&
        naks.ParseFromString(wire.payload(0))) {
        return " context: " + messaging::triage::LBMContext_Name(naks.context()) +
               " enable: " + (naks.enable() ? "true" : "false");
    }
    return {};
}

} // namespace

RequestIds::RequestIds()
    : m_prefix("qxnotify-" + random_digits() + "-")
{
}

std::string encode_test_request(const std::string& id)
{
    return encode(id, Header::MSG_OPS_TRIAGE_TEST_REQUEST, TriageTestRequest{});
}

std::string encode_nak_request(const std::string& id, messaging::triage::LBMContext contexts, bool enable)
{
    TriageNakKillRequest request;
    request.set_context(contexts);
    request.set_enable(enable);
    return encode(id, Header::MSG_OPS_TRIAGE_NAK_KILL_REQUEST, request);
}

std::string describe_request(const std::string& request)
{
    Wire outer;
    TriageActionWithWire action;
    if (!outer.ParseFromString(request) || outer.payload_size() == 0 || !action.ParseFromString(outer.payload(0))) {
        return hexadecimal(request);
    }
    return Header::MessageType_Name(outer.header().msg_type()) + " request_id: " + escaped(action.request_id()) + " " +
           Header::MessageType_Name(action.wire().header().msg_type()) + describe_payload(action.wire());
}

std::optional<TriageResponse> decode_response(std::string_view bytes)
{
    TriageResponse response;
    if (bytes.size() > std::numeric_limits<int>::max() ||
        !response.ParseFromArray(bytes.data(), static_cast<int>(bytes.size())) || !response.has_status()) {
        return {};
    }
    return response;
}

std::string fault_of_answer(std::string_view bytes, const std::string& id)
{
    const auto response = decode_response(bytes);
    if (!response) {
        return "not a TriageResponse";
    }
    if (response->request_id() != id) {
        return "answers another request, " + quoted(response->request_id(), 100);
    }
    if (response->status() != messaging::triage::TRIAGE_RESPONSE_STATUS_SUCCESS) {
        return "status " + std::to_string(response->status());
    }
    return {};
}

std::string show_answer(std::string_view bytes)
{
    const auto response = decode_response(bytes);
    return response ? escaped(response->ShortDebugString()) : hexadecimal(bytes);
}

} // namespace qx::tool
