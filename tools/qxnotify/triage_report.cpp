#include "qxnotify/triage_report.h"

#include <algorithm>
#include <array>
#include <charconv>

#include "qxnotify/terminal.h"

namespace qx::tool {

namespace {

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
    report.answered = report.expected ? tally.gatherings().front().size() : report.responders.size();
}

ResponderReport& responder_of(TriageReport& report, const std::string& source)
{
    return *std::find_if(report.responders.begin(), report.responders.end(),
                         [&](const ResponderReport& responder) { return responder.source == source; });
}

/// Notes which entries were satisfied by those that answered together. A name that is given stays.
void add_gathering(TriageReport& report, const Inventory& inventory, const std::vector<std::string>& sources)
{
    const InventoryMatch match = match_inventory(inventory, sources);
    for (std::size_t entry = 0; entry < inventory.size(); ++entry) {
        if (const auto source = match.source_of_entry[entry]) {
            report.inventory[entry].answered = true;
            std::string& name = responder_of(report, sources[*source]).name;
            name = name.empty() ? inventory[entry].name : name;
        }
    }
    for (const std::size_t source : match.unexpected) {
        report.unexpected.push_back(sources[source]);
    }
}

void drop_repetitions(std::vector<std::string>& texts)
{
    std::sort(texts.begin(), texts.end());
    texts.erase(std::unique(texts.begin(), texts.end()), texts.end());
}

void add_inventory(TriageReport& report, const Inventory& inventory, const TriageTally& tally)
{
    if (inventory.empty()) {
        return;
    }
    for (const InventoryEntry& entry : inventory) {
        report.inventory.push_back({entry.name, false});
    }
    for (const auto& sources : tally.gatherings()) {
        add_gathering(report, inventory, sources);
    }
    drop_repetitions(report.unexpected);
    report.expected = inventory.size();
    report.answered = inventory.size() - report.missing().size();
}

bool slower_than(const TriageReport& report, const std::optional<double>& threshold_ms)
{
    return threshold_ms && report.latency_ms && report.latency_ms->max > *threshold_ms;
}

TriageExit verdict(const TriageReport& report)
{
    if (report.stopped_before_asking()) {
        return TriageExit::unknown;
    }
    if (report.answered == 0 || report.missing_count() > 0 || slower_than(report, report.thresholds.critical_ms)) {
        return TriageExit::critical;
    }
    if (slower_than(report, report.thresholds.warning_ms) || report.requests_answered < report.requests_sent ||
        !report.faulty.empty() || report.dropped > 0) {
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
    report.dropped = tally.dropped();
    report.faulty.assign(tally.faults().begin(), tally.faults().end());
    add_responders(report, tally);
    add_inventory(report, question.inventory, tally);
    report.code = verdict(report);
    return report;
}

bool TriageReport::stopped_before_asking() const
{
    return rounds == 0 && ended_by != completion;
}

std::string headline(const TriageReport& report)
{
    if (report.stopped_before_asking()) {
        return "stopped before anything was sent";
    }
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
