#include "topic_name.h"

#include <algorithm>
#include <string>

#include "control_character.h"
#include "error.h"

namespace qx::transport {

void check_topic_name(std::string_view topic)
{
    if (topic.empty() || topic.size() > topic_bytes_max) {
        throw TransportError(LBM_EINVAL, "a topic name has 1 to " + std::to_string(topic_bytes_max) +
                                             " bytes, this one " + std::to_string(topic.size()));
    }
    const auto* const bad = std::find_if(topic.begin(), topic.end(), is_control);
    if (bad != topic.end()) {
        throw TransportError(LBM_EINVAL, "a topic name has no control characters, this one has one at offset " +
                                             std::to_string(bad - topic.begin()));
    }
}

} // namespace qx::transport
