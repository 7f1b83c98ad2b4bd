/// Operations requests and their answers, as bytes and as text.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "triage_action.pb.h"

namespace qx::tool {

/// Identifiers that no other request has: "qxnotify-<16 hex digits of chance>-<number>".
class RequestIds {
public:
    RequestIds();
    std::string next() { return m_prefix + std::to_string(++m_number); }

private:
    std::string m_prefix;
    std::uint64_t m_number = 0;
};

std::string encode_test_request(const std::string& id);
std::string encode_nak_request(const std::string& id, messaging::triage::LBMContext contexts, bool enable);

/// What a request says, in one line, with what is wrapped in it unwrapped; for people.
std::string describe_request(const std::string& request);

/// An answer; none when the bytes are no such message. Every responder sets a status, so bytes without one are none,
/// though they may be read as one.
std::optional<messaging::triage::TriageResponse> decode_response(std::string_view bytes);

/// Why the bytes are no good answer to the request with that identifier; "" when they are.
std::string fault_of_answer(std::string_view bytes, const std::string& id);

/// The message's text if the bytes are an answer, else their hexadecimal digits.
std::string show_answer(std::string_view bytes);

} // namespace qx::tool
