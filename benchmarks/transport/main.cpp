/// transport_benchmark: the transport beside the engine under it, in processes on loopback.
#include <algorithm>
#include <cstdio>
#include <exception>
#include <functional>
#include <iostream>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>
#include <unistd.h>

#include "roles.h"
#include "scenarios.h"

namespace {

using namespace qx::benchmark;

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

struct Row {
    std::string what;
    std::string unit;
    bool more_is_better = false;
};

/// Prints figures as they come: the transport's, the peers', and the ratio to the best peer.
class Report {
public:
    Report(std::size_t rounds, bool json)
        : rounds_(rounds)
        , json_(json)
    {
    }

    /// Each peer in turn, round after round, so that what else the machine does hits all alike. Shows medians.
    void compare(const Row& row, const std::vector<Kind>& peers, const std::function<double(Kind)>& measure)
    {
        compare(std::vector{row}, peers, [&](Kind kind) { return std::vector{measure(kind)}; });
    }

    /// The same of what one run measures at once, one figure a row.
    void compare(const std::vector<Row>& rows, const std::vector<Kind>& peers,
                 const std::function<std::vector<double>(Kind)>& measure)
    {
        std::vector<std::vector<std::vector<double>>> seen(rows.size(), std::vector<std::vector<double>>(peers.size()));
        for (std::size_t round = 0; round < rounds_; ++round) {
            for (std::size_t i = 0; i < peers.size(); ++i) {
                progress(rows.front().what, round, name_of(peers[i]));
                const std::vector<double> figures = measure(peers[i]);
                for (std::size_t row = 0; row < rows.size(); ++row) {
                    seen[row][i].push_back(figures.at(row));
                }
            }
        }
        for (std::size_t row = 0; row < rows.size(); ++row) {
            std::vector<double> medians;
            std::transform(seen[row].begin(), seen[row].end(), std::back_inserter(medians), median);
            show(rows[row], peers, medians);
        }
    }

private:
    void progress(const std::string& what, std::size_t round, std::string_view peer) const
    {
        if (isatty(STDERR_FILENO) != 0) {
            std::cerr << "\r\033[K" << what << ", round " << round + 1 << " of " << rounds_ << ", " << peer
                      << std::flush;
        }
    }

    void show(const Row& row, const std::vector<Kind>& peers, const std::vector<double>& figures) const
    {
        const double best = row.more_is_better ? *std::max_element(figures.begin() + 1, figures.end())
                                               : *std::min_element(figures.begin() + 1, figures.end());
        const double ratio = figures.front() / best;
        if (isatty(STDERR_FILENO) != 0) {
            std::cerr << "\r\033[K" << std::flush;
        }
        if (json_) {
            nlohmann::json line{{"what", row.what}, {"unit", row.unit}, {"ratio", ratio}, {"rounds", rounds_}};
            for (std::size_t i = 0; i < peers.size(); ++i) {
                line["figures"][std::string{name_of(peers[i])}] = figures[i];
            }
            std::cout << line.dump() << std::endl;
            return;
        }
        std::printf("%-46s", row.what.c_str());
        for (std::size_t i = 0; i < peers.size(); ++i) {
            std::printf("  %s %.6g %s", std::string{name_of(peers[i])}.c_str(), figures[i], row.unit.c_str());
        }
        std::printf("  ratio %.2f\n", ratio);
        std::fflush(stdout);
    }

    std::size_t rounds_;
    bool json_;
};

const std::vector<Kind> all{Kind::transport, Kind::engine, Kind::engine_batching};
const std::vector<Kind> plain{Kind::transport, Kind::engine};

void throughput(Report& report, std::size_t count)
{
    for (const std::size_t bytes : {std::size_t{200}, std::size_t{1500}}) {
        for (const std::size_t topics : {std::size_t{1}, std::size_t{1000}}) {
            for (const std::size_t listeners : {std::size_t{1}, std::size_t{3}}) {
                const Throughput load{topics, listeners, count, bytes};
                const std::string what = std::to_string(bytes) + " B, " + std::to_string(topics) + " topics, 1 to " +
                                         std::to_string(listeners);
                report.compare({what, "msg/s", true}, all, [&](Kind kind) { return messages_per_second(kind, load); });
            }
        }
    }
}

void latency(Report& report, std::size_t count)
{
    for (const std::size_t bytes : {std::size_t{200}, std::size_t{1500}}) {
        const std::string what = "round trip, " + std::to_string(bytes) + " B, ";
        report.compare({{what + "p50", "us"}, {what + "p99", "us"}}, plain, [&](Kind kind) {
            const RoundTrip trip = round_trip(kind, count, bytes);
            return std::vector{trip.p50_us, trip.p99_us};
        });
    }
}

void discovery(Report& report)
{
    report.compare({"10,000 sources found by a late joiner", "ms"}, plain,
                   [](Kind kind) { return discovery_ms(kind, 10'000); });
}

void memory(Report& report)
{
    report.compare({"heap for each of 10,000 sources", "bytes"}, plain,
                   [](Kind kind) { return bytes_per_sender(kind, 10'000); });
    report.compare({"heap for each of 500 receivers", "bytes"}, plain,
                   [](Kind kind) { return bytes_per_listener(kind, 500); });
}

} // namespace

int main(int argc, char** argv)
{
    CLI::App app{"The transport beside the engine under it: same settings, same machine, same run.\n"
                 "Ratio: the transport's figure over the better peer's.\n\n"
                 "Example: transport_benchmark --rounds 3 --only latency"};
    std::size_t rounds = 3;
    std::size_t count = 200'000;
    std::vector<std::string> only{"throughput", "latency", "discovery", "memory"};
    bool json = false;
    app.add_option("--rounds", rounds, "How often each is measured; the median is shown")
        ->check(CLI::Range(std::size_t{1}, std::size_t{1000}))
        ->capture_default_str();
    app.add_option("--count", count, "Messages of a throughput run; a tenth of it round trips")
        ->check(CLI::Range(std::size_t{1000}, std::size_t{100'000'000}))
        ->capture_default_str();
    app.add_option("--only", only, "What to measure")->check(CLI::IsMember(only))->delimiter(',');
    app.add_flag("--json", json, "One JSON object a line");
    std::vector<std::string> role;
    app.add_subcommand("play", "A process of a measurement; used by the program itself")
        ->group("")
        ->add_option("words", role)
        ->expected(3, -1);
    CLI11_PARSE(app, argc, argv);
    try {
        if (!role.empty()) {
            play(role);
            return 0;
        }
        Report report{rounds, json};
        const auto wanted = [&](const char* what) { return std::find(only.begin(), only.end(), what) != only.end(); };
        if (wanted("throughput")) {
            throughput(report, count);
        }
        if (wanted("latency")) {
            latency(report, count / 10);
        }
        if (wanted("discovery")) {
            discovery(report);
        }
        if (wanted("memory")) {
            memory(report);
        }
    } catch (const std::exception& error) {
        std::cerr << "transport_benchmark: " << error.what() << std::endl;
        return 1;
    }
    return 0;
}
