#include "qxnotify/exit_codes.h"

namespace qx::tool {

namespace {

/// No default: a new code without a meaning does not compile.
const char* meaning(ExitCode code)
{
    switch (code) {
    case ExitCode::done:
        return "done as asked; a listener without --count that was stopped by SIGINT or SIGTERM counts as that";
    case ExitCode::failed:
        return "something unexpected; the message says what";
    case ExitCode::usage:
        return "the command line is wrong";
    case ExitCode::transport:
        return "the transport refused: its configuration, a subscription, a source or a send";
    case ExitCode::too_few:
        return "listen: the time was up, or a signal came, before --count records were printed";
    case ExitCode::refused:
        return "publish: some lines were refused, all others were sent";
    case ExitCode::stopped_at_refused:
        return "publish --strict: stopped at a refused line; the lines before it were sent";
    case ExitCode::no_listener:
        return "publish: no listener came within --wait-for-listener; what is left was not sent; bench: its own did "
               "not come";
    case ExitCode::input_output:
        return "a file could not be read, or standard output not be written";
    case ExitCode::interrupted:
        return "publish, bench: stopped by SIGINT or SIGTERM before the end";
    case ExitCode::not_as_sent:
        return "bench: messages were lost, repeated, out of order or changed; there is no figure then";
    case ExitCode::peer_ended:
        return "bench: the listening process ended before its time";
    }
    return "";
}

} // namespace

std::string exit_code_help()
{
    std::string text = "Exit codes (triage has its own):\n";
    for (int code = 0; code <= to_int(ExitCode::peer_ended); ++code) {
        const std::string number = std::to_string(code);
        text += "  " + number + std::string(5 - number.size(), ' ') + meaning(static_cast<ExitCode>(code)) + "\n";
    }
    return text +
           "  134  listen: a message ended the process (SIGABRT), as it would end a price server; the last line\n"
           "       on standard error names it\n";
}

} // namespace qx::tool
