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

std::optional<std::uint64_t> parse_market(std::string_view text)
{
    std::uint64_t market = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), market);
    return error == std::errc{} && end == text.data() + text.size() ? std::optional{market} : std::nullopt;
}

std::optional<std::uint64_t> market_of_topic(std::string_view topic)
{
    const auto dot = topic.find('.', topic_prefix.size());
    if (!topic.starts_with(topic_prefix) || dot == std::string_view::npos) {
        return {};
    }
    return parse_market(topic.substr(topic_prefix.size(), dot - topic_prefix.size()));
}

} // namespace qx::tool
