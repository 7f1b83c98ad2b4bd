/// Calls of the operating system that tests watch or have fail. The test program is linked with --wrap for each, so
/// only its own objects and archives are concerned: sanitizers and shared libraries keep the real functions.
///
/// Threads   what is set here holds for the calling thread, at most one of a kind at a time.
#pragma once

#include <cstddef>
#include <deque>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace lbm::test {

using Interval = std::pair<long, long>; ///< seconds, nanoseconds

/// While it lives, nanosleep takes no time.
class RecordedSleep {
public:
    /// What one call is to do instead of succeeding: the error number, and with EINTR what is left of the interval.
    struct Answer {
        int error;
        Interval left = {};
    };

    RecordedSleep();
    ~RecordedSleep();
    RecordedSleep(const RecordedSleep&) = delete;
    RecordedSleep& operator=(const RecordedSleep&) = delete;

    std::vector<Interval> intervals; ///< what the calls asked for
    std::deque<Answer> answers;      ///< of the next calls; none: success
};

/// While it lives, the n-th locking of a mutex that lies within the object fails with EDEADLK; n = 1 is the next.
class FailingLock {
public:
    template <class Object>
    FailingLock(const Object& object, int n)
        : FailingLock(&object, sizeof(Object), n)
    {
    }
    ~FailingLock();
    FailingLock(const FailingLock&) = delete;
    FailingLock& operator=(const FailingLock&) = delete;

    /// Whether this locking is the one.
    bool Concerns(const void* mutex) noexcept;

private:
    FailingLock(const void* object, std::size_t size, int n);

    const char* m_begin;
    std::size_t m_size;
    int m_callsUntil;
};

/// While it lives, the action runs whenever a mutex within the object is about to be unlocked.
class UnlockWatch {
public:
    template <class Object>
    UnlockWatch(const Object& object, std::function<void()> action)
        : UnlockWatch(&object, sizeof(Object), std::move(action))
    {
    }
    ~UnlockWatch();
    UnlockWatch(const UnlockWatch&) = delete;
    UnlockWatch& operator=(const UnlockWatch&) = delete;

    void BeforeUnlock(const void* mutex) const;

private:
    UnlockWatch(const void* object, std::size_t size, std::function<void()> action);

    const char* m_begin;
    std::size_t m_size;
    std::function<void()> m_action;
};

/// While it lives, the locking and unlocking of mutexes that lie within the object is written down.
class RecordedLocks {
public:
    template <class Object>
    explicit RecordedLocks(const Object& object)
        : RecordedLocks(&object, sizeof(Object))
    {
    }
    ~RecordedLocks();
    RecordedLocks(const RecordedLocks&) = delete;
    RecordedLocks& operator=(const RecordedLocks&) = delete;

    void Record(const void* mutex, char event);

    std::string events; ///< "L" for a lock that was taken, "U" for one about to be released: "LLUU" are nested ones

private:
    RecordedLocks(const void* object, std::size_t size);

    const char* m_begin;
    std::size_t m_size;
};

/// While it lives, naming a thread fails.
class FailingThreadName {
public:
    FailingThreadName();
    ~FailingThreadName();
    FailingThreadName(const FailingThreadName&) = delete;
    FailingThreadName& operator=(const FailingThreadName&) = delete;
};

/// While it lives, no thread can be started: each would need more stack than there are addresses. Of all threads.
class NoThreads {
public:
    NoThreads();
    ~NoThreads();
    NoThreads(const NoThreads&) = delete;
    NoThreads& operator=(const NoThreads&) = delete;

private:
    std::size_t m_stackBefore;
};

} // namespace lbm::test
