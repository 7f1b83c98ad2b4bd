#include "qxnotify/notification_names.h"

#include <charconv>

#include "pds_enums.pb.h"

namespace qx::tool {

std::string_view event_type_name(int event_type)
{
    using namespace messaging::pds::enums;
    switch (event_type) {
    case Create:
        return "Create";
    case Update:
        return "Update";
    case Delete:
        return "Delete";
    default: // the listener hands an unknown name on as a number that is no enumerator
        return "Unsupported";
    }
}

std::optional<std::uint64_t> market_of_topic(std::string_view topic)
{
    if (!topic.starts_with(topic_prefix)) {
        return {};
    }
    topic.remove_prefix(topic_prefix.size());
    std::uint64_t market = 0;
    const auto [end, error] = std::from_chars(topic.data(), topic.data() + topic.size(), market);
    const bool whole = error == std::errc{} && end != topic.data() + topic.size() && *end == '.';
    return whole ? std::optional{market} : std::nullopt;
}

} // namespace qx::tool
