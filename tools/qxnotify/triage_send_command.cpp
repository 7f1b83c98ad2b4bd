#include <set>
#include <string>

#include <unistd.h>

#include "qxnotify/output.h"
#include "qxnotify/terminal.h"
#include "qxnotify/triage_commands.h"
#include "qxnotify/triage_input.h"
#include "qxnotify/triage_request.h"
#include "qxnotify/triage_run.h"

namespace qx::tool {

namespace {

constexpr std::size_t request_bytes_max = 16UL << 20U; // far more than any request, and less than a wrong file takes

std::string read_request(const std::string& path, StopSignals& stop)
{
    const InputLimits limits{request_bytes_max, "; nothing was sent"};
    return path == "-" ? read_standard_input(limits, stop) : read_file(path, limits, stop);
}

/// Writes answers as they come. How many responders there were.
std::size_t write_answers(TriageRequester& requester, const TriageCollecting& collecting, int output)
{
    std::set<std::string> sources;
    const Deadline deadline = deadline_in(collecting.wait_seconds);
    while (!collecting.expected || sources.size() < *collecting.expected) {
        const Woken woken = requester.wait_for_answer(deadline);
        for (const ReceivedAnswer& answer : requester.take_answers()) {
            sources.insert(answer.source);
            write_result(output, escaped(answer.source) + ": " + show_answer(answer.payload) + "\n");
        }
        if (woken != Woken::ready) {
            break;
        }
    }
    if (requester.dropped() > 0) {
        write_all(STDERR_FILENO,
                  "qxnotify triage: " + std::to_string(requester.dropped()) + " answers dropped, beyond 16 MiB\n");
    }
    return sources.size();
}

} // namespace

TriageExit run_triage_send(const TriageSendOptions& options)
{
    return run_guarded(options.collecting.format, [&](int output, StopSignals& stop) {
        const std::string topic = topic_for(options.target);
        const std::string request = read_request(options.path, stop);
        TriageRequester requester(options.target.context_name, topic, stop);
        std::size_t answered = 0;
        const Reached reached = reach_responders(requester, options.collecting, stop);
        if (reached == Reached::stopped || (reached == Reached::yes && !requester.send(request))) {
            throw TriageSetupError(signal_name(stop.received()) + " came before anything was sent");
        }
        if (reached == Reached::yes) {
            answered = write_answers(requester, options.collecting, output);
        }
        return answered > 0 && answered >= options.collecting.expected.value_or(1) ? TriageExit::ok
                                                                                   : TriageExit::critical;
    });
}

} // namespace qx::tool
