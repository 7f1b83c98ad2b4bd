#include "qxnotify/publish_totals.h"

#include <numeric>

#include <nlohmann/json.hpp>

#include "qxnotify/seconds.h"

namespace qx::tool {

std::uint64_t PublishTotals::sent_total() const
{
    return std::accumulate(sent.begin(), sent.end(), std::uint64_t{0});
}

std::string totals_line(const PublishTotals& totals, double seconds, const std::string& ended_by)
{
    std::string kinds;
    for (std::size_t i = 0; i < fate_count; ++i) {
        if (totals.sent[i] > 0) {
            kinds += (kinds.empty() ? " (" : ", ") + std::to_string(totals.sent[i]) + " " +
                     std::string{fate_name(static_cast<Fate>(i))};
        }
    }
    return "qxnotify publish: sent " + std::to_string(totals.sent_total()) + kinds + (kinds.empty() ? "" : ")") +
           ", refused " + std::to_string(totals.refused) + ", " + std::to_string(totals.bytes) + " payload bytes; " +
           tenths(seconds) + " s, ended by " + ended_by + "\n";
}

std::string totals_json(const PublishTotals& totals, double seconds, const std::string& ended_by)
{
    using Json = nlohmann::ordered_json;
    Json by_kind = Json::object();
    for (std::size_t i = 0; i < fate_count; ++i) {
        by_kind[std::string{fate_name(static_cast<Fate>(i))}] = totals.sent[i];
    }
    Json summary = Json::object();
    summary["sent"] = totals.sent_total();
    summary["sent_by_kind"] = std::move(by_kind);
    summary["refused"] = totals.refused;
    summary["bytes"] = totals.bytes;
    summary["seconds"] = milliseconds_exact(seconds);
    summary["ended_by"] = ended_by;
    return summary.dump() + "\n";
}

} // namespace qx::tool
