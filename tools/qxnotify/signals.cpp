#include "qxnotify/signals.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <system_error>

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/signalfd.h>
#include <unistd.h>

namespace qx::tool {

namespace {

int checked(int fd, const char* call)
{
    if (fd == -1) {
        throw std::system_error(errno, std::generic_category(), call);
    }
    return fd;
}

sigset_t stop_set()
{
    sigset_t set{};
    ::sigemptyset(&set);
    ::sigaddset(&set, SIGINT);
    ::sigaddset(&set, SIGTERM);
    return set;
}

int open_signal_fd()
{
    const sigset_t set = stop_set();
    return checked(::signalfd(-1, &set, SFD_NONBLOCK | SFD_CLOEXEC), "signalfd");
}

/// What is left, at least nothing.
timespec remaining(std::chrono::steady_clock::time_point deadline)
{
    using namespace std::chrono;
    const auto left = std::max(deadline - steady_clock::now(), steady_clock::duration::zero());
    const auto whole = floor<seconds>(left);
    return {static_cast<time_t>(whole.count()), static_cast<long>(nanoseconds(left - whole).count())};
}

/// poll() in the clock's own unit: what is due in 50 us should not wait for a millisecond.
template <std::size_t Count>
int poll_until(std::array<pollfd, Count>& fds, Deadline deadline)
{
    const timespec timeout = deadline ? remaining(*deadline) : timespec{};
    return ::ppoll(fds.data(), fds.size(), deadline ? &timeout : nullptr, nullptr);
}

} // namespace

Deadline deadline_in(std::optional<double> seconds)
{
    return seconds ? Deadline{time_after(std::chrono::steady_clock::now(), *seconds)} : Deadline{};
}

std::chrono::steady_clock::time_point time_after(std::chrono::steady_clock::time_point begin, double seconds)
{
    constexpr double longest = 1e9;
    return begin + std::chrono::duration_cast<std::chrono::steady_clock::duration>(
                       std::chrono::duration<double>(std::min(seconds, longest)));
}

bool passed(Deadline deadline)
{
    return deadline && std::chrono::steady_clock::now() >= *deadline;
}

Descriptor::~Descriptor()
{
    ::close(m_fd);
}

StopSignals::StopSignals()
    : m_fd(open_signal_fd())
{
    const sigset_t set = stop_set();
    ::pthread_sigmask(SIG_BLOCK, &set, &m_previous);
}

StopSignals::~StopSignals()
{
    received(); // one that is still held back would end the process as soon as it is let through
    ::pthread_sigmask(SIG_SETMASK, &m_previous, nullptr);
}

int StopSignals::received()
{
    signalfd_siginfo info{};
    while (::read(m_fd.get(), &info, sizeof(info)) == static_cast<ssize_t>(sizeof(info))) {
        m_received = static_cast<int>(info.ssi_signo);
    }
    return m_received;
}

Waker::Waker()
    : m_fd(checked(::eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC), "eventfd"))
{
}

void Waker::wake() noexcept
{
    // It can only fail because the counter is full, and then the waiter is being woken anyway.
    [[maybe_unused]] const int result = ::eventfd_write(m_fd.get(), 1);
}

void Waker::clear() noexcept
{
    // It can only fail because nothing has woken it.
    eventfd_t count = 0;
    [[maybe_unused]] const int result = ::eventfd_read(m_fd.get(), &count);
}

bool wait_for(int fd, Deadline deadline)
{
    std::array<pollfd, 1> fds{{{fd, POLLIN, 0}}};
    int ready = -1;
    do {
        ready = poll_until(fds, deadline);
    } while ((ready == -1 && errno == EINTR) || (ready == 0 && !passed(deadline)));
    return ready > 0;
}

Woken wait_for(int fd, StopSignals& stop, Deadline deadline)
{
    while (stop.received() == 0) {
        std::array<pollfd, 2> fds{{{stop.fd(), POLLIN, 0}, {fd, POLLIN, 0}}}; // ppoll() passes over -1
        const int ready = poll_until(fds, deadline);
        if (ready == -1 && errno != EINTR) {
            throw std::system_error(errno, std::generic_category(), "ppoll");
        }
        if (ready > 0 && fds[0].revents == 0) {
            return Woken::ready;
        }
        if (ready == 0 && passed(deadline)) {
            return Woken::timed_out;
        }
    }
    return Woken::stopped;
}

std::string signal_name(int signal)
{
    switch (signal) {
    case SIGINT:
        return "SIGINT";
    case SIGTERM:
        return "SIGTERM";
    default:
        return "signal " + std::to_string(signal);
    }
}

} // namespace qx::tool
