#include "qxnotify/listen_format.h"

#include <array>
#include <cstdio>
#include <ctime>
#include <vector>

#include <google/protobuf/text_format.h>
#include <nlohmann/json.hpp>

#include "pds_enums.pb.h"
#include "qxnotify/notification_names.h"
#include "qxnotify/record_json.h"
#include "qxnotify/terminal.h"

namespace qx::tool {

namespace {

using Json = nlohmann::ordered_json;

constexpr std::string_view bold = "\x1b[1m";
constexpr std::string_view dim = "\x1b[2m";
constexpr std::string_view reset = "\x1b[0m";

std::string_view event_colour(int event_type)
{
    switch (event_type) {
    case messaging::pds::enums::Create:
        return "\x1b[32m"; // green
    case messaging::pds::enums::Update:
        return "\x1b[33m"; // yellow
    default:
        return "\x1b[31m"; // red
    }
}

std::string painted(std::string_view text, std::string_view colour, bool on)
{
    return on ? std::string{colour} + std::string{text} + std::string{reset} : std::string{text};
}

std::string padded(std::string_view text, std::size_t width)
{
    return std::string{text} + std::string(text.size() < width ? width - text.size() : 0, ' ');
}

/// The payload's "id". The envelope is read again because the listener keeps it to itself.
std::string envelope_id(std::string_view payload)
{
    const auto envelope = nlohmann::json::parse(payload, nullptr, false);
    if (!envelope.is_object() || !envelope.contains("id")) {
        return {};
    }
    const auto& id = envelope["id"];
    return id.is_string() ? id.get<std::string>() : id.dump();
}

/// What tells one record from another at a glance, as far as it is set.
std::string headline(const Json& record)
{
    constexpr std::string_view keys[] = {"symbol",   "name",     "productType",    "tradingStatus",
                                         "currency", "tickSize", "expirationDate", "revision"};
    std::string text;
    std::size_t shown = 0;
    for (const std::string_view key : keys) {
        if (const auto member = record.find(key); member != record.end()) {
            text += " " + std::string{key} + "=" +
                    escaped(member->is_string() ? member->get<std::string>() : member->dump());
            ++shown;
        }
    }
    return text + " (+" + std::to_string(record.size() - shown) + " fields)";
}

std::string format_line(const ReceivedRecord& received, bool colour)
{
    const Delivery& d = received.delivery;
    return painted(utc_text(d.time), dim, colour) + " " +
           painted(padded(event_type_name(received.event_type), 6), event_colour(received.event_type), colour) + " " +
           painted(padded(received.data_type(), data_type::instrument.size()), bold, colour) + " id=" + escaped(d.id) +
           headline(record_to_json(received.record)) + " " +
           painted(escaped(d.topic) + " #" + std::to_string(d.sequence_number), dim, colour) + "\n";
}

std::string format_json(const ReceivedRecord& received)
{
    const Delivery& d = received.delivery;
    Json line{
        {"time", utc_text(d.time)}, {"topic", d.topic}, {"source", d.source}, {"sequence_number", d.sequence_number}};
    if (const auto market = market_of_topic(d.topic)) {
        line["market"] = *market;
    }
    line["et"] = event_type_name(received.event_type);
    line["dt"] = received.data_type();
    line["id"] = d.id;
    line["data"] = record_to_json(received.record);
    // A record may hold bytes that are not UTF-8, JSON text may not: they become U+FFFD.
    return line.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n";
}

std::string format_text(const ReceivedRecord& received)
{
    const Delivery& d = received.delivery;
    std::string record;
    google::protobuf::TextFormat::PrintToString(received.record, &record);
    return "# " + utc_text(d.time) + " " + std::string{event_type_name(received.event_type)} + " " +
           std::string{received.data_type()} + " id=" + escaped(d.id) + " topic=" + escaped(d.topic) +
           " source=" + escaped(d.source) + " sequence_number=" + std::to_string(d.sequence_number) + "\n" + record +
           "\n";
}

} // namespace

Delivery describe_delivery(const lbm_msg_t* message, std::chrono::system_clock::time_point now)
{
    if (message == nullptr) {
        return {now, {}, {}, 0, {}};
    }
    const std::string_view payload =
        message->len > 0 ? std::string_view{message->data, message->len} : std::string_view{};
    return {now, message->topic_name, message->source, message->sequence_number, envelope_id(payload)};
}

std::string utc_text(std::chrono::system_clock::time_point time)
{
    const auto since = std::chrono::floor<std::chrono::microseconds>(time.time_since_epoch());
    const auto seconds = std::chrono::floor<std::chrono::seconds>(since);
    const std::time_t whole = seconds.count();
    std::tm parts{};
    ::gmtime_r(&whole, &parts);
    std::array<char, 32> date{};
    std::array<char, 16> fraction{};
    std::strftime(date.data(), date.size(), "%Y-%m-%dT%H:%M:%S", &parts);
    std::snprintf(fraction.data(), fraction.size(), ".%06dZ", static_cast<int>((since - seconds).count()));
    return std::string{date.data()} + fraction.data();
}

std::string format_record(const ReceivedRecord& received, RecordFormat format, bool colour)
{
    switch (format) {
    case RecordFormat::line:
        return format_line(received, colour);
    case RecordFormat::json:
        return format_json(received);
    case RecordFormat::text:
        return format_text(received);
    }
    return {};
}

} // namespace qx::tool
