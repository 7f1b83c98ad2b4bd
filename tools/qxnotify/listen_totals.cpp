#include "qxnotify/listen_totals.h"

#include <nlohmann/json.hpp>

#include "qxnotify/notification_names.h"
#include "qxnotify/seconds.h"

namespace qx::tool {

std::string totals_line(const ListenTotals& totals, double seconds, const std::string& ended_by)
{
    return "qxnotify listen: received " + std::to_string(totals.received()) + " (" +
           std::to_string(totals.instruments) + " instruments, " + std::to_string(totals.products) +
           " products), printed " + std::to_string(totals.printed) + ", filtered out " +
           std::to_string(totals.filtered) + "; " + tenths(seconds) + " s, ended by " + ended_by + "\n";
}

std::string totals_json(const ListenTotals& totals, double seconds, const std::string& ended_by)
{
    using Json = nlohmann::ordered_json;
    Json by_type = Json::object();
    by_type[std::string{data_type::product}] = totals.products;
    by_type[std::string{data_type::instrument}] = totals.instruments;
    Json summary = Json::object();
    summary["received"] = totals.received();
    summary["received_by_data_type"] = std::move(by_type);
    summary["printed"] = totals.printed;
    summary["filtered"] = totals.filtered;
    summary["seconds"] = milliseconds_exact(seconds);
    summary["ended_by"] = ended_by;
    return Json{{"summary", std::move(summary)}}.dump() + "\n";
}

} // namespace qx::tool
