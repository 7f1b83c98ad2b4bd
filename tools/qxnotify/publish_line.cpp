#include "qxnotify/publish_line.h"

#include <nlohmann/json.hpp>

#include "qxnotify/terminal.h"

namespace qx::tool {

namespace {

using Json = nlohmann::ordered_json;

constexpr std::size_t shown_bytes_max = 40; // of a member that is not what it should be

/// What the parser says, without its own error number in front.
std::string parser_reason(const Json::parse_error& e)
{
    std::string_view text = e.what();
    const auto end_of_number = text.find("] ");
    return "not JSON: " + escaped(end_of_number == std::string_view::npos ? text : text.substr(end_of_number + 2));
}

std::variant<std::uint64_t, Refusal> market_of(const Json& object, std::optional<std::uint64_t> default_market)
{
    const auto market = object.find("market");
    if (market == object.end()) {
        if (default_market) {
            return *default_market;
        }
        return Refusal{R"(no "market"; give it in the line or with --market)"};
    }
    if (!market->is_number_unsigned()) {
        return Refusal{R"("market" is )" + quoted(market->dump(-1, ' ', true), shown_bytes_max) +
                       "; it must be a whole number from 0 to 18446744073709551615"};
    }
    return market->get<std::uint64_t>();
}

/// The members that an envelope has, in its order; what the line lacks stays missing.
std::string envelope_of(const Json& object)
{
    Json envelope = Json::object();
    for (const char* key : {"et", "dt", "id", "data"}) {
        if (const auto member = object.find(key); member != object.end()) {
            envelope[key] = key == std::string_view{"data"} && member->is_structured() ? Json(member->dump()) : *member;
        }
    }
    return envelope.dump();
}

ParsedLine notification_of(const Json& object, std::uint64_t market)
{
    const auto raw = object.find("raw");
    if (raw == object.end()) {
        return Notification{market, envelope_of(object)};
    }
    if (!raw->is_string()) {
        return Refusal{R"("raw" must be a string: the payload itself)"};
    }
    return Notification{market, raw->get<std::string>()};
}

} // namespace

ParsedLine parse_line(std::string_view line, std::optional<std::uint64_t> default_market)
{
    if (line.find_first_not_of(" \t\r\n") == std::string_view::npos) {
        return Skipped{};
    }
    try {
        const Json object = Json::parse(line);
        if (!object.is_object()) {
            return Refusal{"not a JSON object"};
        }
        if (object.size() == 1 && (object.contains("summary") || object.contains("stats"))) {
            return Skipped{};
        }
        const auto market = market_of(object, default_market);
        if (const auto* refusal = std::get_if<Refusal>(&market)) {
            return *refusal;
        }
        return notification_of(object, std::get<std::uint64_t>(market));
    } catch (const Json::parse_error& e) {
        return Refusal{parser_reason(e)};
    }
}

} // namespace qx::tool
