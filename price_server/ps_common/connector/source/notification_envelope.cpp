#include "notification_envelope.h"

#include <sstream>

#include <boost/property_tree/json_parser.hpp>

namespace ps_ns {

void NotificationEnvelope::Parse(const std::string& payload)
{
    if (m_plain.Read(payload)) {
        m_members.clear();
        return;
    }
    std::istringstream stream(payload);
    boost::property_tree::read_json(stream, m_members);
    m_plain = {};
}

const std::string& NotificationEnvelope::Text(const char* key) const
{
    if (const std::string* const text = m_plain.Text(key)) {
        return *text;
    }
    const boost::property_tree::ptree::path_type path(key, '.');
    return m_members.get_child(path).data();
}

} // namespace ps_ns
