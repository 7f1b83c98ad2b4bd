/// One line of input, and the notification that it stands for.
///
/// A line is one JSON object with the market, and either the members of an envelope or a whole payload:
///
///     {"market":42,"et":"Update","dt":"InstrumentDownloadRecord","id":17,"data":{"symbol":"GBLMar27"}}
///     {"market":42,"et":"Update","dt":"InstrumentDownloadRecord","id":17,"data":"{\"symbol\":\"GBLMar27\"}"}
///     {"market":42,"raw":"anything"}
///
/// "data" given as an object or array becomes the text that an envelope carries; given as a string it is that text.
/// Other members are ignored, so that what `qxnotify listen --format json` wrote can be published again.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

namespace qx::tool {

struct Notification {
    std::uint64_t market;
    std::string payload;
};

struct Refusal {
    std::string reason; ///< what is wrong and what to do about it; one line, safe for a terminal
};

/// Nothing to send and nothing wrong: a blank line, or the summary that a listener writes at its end.
struct Skipped {};

using ParsedLine = std::variant<Notification, Refusal, Skipped>;

/// `default_market` stands in for a missing "market".
ParsedLine parse_line(std::string_view line, std::optional<std::uint64_t> default_market);

} // namespace qx::tool
