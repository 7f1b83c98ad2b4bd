#include "qxnotify/publish_loop.h"

#include <chrono>
#include <utility>

#include "qxnotify/publish_line.h"
#include "qxnotify/terminal.h"

namespace qx::tool {

PublishLoop::PublishLoop(const PublishOptions& options, LineSource& input, Sender& sender, StopSignals& stop, Say say,
                         Progress& progress)
    : m_options(options)
    , m_input(input)
    , m_sender(sender)
    , m_stop(stop)
    , m_say(std::move(say))
    , m_progress(progress)
{
}

ExitCode PublishLoop::run()
{
    m_begin = std::chrono::steady_clock::now();
    std::string line;
    for (Step step = Step::go_on; step == Step::go_on;) {
        switch (m_stop.received() != 0 ? ReadResult::stopped : m_input.next(line)) {
        case ReadResult::line:
            step = take_line(line);
            break;
        case ReadResult::too_long:
            step = refuse("longer than " + std::to_string(line_bytes_max) + " bytes");
            break;
        case ReadResult::stopped:
            step = end(ExitCode::interrupted, signal_name(m_stop.received()));
            break;
        default:
            step = Step::stop;
        }
        m_progress.show({m_input.fraction(), m_totals.sent_total(), m_totals.refused});
    }
    return m_code == ExitCode::done && m_totals.refused > 0 ? ExitCode::refused : m_code;
}

PublishLoop::Step PublishLoop::take_line(const std::string& line)
{
    const std::optional<std::uint64_t> market =
        m_options.markets.empty() ? std::nullopt : std::optional{m_options.markets.front()};
    const ParsedLine parsed = parse_line(line, market);
    if (const auto* refusal = std::get_if<Refusal>(&parsed)) {
        return refuse(refusal->reason);
    }
    if (const auto* notification = std::get_if<Notification>(&parsed)) {
        return publish(notification->payload, notification->market);
    }
    return Step::go_on;
}

PublishLoop::Step PublishLoop::publish(const std::string& payload, std::uint64_t market)
{
    const Forecast forecast = m_forecast(payload);
    if (forecast.fate == Fate::fatal && !m_options.allow_fatal) {
        return refuse("it would end every process that listens to market " + std::to_string(market) + " (" +
                      escaped(forecast.reason) + "); --allow-fatal sends it all the same");
    }
    if (!wait_for_turn()) {
        return end(ExitCode::interrupted, signal_name(m_stop.received()));
    }
    return after_send(m_sender.send(market, forecast.fate, payload), market, forecast.fate, payload.size());
}

PublishLoop::Step PublishLoop::after_send(SendResult result, std::uint64_t market, Fate fate, std::size_t bytes)
{
    switch (result) {
    case SendResult::sent:
        ++m_totals.of(fate);
        m_totals.bytes += bytes;
        return Step::go_on;
    case SendResult::too_many_topics:
        return refuse("more than " + std::to_string(topics_max) + " topics in one run; publish in several runs");
    case SendResult::stopped:
        return end(ExitCode::interrupted, signal_name(m_stop.received()));
    case SendResult::closed:
        return end(ExitCode::done, "closed output");
    case SendResult::no_listener:
        m_progress.erase();
        m_say("qxnotify publish: no listener for " + topic_of(market, fate) + "; start `qxnotify listen " +
              std::to_string(market) + "`, or send all the same with --wait-for-listener 0\n");
        return end(ExitCode::no_listener, "no listener");
    }
    return Step::stop;
}

PublishLoop::Step PublishLoop::refuse(const std::string& reason)
{
    ++m_totals.refused;
    m_progress.erase();
    if (m_totals.refused <= refusals_named_max) {
        m_say("qxnotify publish: " + escaped(m_input.place()) + ": refused: " + reason + "\n");
    }
    if (m_totals.refused == refusals_named_max) {
        m_say("qxnotify publish: further refused lines are only counted\n");
    }
    return m_options.strict ? end(ExitCode::stopped_at_refused, "refused line") : Step::go_on;
}

PublishLoop::Step PublishLoop::end(ExitCode code, std::string why)
{
    m_code = code;
    m_endedBy = std::move(why);
    return Step::stop;
}

/// Message n is due n/rate seconds after the beginning, so that a late one does not delay those behind it.
bool PublishLoop::wait_for_turn()
{
    if (!m_options.rate_per_second) {
        return true;
    }
    const auto due = time_after(m_begin, static_cast<double>(m_totals.sent_total()) / *m_options.rate_per_second);
    return wait_for(-1, m_stop, due) != Woken::stopped;
}

} // namespace qx::tool
