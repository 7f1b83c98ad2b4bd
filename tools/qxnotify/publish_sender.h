/// Sending notifications to the markets' topics.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "qxnotify/publish_fate.h"

namespace qx::tool {

enum class SendResult {
    sent,
    no_listener,
    too_many_topics,
    stopped, ///< by a signal
    closed,  ///< nobody reads the output any more
};

class Sender {
public:
    virtual ~Sender() = default;
    virtual SendResult send(std::uint64_t market, Fate fate, std::string_view payload) = 0;
};

/// "qxnotify.public.pds.native.42.instrument". A market has three topics, for products, instruments and everything
/// else: each topic costs a source that the transport announces to every listener, so one per record would let the
/// input's identifiers decide how many there are.
std::string topic_of(std::uint64_t market, Fate fate);

/// Each source is announced and remembered; three for each of a thousand markets.
inline constexpr std::size_t topics_max = 3'000;

} // namespace qx::tool
