/// The outer JSON of a notification: an object of which four members matter, each taken as text. A string gives its
/// contents, a number or literal its text as written, an object or array gives "".
#pragma once

#include <string>

#include <boost/property_tree/ptree.hpp>

#include "plain_envelope.h"

namespace ps_ns {

class NotificationEnvelope {
public:
    /// Throws boost::property_tree::json_parser::json_parser_error; the envelope is then as it was before.
    void Parse(const std::string& payload);

    /// Of one of the members in `envelope_key`: others may be found or not. Throws
    /// boost::property_tree::ptree_bad_path when there is no such member. Of duplicates the first counts. Valid until
    /// the next `Parse`.
    const std::string& Text(const char* key) const;

private:
    PlainEnvelope m_plain;                 ///< what was parsed last, if it is plain
    boost::property_tree::ptree m_members; ///< else
};

} // namespace ps_ns
