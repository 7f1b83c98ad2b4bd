// The form for programs.
#include <cmath>

#include <nlohmann/json.hpp>

#include "qxnotify/triage_report.h"

namespace qx::tool {

namespace {

using Json = nlohmann::ordered_json;

double rounded(double value)
{
    return std::round(value * 1'000) / 1'000;
}

Json latencies(const Latencies& latency)
{
    return {{"min", rounded(latency.min)},
            {"p50", rounded(latency.p50)},
            {"p90", rounded(latency.p90)},
            {"p99", rounded(latency.p99)},
            {"max", rounded(latency.max)}};
}

Json responders(const TriageReport& report)
{
    Json list = Json::array();
    for (const ResponderReport& responder : report.responders) {
        list.push_back({{"source", responder.source},
                        {"name", responder.name.empty() ? Json(nullptr) : Json(responder.name)},
                        {"answered", responder.answered},
                        {"sent", responder.sent},
                        {"latency_ms", latencies(responder.latency_ms)}});
    }
    return list;
}

Json faulty(const TriageReport& report)
{
    Json list = Json::array();
    for (const auto& [source, fault] : report.faulty) {
        list.push_back({{"source", source}, {"fault", fault}});
    }
    return list;
}

} // namespace

std::string report_json(const TriageReport& report)
{
    const Json object{{"request", report.request},
                      {"topic", report.topic},
                      {"state", state_name(report.code)},
                      {"exit_code", to_int(report.code)},
                      {"answered", report.answered},
                      {"expected", report.expected ? Json(*report.expected) : Json(nullptr)},
                      {"missing_count", report.missing_count()},
                      {"missing", report.missing()},
                      {"unexpected", report.unexpected},
                      {"faulty", faulty(report)},
                      {"dropped", report.dropped},
                      {"rounds", report.rounds},
                      {"requests_sent", report.requests_sent},
                      {"requests_answered", report.requests_answered},
                      {"latency_ms", report.latency_ms ? latencies(*report.latency_ms) : Json(nullptr)},
                      {"responders", responders(report)},
                      {"ended_by", report.ended_by}};
    return object.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n";
}

} // namespace qx::tool
