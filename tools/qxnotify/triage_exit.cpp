#include "qxnotify/triage_exit.h"

namespace qx::tool {

const char* state_name(TriageExit code)
{
    switch (code) {
    case TriageExit::ok:
        return "OK";
    case TriageExit::warning:
        return "WARNING";
    case TriageExit::critical:
        return "CRITICAL";
    case TriageExit::unknown:
        return "UNKNOWN";
    }
    return "";
}

std::string triage_exit_help()
{
    return "Exit codes of triage, as monitoring systems want them and unlike those of the other verbs:\n"
           "  0    answered, by everybody who was expected, within the thresholds; also: shown by --dry-run\n"
           "  1    warning: an answer slower than --warning, a request that a responder left unanswered, an answer\n"
           "       that does not fit the request, or more answers than could be looked at\n"
           "  2    critical: nobody answered, somebody who was expected did not, or an answer slower than --critical\n"
           "  3    unknown: the command line, the environment, a file, the transport, the confirmation or a signal\n"
           "       stood in the way before anything was sent\n";
}

} // namespace qx::tool
