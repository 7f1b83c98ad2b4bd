/// The outer JSON of a notification: an object of which four members matter, each taken as text. A string gives its
/// contents, a number or literal its text as written, an object or array gives "".
#pragma once

#include <string>

#include <boost/property_tree/ptree.hpp>

namespace ps_ns {

class NotificationEnvelope {
public:
    /// Throws boost::property_tree::json_parser::json_parser_error; the envelope is then as it was before.
    void Parse(const std::string& payload);

    /// Throws boost::property_tree::ptree_bad_path when there is no such member. Of duplicates the first counts.
    std::string Text(const char* key) const;

private:
    boost::property_tree::ptree m_members;
};

namespace envelope_key {
inline constexpr const char* eventType = "et"; ///< "Create", "Update" or "Delete"
inline constexpr const char* dataType = "dt";  ///< e.g. "ProductDownloadRecord"
inline constexpr const char* id = "id";        ///< of the record, for log lines only
inline constexpr const char* data = "data";    ///< the record: JSON once more, inside a string
} // namespace envelope_key

} // namespace ps_ns
