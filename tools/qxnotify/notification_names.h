/// The names by which notifications are classified, on the wire and on the command line.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace qx::tool {

/// The context that listeners are configured by; who sends to them meets them in the same domain.
inline constexpr const char* price_context_name = "PriceEnvironmentContext";

inline constexpr std::string_view topic_prefix = "qxnotify.public.pds.native.";

namespace data_type {
inline constexpr std::string_view product = "ProductDownloadRecord";
inline constexpr std::string_view instrument = "InstrumentDownloadRecord";
inline constexpr std::string_view product_delete = "ProductDeleteRecord";
inline constexpr std::string_view instrument_delete = "InstrumentDeleteRecord";
} // namespace data_type

/// "Create", "Update", "Delete"; "Unsupported" for any other number.
std::string_view event_type_name(int event_type);

/// A market identifier as it is written: decimal digits and nothing else, at most 18446744073709551615.
std::optional<std::uint64_t> parse_market(std::string_view text);

/// The market in a topic's name; none when the topic is not one of a market.
std::optional<std::uint64_t> market_of_topic(std::string_view topic);

} // namespace qx::tool
