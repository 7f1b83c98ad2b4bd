/// notification_path_benchmark: from payload bytes to the observer's callback, beside other ways.
#include <cerrno>
#include <cstdio>
#include <exception>
#include <fstream>
#include <iostream>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

#include <CLI/CLI.hpp>
#include <logger/logger.h>
#include <nlohmann/json.hpp>
#include <unistd.h>

#include "chart.h"
#include "measure.h"

namespace {

using namespace qx::benchmark;

/// Standard output for figures alone, to the end of the process: contexts that end speak there, too, and now reach
/// standard error.
std::FILE* take_standard_output()
{
    std::FILE* const figures = ::fdopen(::dup(STDOUT_FILENO), "w");
    if (figures == nullptr || ::dup2(STDERR_FILENO, STDOUT_FILENO) == -1) {
        throw std::system_error(errno, std::generic_category(), "standard output");
    }
    ::setlinebuf(figures);
    return figures;
}

/// Prints figures as they come and keeps them for the chart.
class Report {
public:
    explicit Report(bool json)
        : m_json(json)
        , m_out(take_standard_output())
    {
    }

    void add(const Sample& sample, const std::vector<Figure>& figures)
    {
        Bars bars{sample.name, {}};
        for (const Figure& figure : figures) {
            print(sample, figure, figure.nanoseconds / figures.front().nanoseconds);
            bars.bars.emplace_back(figure.kind, figure.nanoseconds);
        }
        m_groups.push_back(std::move(bars));
    }

    /// What is to stay at 1 or below.
    void growth(const std::string& what, double ratio) const
    {
        if (m_json) {
            print(nlohmann::json{{"what", what}, {"ratio", ratio}});
        } else {
            std::fprintf(m_out, "%-72s %8.2f\n", what.c_str(), ratio);
        }
    }

    void write_chart(const std::string& file) const
    {
        std::ofstream out(file);
        out << svg_chart("nanoseconds a message, CPU time", m_groups);
        if (!out.flush()) {
            throw std::runtime_error("cannot write " + file);
        }
    }

private:
    void print(const nlohmann::json& object) const { std::fprintf(m_out, "%s\n", object.dump().c_str()); }
    void print(const Sample& sample, const Figure& figure, double ratio) const
    {
        if (m_json) {
            print({{"record", sample.name},
                   {"record_bytes", sample.record_bytes},
                   {"kind", figure.kind},
                   {"nanoseconds", figure.nanoseconds},
                   {"times_listener", ratio},
                   {"allocations", figure.allocations}});
        } else {
            std::fprintf(m_out, "%-28s %-18s %12.0f ns %8.2f times the listener %9.1f allocations\n",
                         sample.name.c_str(), figure.kind.c_str(), figure.nanoseconds, ratio, figure.allocations);
        }
    }

    bool m_json;
    std::FILE* m_out; ///< open to the end of the process
    std::vector<Bars> m_groups;
};

void compare(Report& report, std::size_t rounds)
{
    for (const Sample& sample : {instrument(1'500), instrument(4'000), product()}) {
        std::vector<Contender> contenders;
        for (const Kind& kind : kinds()) {
            contenders.push_back({kind, sample});
        }
        report.add(sample, measure(contenders, rounds));
    }
}

/// What a unit of `large` costs the listener, in units of `small`.
double growth(const Sample& small, std::size_t small_units, const Sample& large, std::size_t large_units,
              std::size_t rounds)
{
    const Kind listener = kinds().front();
    const std::vector<Figure> figures = measure({{listener, small}, {listener, large}}, rounds);
    return (figures[1].nanoseconds / static_cast<double>(large_units)) /
           (figures[0].nanoseconds / static_cast<double>(small_units));
}

void grow(const Report& report, std::size_t rounds)
{
    const Sample four = instrument(4'000);
    const Sample sixty_four = instrument(65'536);
    report.growth("a byte of a record of 64 KB, beside one of 4 KB",
                  growth(four, four.record_bytes, sixty_four, sixty_four.record_bytes, rounds));
    for (const std::size_t count : {1'000U, 10'000U}) {
        const std::size_t more = 10 * count;
        report.growth("an element of " + std::to_string(more) + " repeated ones, beside one of " +
                          std::to_string(count),
                      growth(instrument_with_list(count), count, instrument_with_list(more), more, rounds));
    }
    report.growth("another member of an envelope with 100000, beside one of 10000",
                  growth(instrument_among_members(10'000), 10'000, instrument_among_members(100'000), 100'000, rounds));
}

int run(int argc, char** argv)
{
    CLI::App app{"From payload bytes to the observer's callback, beside other ways, in one run.\n\n"
                 "Example: notification_path_benchmark --rounds 15 --chart docs/notification-path.svg"};
    std::size_t rounds = 9;
    bool json = false;
    std::string chart;
    app.add_option("--rounds", rounds, "How often each is measured; the median is shown")
        ->check(CLI::Range(1, 1'000))
        ->capture_default_str();
    app.add_flag("--json", json, "One JSON object a line");
    app.add_option("--chart", chart, "File for a chart, as SVG");
    CLI11_PARSE(app, argc, argv);
    // The lines of a notification are debug lines; what is measured is the path with them suppressed.
    qx::logging::g_minLogLevel = qx::logging::QXLOG_WALL;
    Report report(json);
    compare(report, rounds);
    grow(report, rounds);
    if (!chart.empty()) {
        report.write_chart(chart);
    }
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    try {
        return run(argc, argv);
    } catch (const std::exception& e) {
        std::cerr << "notification_path_benchmark: " << e.what() << '\n';
        return 1;
    }
}
