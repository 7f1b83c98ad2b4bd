#include "qxnotify/publish_command.h"

#include <chrono>
#include <memory>
#include <string>

#include <unistd.h>

#include "qxnotify/output.h"
#include "qxnotify/publish_dry_run.h"
#include "qxnotify/publish_loop.h"
#include "qxnotify/publish_transport.h"
#include "qxnotify/terminal.h"

namespace qx::tool {

namespace {

std::unique_ptr<LineSource> open_input(const PublishOptions& options, StopSignals& stop)
{
    if (options.generator.count > 0) {
        constexpr std::uint64_t usual_market = 42;
        return open_generator(options.generator, options.markets.empty() ? std::vector{usual_market} : options.markets);
    }
    return open_files(options.files.empty() ? std::vector<std::string>{"-"} : options.files, stop);
}

std::unique_ptr<Sender> open_sender(const PublishOptions& options, StopSignals& stop, int output)
{
    if (options.dry_run) {
        return std::make_unique<DryRunSender>([output](std::string_view line) { return write_all(output, line); });
    }
    return std::make_unique<TransportSender>(options.listener_wait_seconds, stop);
}

/// A dry run's output is its lines; then even a summary for programs goes to standard error.
void write_totals(const PublishOptions& options, int output, const PublishTotals& totals, double seconds,
                  const std::string& ended_by)
{
    if (options.summary == SummaryFormat::json) {
        write_all(options.dry_run ? STDERR_FILENO : output, totals_json(totals, seconds, ended_by));
    } else {
        write_all(STDERR_FILENO, totals_line(totals, seconds, ended_by));
    }
}

} // namespace

ExitCode run_publish(const PublishOptions& options)
{
    StopSignals stop;
    const RecordOutput output;
    const auto begin = std::chrono::steady_clock::now();
    const auto input = open_input(options, stop);
    auto sender = open_sender(options, stop, output.fd());
    Progress progress(options.progress && is_terminal(STDERR_FILENO));
    PublishLoop loop(
        options, *input, *sender, stop, [](std::string_view line) { write_all(STDERR_FILENO, line); }, progress);
    const ExitCode code = loop.run();
    progress.erase();
    sender.reset(); // hands over what is still on its way, so that the summary comes after it
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - begin;
    write_totals(options, output.fd(), loop.totals(), elapsed.count(), loop.ended_by());
    return code;
}

} // namespace qx::tool
