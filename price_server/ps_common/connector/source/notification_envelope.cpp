#include "notification_envelope.h"

#include <sstream>

#include <boost/property_tree/json_parser.hpp>

namespace ps_ns {

void NotificationEnvelope::Parse(const std::string& payload)
{
    std::istringstream stream(payload);
    boost::property_tree::read_json(stream, m_members);
}

std::string NotificationEnvelope::Text(const char* key) const
{
    const boost::property_tree::ptree::path_type path(key, '.');
    return m_members.get_child(path).get_value<std::string>();
}

} // namespace ps_ns
