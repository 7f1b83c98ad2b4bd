/// Which streams a reader hears: partitions are named after the first topic token, and readers may use wildcards.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "ids.h"

namespace qx::transport {

/// The partition that a topic's messages travel in, unless its sender has one order for all. Every character that
/// partition names treat specially is escaped.
std::string partition_of_topic(std::string_view topic);

/// The first token of the topics that travel in a partition. Empty: topics never do, since it has a wildcard or is not
/// spelt as `partition_of_topic` does; permissions speak of one spelling.
std::optional<std::string> token_of_partition(std::string_view partition);

/// The partition of streams that carry topics of every first token.
inline constexpr const char* any_topic_partition = "a:";

/// The partition, with a wildcard where needed, of every topic that begins with the prefix.
std::string partition_of_prefix(std::string_view prefix);

/// The partition of the answers to a context's requests.
std::string partition_of_requester(const ContextId& context);

} // namespace qx::transport
