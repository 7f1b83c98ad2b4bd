/// How `qxnotify triage` ends: as monitoring systems want it, which is unlike the other verbs. The numbers are public:
/// they never change.
#pragma once

#include <stdexcept>
#include <string>

namespace qx::tool {

enum class TriageExit : int {
    ok = 0,
    warning = 1,
    critical = 2,
    unknown = 3, ///< nothing was found out: wrong usage or set-up, or a signal before the first request
};

constexpr int to_int(TriageExit code)
{
    return static_cast<int>(code);
}

/// "OK", "WARNING", "CRITICAL" or "UNKNOWN".
const char* state_name(TriageExit code);

/// One line a code, for the end of the help text.
std::string triage_exit_help();

/// The set-up is wrong: the text says what, where, and what to do.
class TriageSetupError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

} // namespace qx::tool
