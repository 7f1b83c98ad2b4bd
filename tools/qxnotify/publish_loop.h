/// The publisher's one loop: line in, message out, everything counted.
#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "qxnotify/exit_codes.h"
#include "qxnotify/progress.h"
#include "qxnotify/publish_forecast.h"
#include "qxnotify/publish_input.h"
#include "qxnotify/publish_options.h"
#include "qxnotify/publish_sender.h"
#include "qxnotify/publish_totals.h"

namespace qx::tool {

/// Of bad input, so many lines are named; the rest is counted.
inline constexpr std::uint64_t refusals_named_max = 20;

class PublishLoop {
public:
    using Say = std::function<void(std::string_view line)>; ///< a line for standard error, with its line feed

    PublishLoop(const PublishOptions& options, LineSource& input, Sender& sender, StopSignals& stop, Say say,
                Progress& progress);

    /// Until the input ends, a signal comes, or something makes it stop. Throws what input and sender throw.
    ExitCode run();

    const PublishTotals& totals() const { return m_totals; }
    const std::string& ended_by() const { return m_endedBy; }

private:
    enum class Step { go_on, stop };

    Step take_line(const std::string& line);
    Step publish(const std::string& payload, std::uint64_t market);
    Step after_send(SendResult result, std::uint64_t market, Fate fate, std::size_t bytes);
    Step refuse(const std::string& reason);
    Step end(ExitCode code, std::string why);
    bool wait_for_turn();

    const PublishOptions& m_options;
    LineSource& m_input;
    Sender& m_sender;
    StopSignals& m_stop;
    const Say m_say;
    Progress& m_progress;
    Forecaster m_forecast;
    PublishTotals m_totals;
    std::chrono::steady_clock::time_point m_begin;
    ExitCode m_code = ExitCode::done;
    std::string m_endedBy = "end of input";
};

} // namespace qx::tool
