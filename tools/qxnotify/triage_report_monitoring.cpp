// The forms for monitoring systems.
#include <algorithm>
#include <string_view>

#include "qxnotify/terminal.h"
#include "qxnotify/triage_report.h"

namespace qx::tool {

namespace {

using Labels = std::vector<std::pair<std::string_view, std::string>>;

/// Backslash, quote and line feed have escapes of their own in this format; other control characters become ?.
std::string label_value(std::string_view text)
{
    std::string out;
    for (const char c : text) {
        if (c == '\n') {
            out += "\\n";
        } else if (c == '\\' || c == '"') {
            out += {'\\', c};
        } else {
            out += static_cast<unsigned char>(c) < 0x20 ? '?' : c;
        }
    }
    return out;
}

class Exposition {
public:
    explicit Exposition(const std::string& topic)
        : m_topic(topic)
    {
    }

    void metric(const std::string& name, std::string_view help)
    {
        m_name = "qxnotify_triage_" + name;
        m_text += "# HELP " + m_name + " " + std::string{help} + "\n# TYPE " + m_name + " gauge\n";
    }
    void sample(const std::string& value, const Labels& labels = {})
    {
        m_text += m_name + "{topic=\"" + label_value(m_topic) + "\"";
        for (const auto& [label, text] : labels) {
            m_text += "," + std::string{label} + "=\"" + label_value(text) + "\"";
        }
        m_text += "} " + value + "\n";
    }
    const std::string& text() const { return m_text; }

private:
    std::string m_topic;
    std::string m_name;
    std::string m_text;
};

Labels labels_of(const ResponderReport& responder)
{
    return {{"source", responder.source}, {"name", responder.name}};
}

void expose_counts(Exposition& out, const TriageReport& report)
{
    out.metric("state", "The verdict: 0 ok, 1 warning, 2 critical, 3 unknown.");
    out.sample(std::to_string(to_int(report.code)));
    out.metric("answered", "Expected responders that answered, or all that did when none are expected.");
    out.sample(std::to_string(report.answered));
    if (report.expected) {
        out.metric("expected", "Expected responders.");
        out.sample(std::to_string(*report.expected));
    }
    out.metric("unexpected", "Responders that the inventory does not know.");
    out.sample(std::to_string(report.unexpected.size()));
    out.metric("faulty", "Responders with an answer that does not fit the request.");
    out.sample(std::to_string(report.faulty.size()));
    out.metric("dropped", "Answers that were too many to be looked at.");
    out.sample(std::to_string(report.dropped));
}

void expose_inventory(Exposition& out, const TriageReport& report)
{
    if (report.inventory.empty()) {
        return;
    }
    out.metric("up", "Whether the inventory's entry was answered for.");
    for (const InventoryReport& entry : report.inventory) {
        out.sample(entry.answered ? "1" : "0", {{"name", entry.name}});
    }
}

/// In seconds, this format's base unit; microseconds are as fine as it gets.
void expose_latency(Exposition& out, const ResponderReport& responder)
{
    const Latencies& latency = responder.latency_ms;
    const std::pair<const char*, double> statistics[] = {
        {"min", latency.min}, {"p50", latency.p50}, {"p90", latency.p90}, {"p99", latency.p99}, {"max", latency.max}};
    for (const auto& [statistic, value_ms] : statistics) {
        Labels labels = labels_of(responder);
        labels.emplace_back("statistic", statistic);
        out.sample(fixed_point(value_ms / 1'000, 6), labels);
    }
}

void expose_responders(Exposition& out, const TriageReport& report)
{
    if (report.responders.empty()) {
        return;
    }
    out.metric("requests_sent", "Requests that the responder had its time to answer.");
    for (const ResponderReport& responder : report.responders) {
        out.sample(std::to_string(responder.sent), labels_of(responder));
    }
    out.metric("requests_answered", "Requests that the responder answered.");
    for (const ResponderReport& responder : report.responders) {
        out.sample(std::to_string(responder.answered), labels_of(responder));
    }
    out.metric("latency_seconds", "From request to answer.");
    for (const ResponderReport& responder : report.responders) {
        expose_latency(out, responder);
    }
}

std::string threshold_text(const std::optional<double>& threshold)
{
    return threshold ? decimal(*threshold) : "";
}

} // namespace

std::string report_prometheus(const TriageReport& report)
{
    Exposition out(report.topic);
    expose_counts(out, report);
    expose_inventory(out, report);
    expose_responders(out, report);
    return out.text();
}

std::string nagios_text(std::string text)
{
    std::replace(text.begin(), text.end(), '|', '/');
    std::replace_if(
        text.begin(), text.end(), [](unsigned char c) { return c < 0x20 || c == 0x7F; }, ' ');
    return text;
}

std::string report_nagios(const TriageReport& report)
{
    std::string line = std::string{"TRIAGE "} + state_name(report.code) + " - " + headline(report);
    if (report.latency_ms) {
        line += ", slowest " + decimal(report.latency_ms->max) + " ms";
    }
    line = nagios_text(std::move(line)) + " | responders=" + std::to_string(report.answered) + ";;;0";
    if (report.latency_ms) {
        line += " slowest=" + decimal(report.latency_ms->max) + "ms;" + threshold_text(report.thresholds.warning_ms) +
                ";" + threshold_text(report.thresholds.critical_ms) + ";0";
    }
    return line + " lost=" + std::to_string(report.requests_sent - report.requests_answered) + ";;;0\n";
}

} // namespace qx::tool
