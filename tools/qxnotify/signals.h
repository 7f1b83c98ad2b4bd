/// Waiting that a signal or another thread can end at once.
#pragma once

#include <chrono>
#include <csignal>
#include <optional>
#include <string>

namespace qx::tool {

using Deadline = std::optional<std::chrono::steady_clock::time_point>; ///< none: wait without limit

/// That long after now, or after `begin`; what is beyond some thirty years is cut, as the clock could not hold it.
Deadline deadline_in(std::optional<double> seconds);
std::chrono::steady_clock::time_point time_after(std::chrono::steady_clock::time_point begin, double seconds);

bool passed(Deadline deadline);

/// Owns a file descriptor.
class Descriptor {
public:
    explicit Descriptor(int fd)
        : m_fd(fd)
    {
    }
    ~Descriptor();
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    int get() const { return m_fd; }

private:
    int m_fd;
};

/// Turns SIGINT and SIGTERM into something that can be waited for. Make it before any thread is started: the threads
/// inherit that the two signals are held back, so that none of them is interrupted. One at a time per process.
class StopSignals {
public:
    StopSignals();
    ~StopSignals();
    StopSignals(const StopSignals&) = delete;
    StopSignals& operator=(const StopSignals&) = delete;

    int fd() const { return m_fd.get(); }
    /// The signal that came, remembered for good; 0 while none has.
    int received();

private:
    sigset_t m_previous{};
    Descriptor m_fd;
    int m_received = 0;
};

/// Lets one thread end the wait of another.
class Waker {
public:
    Waker();
    int fd() const { return m_fd.get(); }
    /// Safe from any thread, and again and again.
    void wake() noexcept;
    /// Forgets what woke it, so that it can be waited for again.
    void clear() noexcept;

private:
    Descriptor m_fd;
};

enum class Woken { ready, stopped, timed_out };

/// Waits until `fd` can be read (or has ended), a stop signal has come, or the deadline has passed. An `fd` of -1 is
/// never ready. A signal wins over `fd`.
Woken wait_for(int fd, StopSignals& stop, Deadline deadline);

/// The same without regard to signals: whether `fd` can be read (or has ended) before the deadline.
bool wait_for(int fd, Deadline deadline);

/// "SIGTERM" for SIGTERM; the number for others.
std::string signal_name(int signal);

} // namespace qx::tool
