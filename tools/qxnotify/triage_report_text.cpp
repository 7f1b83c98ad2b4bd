// The form for people.
#include <algorithm>
#include <string_view>

#include "qxnotify/terminal.h"
#include "qxnotify/triage_report.h"

namespace qx::tool {

namespace {

using Row = std::vector<std::string>;

std::vector<std::size_t> widths_of(const std::vector<Row>& rows)
{
    std::vector<std::size_t> widths(rows.front().size());
    for (const Row& row : rows) {
        for (std::size_t i = 0; i < row.size(); ++i) {
            widths[i] = std::max(widths[i], row[i].size());
        }
    }
    return widths;
}

/// The first two columns are texts, the others numbers.
std::string align(const std::vector<Row>& rows)
{
    constexpr std::size_t text_columns = 2;
    const auto widths = widths_of(rows);
    std::string out;
    for (const Row& row : rows) {
        std::string line;
        for (std::size_t i = 0; i < row.size(); ++i) {
            const std::string fill(widths[i] - row[i].size(), ' ');
            line += (i == 0 ? "" : "  ") + (i < text_columns ? row[i] + fill : fill + row[i]);
        }
        line.erase(line.find_last_not_of(' ') + 1);
        out += line + "\n";
    }
    return out;
}

std::string table(const TriageReport& report)
{
    if (report.responders.empty()) {
        return {};
    }
    std::vector<Row> rows{{"RESPONDER", report.inventory.empty() ? "" : "NAME", "ANSWERED", "MIN ms", "P50 ms",
                           "P90 ms", "P99 ms", "MAX ms"}};
    for (const ResponderReport& responder : report.responders) {
        const Latencies& latency = responder.latency_ms;
        rows.push_back({escaped(responder.source), escaped(responder.name),
                        std::to_string(responder.answered) + "/" + std::to_string(responder.sent), decimal(latency.min),
                        decimal(latency.p50), decimal(latency.p90), decimal(latency.p99), decimal(latency.max)});
    }
    return align(rows);
}

bool nobody_was_there(const TriageReport& report)
{
    return report.rounds == 0 && !report.stopped_before_asking();
}

std::string notes(const TriageReport& report)
{
    std::string text = nobody_was_there(report) ? "nobody was there to be asked, nothing was sent\n" : "";
    for (const std::string& source : report.unexpected) {
        text += "unexpected: " + escaped(source) + "\n";
    }
    for (const auto& [source, fault] : report.faulty) {
        text += "faulty answer: " + escaped(source) + ": " + fault + "\n";
    }
    if (report.dropped > 0) {
        text += "dropped: " + std::to_string(report.dropped) + " answers, more than could be looked at\n";
    }
    return text;
}

std::string latency_line(const TriageReport& report)
{
    if (!report.latency_ms) {
        return {};
    }
    const Latencies& all = *report.latency_ms;
    return "latency min " + decimal(all.min) + ", p50 " + decimal(all.p50) + ", p90 " + decimal(all.p90) + ", p99 " +
           decimal(all.p99) + ", max " + decimal(all.max) + " ms; " + std::to_string(report.requests_answered) +
           " of " + std::to_string(report.requests_sent) + " requests answered\n";
}

} // namespace

std::string report_text(const TriageReport& report)
{
    const std::string cut = report.ended_by == completion ? "" : ", ended by " + report.ended_by;
    return table(report) + notes(report) + latency_line(report) + headline(report) + "\n" + state_name(report.code) +
           ": " + report.request + ", topic " + escaped(report.topic) + ", " + std::to_string(report.rounds) +
           (report.rounds == 1 ? " round" : " rounds") + cut + "\n";
}

} // namespace qx::tool
