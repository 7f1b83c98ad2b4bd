#include "qxnotify/listen_command.h"

#include <chrono>
#include <cstdlib>
#include <string>

#include <lbm/lbm_cpp.h>
#include <unistd.h>

#include "qxnotify/listen_last_words.h"
#include "qxnotify/listen_observer.h"
#include "qxnotify/notification_names.h"
#include "qxnotify/signals.h"
#include "qxnotify/transport_stats.h"

namespace qx::tool {

namespace {

using Clock = std::chrono::steady_clock;

std::string market_list(const std::vector<std::uint64_t>& markets)
{
    std::string text;
    for (const std::uint64_t market : markets) {
        text += (text.empty() ? "" : ", ") + std::to_string(market);
    }
    return text;
}

struct Ending {
    std::string by;
    ExitCode code;
};

/// A time limit or a signal is what a listener without a count waits for; with one, records are missing.
Ending ending_of(Satisfied satisfied, Woken woken, StopSignals& stop, bool wants_count)
{
    switch (satisfied) {
    case Satisfied::count:
        return {"count", ExitCode::done};
    case Satisfied::output_closed: // whoever read it has seen enough
        return {"closed output", ExitCode::done};
    case Satisfied::output_failed:
        return {"failed output", ExitCode::input_output};
    case Satisfied::no:
        break;
    }
    return {woken == Woken::stopped ? signal_name(stop.received()) : "timeout",
            wants_count ? ExitCode::too_few : ExitCode::done};
}

/// Of the context that answers operations requests: only one without a name does. The rest is as the listener's, since
/// all contexts of a process must agree on their domain.
lbm::ContextAttributes responder_attributes()
{
    lbm::ContextAttributes attributes{lbm::String{price_context_name}};
    attributes.SetString("context_name", "");
    return attributes;
}

double seconds_since(Clock::time_point begin)
{
    return std::chrono::duration<double>(Clock::now() - begin).count();
}

void tell_stats(const ListenOptions& options, PrintingObserver& observer, Clock::time_point begin)
{
    const Statistics stats = transport_stats();
    if (options.format == RecordFormat::json) {
        observer.print(stats_json(stats, seconds_since(begin)));
    } else {
        write_all(STDERR_FILENO, stats_line(stats, seconds_since(begin)));
    }
}

/// Until the observer is satisfied, a signal comes or the time is up; tells the counters in between.
Woken wait_telling(const ListenOptions& options, PrintingObserver& observer, int satisfied, StopSignals& stop,
                   Clock::time_point begin)
{
    const Deadline end = deadline_in(options.timeout_seconds);
    while (options.stats_interval_seconds) {
        const auto next = time_after(Clock::now(), *options.stats_interval_seconds);
        if (end && *end <= next) {
            break;
        }
        if (const Woken woken = wait_for(satisfied, stop, next); woken != Woken::timed_out) {
            return woken;
        }
        tell_stats(options, observer, begin);
    }
    return wait_for(satisfied, stop, end);
}

/// The totals are final and the listener is gone when this returns; the counters were read in between.
Woken listen_until_done(const ListenOptions& options, PrintingObserver& observer, Waker& satisfied, StopSignals& stop)
{
    const auto begin = Clock::now();
    ps_ns::QXNotifyListener listener(&observer);
    const lbm::Context responder(responder_attributes()); // gone first: who answers listens
    for (const std::uint64_t market : options.markets) {
        listener.SubscribeForMarket(market);
    }
    write_all(STDERR_FILENO, "qxnotify listen: listening for market " + market_list(options.markets) + "\n");
    const Woken woken = wait_telling(options, observer, satisfied.fd(), stop, begin);
    observer.finish();
    if (options.wants_stats()) {
        tell_stats(options, observer, begin);
    }
    return woken;
}

void write_totals(const ListenOptions& options, int records, const ListenTotals& totals, double seconds,
                  const std::string& ended_by)
{
    if (options.format == RecordFormat::json) {
        write_all(records, totals_json(totals, seconds, ended_by));
    } else {
        write_all(STDERR_FILENO, totals_line(totals, seconds, ended_by));
    }
}

} // namespace

ExitCode run_listen(const ListenOptions& options)
{
    StopSignals stop;
    const bool colour = use_colour(options.colour, is_terminal(STDOUT_FILENO), std::getenv("NO_COLOR"));
    const RecordOutput records;
    install_last_words();

    Waker satisfied;
    PrintingObserver observer(
        options, colour, [&](std::string_view text) { return write_all(records.fd(), text); },
        [&] { satisfied.wake(); });
    const auto begin = Clock::now();
    const Woken woken = listen_until_done(options, observer, satisfied, stop);
    const double elapsed = seconds_since(begin);

    const Ending ending = ending_of(observer.satisfied(), woken, stop, options.count.has_value());
    write_totals(options, records.fd(), observer.finish(), elapsed, ending.by);
    return ending.code;
}

} // namespace qx::tool
