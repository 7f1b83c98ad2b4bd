/// How the wrapper reports a transport call that failed: thrown where an object cannot be made or an operation cannot
/// go on, logged where nothing may be thrown. Either way the text is a fixed message, ": ", and the transport's own
/// words.
#pragma once

#include <stdexcept>

#include <logger/logger.h>

namespace lbm {

using String = qx::logging::String;

/// A failed transport call. Every LbmError that the wrapper throws has been logged once at QXLOG_ERROR where it was
/// thrown; whoever catches it logs again only to add something.
class LbmError : public std::runtime_error {
public:
    /// Reads the calling thread's lbm_errmsg() now: make it before any further transport call.
    explicit LbmError(const String& msg);
};

/// The variable's value as it stands; "" when it is unset, which is thus not told apart from set but empty.
/// Threads   safe as long as nobody changes the environment meanwhile.
String getEnvVar(const char* name);

namespace details {

/// Logs and throws an LbmError. The transport's text is read once, whether or not the level admits the log line.
[[noreturn]] void ThrowLbmError(const String& msg);

/// Logs the failure and nothing else: for destructors. A null `msg` or a missing transport text is left out, the rest
/// is written. Does not ask the transport for its text when errors are not logged.
void LogLbmError(const char* msg) noexcept;

} // namespace details
} // namespace lbm
