/// What came of a ping or a NAK request: the facts, the verdict, and their four written forms.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "qxnotify/latencies.h"
#include "qxnotify/triage_exit.h"
#include "qxnotify/triage_inventory.h"
#include "qxnotify/triage_options.h"
#include "qxnotify/triage_tally.h"

namespace qx::tool {

struct ResponderReport {
    std::string source;
    std::string name; ///< of its inventory entry, if any
    std::uint64_t answered = 0;
    std::uint64_t sent = 0;
    Latencies latency_ms;
};

struct InventoryReport {
    std::string name;
    bool answered = false;
};

/// What a report is made from, besides the tally.
struct TriageQuestion {
    std::string request; ///< "ping", "naks off"
    std::string topic;
    std::optional<std::uint64_t> expected; ///< responders, unless there is an inventory
    Inventory inventory;                   ///< empty: none
    TriageThresholds thresholds;
};

/// How asking ended unless a signal did it.
inline constexpr const char* completion = "completion";

struct TriageReport {
    std::string request;
    std::string topic;
    std::string ended_by; ///< `completion`, "SIGINT" or "SIGTERM"
    std::uint64_t rounds = 0;
    std::uint64_t answered = 0; ///< entries of the inventory; else responders, those of one round if some are expected
    std::optional<std::uint64_t> expected; ///< of these
    std::uint64_t requests_answered = 0;   ///< by responders known, one by one
    std::uint64_t requests_sent = 0;
    std::vector<ResponderReport> responders;
    std::vector<InventoryReport> inventory;
    std::vector<std::string> unexpected;                     ///< sources
    std::vector<std::pair<std::string, std::string>> faulty; ///< source and fault
    std::uint64_t dropped = 0;                               ///< answers that were too many to be looked at
    std::optional<Latencies> latency_ms;
    TriageThresholds thresholds;
    TriageExit code = TriageExit::unknown;

    std::vector<std::string> missing() const; ///< names
    std::uint64_t missing_count() const;
    /// A signal came before the first request, so nothing was found out.
    bool stopped_before_asking() const;
};

/// Stopped before the first request is unknown. Nobody at all, somebody missing, or an answer slower than the critical
/// threshold is critical. A slower answer than the warning threshold, an unanswered request, or a faulty or dropped
/// answer is a warning. An unexpected responder is neither.
TriageReport make_report(const TriageQuestion& question, const TriageTally& tally, const std::string& ended_by);

/// "12 of 14 answered; missing price-3, price-9"; without line feed.
std::string headline(const TriageReport& report);

/// Complete texts with their line feeds.
std::string report_text(const TriageReport& report);       ///< a table and a summary, for people
std::string report_json(const TriageReport& report);       ///< one object in one line
std::string report_prometheus(const TriageReport& report); ///< the text exposition format
std::string report_nagios(const TriageReport& report);     ///< one line with performance data
/// What stands before the performance data of a nagios line: a bar would begin them, and a line feed another line.
std::string nagios_text(std::string text);
std::string write_report(TriageFormat format, const TriageReport& report);

/// "1.2350" with four decimals, whatever the locale.
std::string fixed_point(double value, int decimals);
/// "1.235": at most three decimals.
std::string decimal(double value);

} // namespace qx::tool
