#include "qxnotify/triage_report.h"

#include <algorithm>
#include <array>
#include <charconv>

#include "qxnotify/terminal.h"

namespace qx::tool {

namespace {

std::string name_of(std::size_t source, const Inventory& inventory, const InventoryMatch& match)
{
    for (std::size_t entry = 0; entry < inventory.size(); ++entry) {
        if (match.source_of_entry[entry] == source) {
            return inventory[entry].name;
        }
    }
    return {};
}

void add_responders(TriageReport& report, const TriageTally& tally)
{
    std::vector<double> all;
    for (const auto& [source, responder] : tally.responders()) {
        const auto& latencies = responder.latencies_ms;
        report.responders.push_back(
            {source, "", latencies.size(), tally.sent_to(responder), summarise(latencies).value_or(Latencies{})});
        report.requests_answered += latencies.size();
        report.requests_sent += report.responders.back().sent;
        all.insert(all.end(), latencies.begin(), latencies.end());
    }
    report.latency_ms = summarise(std::move(all));
    report.answered = report.responders.size();
}

void add_inventory(TriageReport& report, const Inventory& inventory)
{
    if (inventory.empty()) {
        return;
    }
    std::vector<std::string> sources;
    for (const ResponderReport& responder : report.responders) {
        sources.push_back(responder.source);
    }
    const InventoryMatch match = match_inventory(inventory, sources);
    for (std::size_t source = 0; source < sources.size(); ++source) {
        report.responders[source].name = name_of(source, inventory, match);
    }
    for (std::size_t entry = 0; entry < inventory.size(); ++entry) {
        report.inventory.push_back({inventory[entry].name, match.source_of_entry[entry].has_value()});
    }
    for (const std::size_t source : match.unexpected) {
        report.unexpected.push_back(sources[source]);
    }
    report.expected = inventory.size();
    report.answered = inventory.size() - report.missing().size();
}

bool slower_than(const TriageReport& report, const std::optional<double>& threshold_ms)
{
    return threshold_ms && report.latency_ms && report.latency_ms->max > *threshold_ms;
}

TriageExit verdict(const TriageReport& report)
{
    if (report.answered == 0 || report.missing_count() > 0 || slower_than(report, report.thresholds.critical_ms)) {
        return TriageExit::critical;
    }
    if (slower_than(report, report.thresholds.warning_ms) || report.requests_answered < report.requests_sent ||
        !report.faulty.empty()) {
        return TriageExit::warning;
    }
    return TriageExit::ok;
}

std::string missing_text(const TriageReport& report)
{
    if (report.missing_count() == 0) {
        return {};
    }
    std::string names;
    for (const std::string& name : report.missing()) {
        names += (names.empty() ? "; missing " : ", ") + escaped(name);
    }
    return names.empty() ? "; " + std::to_string(report.missing_count()) + " missing" : names;
}

} // namespace

std::vector<std::string> TriageReport::missing() const
{
    std::vector<std::string> names;
    for (const InventoryReport& entry : inventory) {
        if (!entry.answered) {
            names.push_back(entry.name);
        }
    }
    return names;
}

std::uint64_t TriageReport::missing_count() const
{
    return expected && *expected > answered ? *expected - answered : 0;
}

TriageReport make_report(const TriageQuestion& question, const TriageTally& tally, const std::string& ended_by)
{
    TriageReport report;
    report.request = question.request;
    report.topic = question.topic;
    report.ended_by = ended_by;
    report.rounds = tally.rounds();
    report.expected = question.expected;
    report.thresholds = question.thresholds;
    report.faulty.assign(tally.faults().begin(), tally.faults().end());
    add_responders(report, tally);
    add_inventory(report, question.inventory);
    report.code = verdict(report);
    return report;
}

std::string headline(const TriageReport& report)
{
    const std::string of = report.expected ? " of " + std::to_string(*report.expected) : "";
    return std::to_string(report.answered) + of + " answered" + missing_text(report);
}

std::string write_report(TriageFormat format, const TriageReport& report)
{
    switch (format) {
    case TriageFormat::text:
        return report_text(report);
    case TriageFormat::json:
        return report_json(report);
    case TriageFormat::prometheus:
        return report_prometheus(report);
    case TriageFormat::nagios:
        return report_nagios(report);
    }
    return {};
}

std::string fixed_point(double value, int decimals)
{
    std::array<char, 400> digits{}; // the longest double has some 310 before the point
    const auto end =
        std::to_chars(digits.data(), digits.data() + digits.size(), value, std::chars_format::fixed, decimals);
    return {digits.data(), end.ptr};
}

std::string decimal(double value)
{
    std::string text = fixed_point(value, 3);
    text.erase(text.find_last_not_of('0') + 1);
    if (text.ends_with('.')) {
        text.pop_back();
    }
    return text;
}

} // namespace qx::tool
