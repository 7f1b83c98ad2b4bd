#include "notification_envelope.h"

#include <sstream>

#include <boost/property_tree/json_parser.hpp>

namespace ps_ns {

NotificationEnvelope::NotificationEnvelope(const std::string& payload)
    : m_plain(PlainEnvelope::Read(payload))
{
    if (!m_plain) {
        std::istringstream stream(payload);
        boost::property_tree::read_json(stream, m_members);
    }
}

const std::string& NotificationEnvelope::Text(const char* key) const
{
    if (const std::string* const text = m_plain ? m_plain->Text(key) : nullptr) {
        return *text;
    }
    // Of a plain one nothing is here, and what it lacks is missed in the same words.
    const boost::property_tree::ptree::path_type path(key, '.');
    return m_members.get_child(path).data();
}

} // namespace ps_ns
