#include "signals_held.h"

#include <cerrno>
#include <ctime>
#include <initializer_list>

#include <pthread.h>

namespace qx::logging::backend {

SignalsHeld::SignalsHeld() noexcept
{
    sigset_t pending{};
    sigpending(&pending);
    sigemptyset(&m_held);
    for (const int signal : {SIGPIPE, SIGXFSZ}) {
        if (sigismember(&pending, signal) == 0) {
            sigaddset(&m_held, signal);
        }
    }
    pthread_sigmask(SIG_BLOCK, &m_held, &m_before);
}

SignalsHeld::~SignalsHeld()
{
    const std::timespec noWait{};
    while (sigtimedwait(&m_held, nullptr, &noWait) > 0 || errno == EINTR) {
    }
    pthread_sigmask(SIG_SETMASK, &m_before, nullptr);
}

} // namespace qx::logging::backend
