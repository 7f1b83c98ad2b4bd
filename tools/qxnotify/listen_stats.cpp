#include "qxnotify/listen_stats.h"

#include <nlohmann/json.hpp>

#include "qxnotify/seconds.h"

namespace qx::tool {

namespace {

/// Of these a 0 is news as well.
bool is_always_told(std::string_view name)
{
    return name == "messages_received" || name == "messages_lost";
}

} // namespace

std::string stats_line(const Statistics& stats, double seconds)
{
    std::string told;
    for (const auto& [name, value] : stats) {
        if (value != 0 || is_always_told(name)) {
            told += (told.empty() ? "" : ", ") + std::string{name} + " " + std::to_string(value);
        }
    }
    return "qxnotify listen: transport after " + tenths(seconds) + " s: " + told + "\n";
}

std::string stats_json(const Statistics& stats, double seconds)
{
    using Json = nlohmann::ordered_json;
    Json object = Json::object();
    object["seconds"] = milliseconds_exact(seconds);
    for (const auto& [name, value] : stats) {
        object[std::string{name}] = value;
    }
    return Json{{"stats", std::move(object)}}.dump() + "\n";
}

} // namespace qx::tool
