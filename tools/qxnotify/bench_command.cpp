#include "qxnotify/bench_command.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <string>
#include <system_error>
#include <vector>

#include <unistd.h>

#include "qxnotify/bench_domain.h"
#include "qxnotify/bench_listener.h"
#include "qxnotify/bench_publisher.h"
#include "qxnotify/output.h"
#include "qxnotify/progress.h"
#include "qxnotify/terminal.h"

namespace qx::tool {

namespace {

std::uint64_t messages_at(double rate, double seconds)
{
    return static_cast<std::uint64_t>(std::max(1.0, std::round(rate * seconds)));
}

std::vector<BenchRun> runs_of(const BenchOptions& options)
{
    std::vector<BenchRun> runs{{options.count, {}, 0}};
    for (const double rate : options.rates) {
        runs.push_back({messages_at(rate, options.seconds), rate, 0});
    }
    return runs;
}

/// No other process of this host, and none that had its number before.
std::string own_tag()
{
    return "qxnotify-bench-" + std::to_string(::getpid()) + "-" +
           std::to_string(std::chrono::steady_clock::now().time_since_epoch().count());
}

std::string progress_text(const BenchRun& run, std::uint64_t sent)
{
    return run.name() + ": " + std::to_string(sent) + " of " + std::to_string(run.messages) + " sent";
}

/// False when nobody reads any more.
bool write_row(int output, const std::string& text)
{
    const Written written = write_all(output, text);
    if (written == Written::failed) {
        throw std::system_error(errno, std::generic_category(), "standard output");
    }
    return written == Written::yes;
}

void run_all(const BenchOptions& options, int output, StopSignals& stop)
{
    const std::string tag = own_tag();
    enter_domain(tag);
    BenchPeer peer(tag);
    Progress progress(is_terminal(STDERR_FILENO));
    BenchPublisher publisher(peer, stop,
                             [&](const BenchRun& run, std::uint64_t sent) { progress.show(progress_text(run, sent)); });
    bool read = options.json || write_row(output, bench_heading());
    for (BenchRun& run : runs_of(options)) {
        if (!read) {
            return;
        }
        const BenchFigures figures = publisher.run(run);
        run.payload_bytes = publisher.payload_bytes();
        progress.erase();
        read = write_row(output, options.json ? bench_json(run, figures) : bench_row(run, figures));
    }
}

ExitCode report(ExitCode code, const std::exception& e)
{
    write_all(STDERR_FILENO, std::string{"qxnotify bench: "} + e.what() + "\n");
    return code;
}

} // namespace

ExitCode run_bench(const BenchOptions& options)
{
    if (!options.listen_in.empty()) {
        return run_bench_listener(options.listen_in);
    }
    StopSignals stop;
    const RecordOutput output;
    try {
        run_all(options, output.fd(), stop);
        return ExitCode::done;
    } catch (const Interrupted& e) {
        return report(ExitCode::interrupted, e);
    } catch (const PeerEnded& e) {
        return report(ExitCode::peer_ended, e);
    } catch (const NoListener& e) {
        return report(ExitCode::no_listener, e);
    } catch (const NotAsSent& e) {
        return report(ExitCode::not_as_sent, e);
    }
}

} // namespace qx::tool
