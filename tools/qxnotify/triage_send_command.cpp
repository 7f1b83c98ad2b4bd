#include <array>
#include <cerrno>
#include <set>
#include <string>
#include <system_error>

#include <fcntl.h>
#include <unistd.h>

#include "qxnotify/output.h"
#include "qxnotify/terminal.h"
#include "qxnotify/triage_commands.h"
#include "qxnotify/triage_request.h"
#include "qxnotify/triage_run.h"

namespace qx::tool {

namespace {

constexpr std::size_t request_bytes_max = 16UL << 20U; // far more than any request, and less than a wrong file takes

TriageSetupError input_error(const std::string& path, const std::string& what)
{
    return TriageSetupError((path == "-" ? "standard input" : path) + ": " + what + "; nothing was sent");
}

int open_input(const std::string& path)
{
    const int fd = path == "-" ? ::fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 3) : ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd == -1) {
        throw input_error(path, std::generic_category().message(errno));
    }
    return fd;
}

std::string read_request(const std::string& path, StopSignals& stop)
{
    const Descriptor input(open_input(path));
    std::string bytes;
    std::array<char, 65'536> buffer{};
    while (wait_for(input.get(), stop, {}) == Woken::ready) {
        const ssize_t count = ::read(input.get(), buffer.data(), buffer.size());
        if (count == 0) {
            return bytes;
        }
        if (count == -1) {
            throw input_error(path, std::generic_category().message(errno));
        }
        bytes.append(buffer.data(), static_cast<std::size_t>(count));
        if (bytes.size() > request_bytes_max) {
            throw input_error(path, "more than 16 MiB");
        }
    }
    throw input_error(path, "ended by " + signal_name(stop.received()));
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
