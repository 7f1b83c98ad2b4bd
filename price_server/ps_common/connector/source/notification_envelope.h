/// The outer JSON of a notification: an object of which four members matter, each taken as text. A string gives its
/// contents, a number or literal its text as written, an object or array gives "".
#pragma once

#include <optional>
#include <string>

#include <boost/property_tree/ptree.hpp>

#include "plain_envelope.h"

namespace ps_ns {

class NotificationEnvelope {
public:
    /// Without a member.
    NotificationEnvelope() = default;

    /// Throws boost::property_tree::json_parser::json_parser_error.
    explicit NotificationEnvelope(const std::string& payload);

    /// Of one of the members in `envelope_key`: others may be found or not. Throws
    /// boost::property_tree::ptree_bad_path when there is no such member. Of duplicates the first counts. Valid as long
    /// as the envelope.
    const std::string& Text(const char* key) const;

private:
    std::optional<PlainEnvelope> m_plain;
    boost::property_tree::ptree m_members; ///< of one that is not plain
};

} // namespace ps_ns
