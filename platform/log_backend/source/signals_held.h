/// Keeps a write from ending the process: the library's user need not know what its log is connected to.
#pragma once

#include <csignal>

namespace qx::logging::backend {

/// While it lives, what a write raises (SIGPIPE of a pipe that nobody reads, SIGXFSZ of a file at its limit) is held
/// back from the calling thread; when it goes, what was raised meanwhile is taken back. The write then only fails with
/// its error. A signal that was pending before stays pending: it is the host program's.
class SignalsHeld {
public:
    SignalsHeld() noexcept;
    ~SignalsHeld();
    SignalsHeld(const SignalsHeld&) = delete;
    SignalsHeld& operator=(const SignalsHeld&) = delete;

private:
    sigset_t m_held{};
    sigset_t m_before{};
};

} // namespace qx::logging::backend
