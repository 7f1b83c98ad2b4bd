#include "qxnotify/bench_figures.h"

#include <algorithm>
#include <cmath>

#include <nlohmann/json.hpp>

#include "qxnotify/seconds.h"

namespace qx::tool {

namespace {

using Json = nlohmann::ordered_json;

Json latencies_json(const Latencies& latencies)
{
    return {{"min", latencies.min}, {"p50", latencies.p50},     {"p90", latencies.p90},
            {"p99", latencies.p99}, {"p99.9", latencies.p99_9}, {"max", latencies.max}};
}

Latencies latencies_from(const Json& object)
{
    return {object.at("min"), object.at("p50"),   object.at("p90"),
            object.at("p99"), object.at("p99.9"), object.at("max")};
}

double per_second(const BenchFigures& figures)
{
    return figures.seconds > 0 ? static_cast<double>(figures.received) / figures.seconds : 0;
}

std::string whole(double value)
{
    return std::to_string(std::lround(value));
}

std::string padded(const std::string& text, std::size_t width)
{
    return std::string(width - std::min(width, text.size()), ' ') + text;
}

std::string row(const std::string& name, const std::vector<std::string>& cells)
{
    constexpr std::size_t name_width = 18;
    constexpr std::size_t cell_width = 12;
    std::string line = name + std::string(name_width - std::min(name_width, name.size()), ' ');
    for (const std::string& cell : cells) {
        line += padded(cell, cell_width);
    }
    return line + "\n";
}

} // namespace

std::string figures_line(const BenchFigures& figures)
{
    Json object{{"figures", figures.received}, {"fault", figures.fault}, {"seconds", figures.seconds}};
    if (figures.latencies) {
        object["latency_us"] = latencies_json(*figures.latencies);
    }
    return object.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n";
}

BenchFigures parse_figures(const std::string& line)
{
    const Json object = Json::parse(line);
    BenchFigures figures{object.at("figures"), object.at("fault"), object.at("seconds"), {}};
    if (object.contains("latency_us")) {
        figures.latencies = latencies_from(object.at("latency_us"));
    }
    return figures;
}

std::string BenchRun::name() const
{
    return rate ? "latency" : "throughput";
}

std::string bench_heading()
{
    return row("", {"messages", "a second", "p50 us", "p99 us", "p99.9 us", "max us"});
}

std::string bench_row(const BenchRun& run, const BenchFigures& figures)
{
    std::vector<std::string> cells{std::to_string(figures.received), whole(per_second(figures))};
    if (run.rate && figures.latencies) {
        for (const double value :
             {figures.latencies->p50, figures.latencies->p99, figures.latencies->p99_9, figures.latencies->max}) {
            cells.push_back(tenths(value));
        }
    }
    return row(run.rate ? "at " + whole(*run.rate) + " a second" : "throughput", cells);
}

std::string bench_json(const BenchRun& run, const BenchFigures& figures)
{
    Json object{{"run", run.name()}};
    if (run.rate) {
        object["rate"] = *run.rate;
    }
    object["messages"] = figures.received;
    object["payload_bytes"] = run.payload_bytes;
    object["seconds"] = figures.seconds;
    object["messages_per_second"] = per_second(figures);
    if (run.rate && figures.latencies) {
        object["latency_us"] = latencies_json(*figures.latencies);
    }
    return object.dump() + "\n";
}

} // namespace qx::tool
