/// The short reader of envelopes held against the full one.
#pragma once

#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include <boost/property_tree/json_parser.hpp>

#include "price_server/ps_common/connector/source/plain_envelope.h"

namespace ps_ns::test {

/// Throws std::runtime_error if the full reader refuses the payload, or finds other texts in it, or lacks another
/// member than the record.
inline void CheckTexts(const PlainEnvelope& plain, const std::string& payload)
{
    boost::property_tree::ptree members;
    std::istringstream stream(payload);
    boost::property_tree::read_json(stream, members); // its refusal is a std::runtime_error
    for (const char* key : {envelope_key::eventType, envelope_key::dataType, envelope_key::id, envelope_key::data}) {
        const auto expected = members.get_child_optional({key, '.'});
        const std::string* const text = plain.Text(key);
        if ((text != nullptr) != expected.has_value() ||
            (text != nullptr && *text != expected->get_value<std::string>())) {
            throw std::runtime_error(std::string("another text of \"") + key + '"');
        }
        if (text == nullptr && key != std::string_view(envelope_key::data)) {
            throw std::runtime_error(std::string("taken without \"") + key + '"');
        }
    }
}

/// Whether the short reader takes the payload; `CheckTexts` throws if it takes it otherwise than the full one.
inline bool IsTakenAlike(const std::string& payload)
{
    const std::vector<char> exact(payload.begin(), payload.end()); // nothing behind it that reading too far would find
    const auto plain = PlainEnvelope::Read({exact.data(), exact.size()});
    if (plain) {
        CheckTexts(*plain, payload);
    }
    return plain.has_value();
}

} // namespace ps_ns::test
