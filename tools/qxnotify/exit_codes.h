/// How qxnotify ends, for scripts; triage ends otherwise (triage_exit.h). The numbers are public: they never change.
#pragma once

#include <string>

namespace qx::tool {

enum class ExitCode : int {
    done = 0,
    failed = 1,
    usage = 2,
    transport = 3,
    too_few = 4,
    refused = 5,
    stopped_at_refused = 6,
    no_listener = 7,
    input_output = 8,
    interrupted = 9,
    not_as_sent = 10,
    peer_ended = 11,
};

constexpr int to_int(ExitCode code)
{
    return static_cast<int>(code);
}

/// One line a code, for the end of the help text.
std::string exit_code_help();

} // namespace qx::tool
