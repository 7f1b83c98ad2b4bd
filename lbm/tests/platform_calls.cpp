#include "lbm/tests/platform_calls.h"

#include <cerrno>
#include <ctime>
#include <utility>

#include <pthread.h>

namespace lbm::test {
namespace {

thread_local RecordedSleep* t_sleep = nullptr;
thread_local FailingLock* t_lock = nullptr;
thread_local UnlockWatch* t_unlock = nullptr;
thread_local RecordedLocks* t_locks = nullptr;
thread_local bool t_noThreadNames = false;

std::size_t DefaultStack(std::size_t replacement)
{
    pthread_attr_t attributes;
    std::size_t before = 0;
    pthread_getattr_default_np(&attributes);
    pthread_attr_getstacksize(&attributes, &before);
    pthread_attr_setstacksize(&attributes, replacement);
    pthread_setattr_default_np(&attributes);
    pthread_attr_destroy(&attributes);
    return before;
}

bool IsWithin(const void* mutex, const char* begin, std::size_t size)
{
    const auto* const place = static_cast<const char*>(mutex);
    return place >= begin && place < begin + size;
}

int Sleep(RecordedSleep& record, const timespec* interval, timespec* left)
{
    record.intervals.emplace_back(interval->tv_sec, interval->tv_nsec);
    if (record.answers.empty()) {
        return 0;
    }
    const RecordedSleep::Answer answer = record.answers.front();
    record.answers.pop_front();
    if (answer.error == EINTR && left != nullptr) {
        *left = {answer.left.first, answer.left.second};
    }
    errno = answer.error;
    return -1;
}

} // namespace

RecordedSleep::RecordedSleep()
{
    t_sleep = this;
}

RecordedSleep::~RecordedSleep()
{
    t_sleep = nullptr;
}

FailingLock::FailingLock(const void* object, std::size_t size, int n)
    : m_begin(static_cast<const char*>(object))
    , m_size(size)
    , m_callsUntil(n)
{
    t_lock = this;
}

FailingLock::~FailingLock()
{
    t_lock = nullptr;
}

bool FailingLock::Concerns(const void* mutex) noexcept
{
    return IsWithin(mutex, m_begin, m_size) && --m_callsUntil == 0;
}

UnlockWatch::UnlockWatch(const void* object, std::size_t size, std::function<void()> action)
    : m_begin(static_cast<const char*>(object))
    , m_size(size)
    , m_action(std::move(action))
{
    t_unlock = this;
}

UnlockWatch::~UnlockWatch()
{
    t_unlock = nullptr;
}

void UnlockWatch::BeforeUnlock(const void* mutex) const
{
    if (IsWithin(mutex, m_begin, m_size)) {
        m_action();
    }
}

RecordedLocks::RecordedLocks(const void* object, std::size_t size)
    : m_begin(static_cast<const char*>(object))
    , m_size(size)
{
    t_locks = this;
}

RecordedLocks::~RecordedLocks()
{
    t_locks = nullptr;
}

void RecordedLocks::Record(const void* mutex, char event)
{
    if (IsWithin(mutex, m_begin, m_size)) {
        events += event;
    }
}

FailingThreadName::FailingThreadName()
{
    t_noThreadNames = true;
}

FailingThreadName::~FailingThreadName()
{
    t_noThreadNames = false;
}

NoThreads::NoThreads()
    : m_stackBefore(DefaultStack(std::size_t{1} << 60))
{
}

NoThreads::~NoThreads()
{
    DefaultStack(m_stackBefore);
}

} // namespace lbm::test

// NOLINTBEGIN(bugprone-reserved-identifier): the linker's names for what it wraps
extern "C" {

int __real_nanosleep(const timespec* interval, timespec* left);
int __real_pthread_mutex_lock(pthread_mutex_t* mutex);
int __real_pthread_mutex_unlock(pthread_mutex_t* mutex);
int __real_pthread_setname_np(pthread_t thread, const char* name);

int __wrap_nanosleep(const timespec* interval, timespec* left)
{
    auto* const record = lbm::test::t_sleep;
    return record != nullptr ? lbm::test::Sleep(*record, interval, left) : __real_nanosleep(interval, left);
}

int __wrap_pthread_mutex_lock(pthread_mutex_t* mutex)
{
    auto* const failing = lbm::test::t_lock;
    const bool fails = failing != nullptr && failing->Concerns(mutex);
    const int result = fails ? EDEADLK : __real_pthread_mutex_lock(mutex);
    if (auto* const locks = lbm::test::t_locks; locks != nullptr && result == 0) {
        locks->Record(mutex, 'L');
    }
    return result;
}

int __wrap_pthread_mutex_unlock(pthread_mutex_t* mutex)
{
    if (const auto* const watch = lbm::test::t_unlock) {
        watch->BeforeUnlock(mutex);
    }
    if (auto* const locks = lbm::test::t_locks) {
        locks->Record(mutex, 'U');
    }
    return __real_pthread_mutex_unlock(mutex);
}

int __wrap_pthread_setname_np(pthread_t thread, const char* name)
{
    return lbm::test::t_noThreadNames ? ERANGE : __real_pthread_setname_np(thread, name);
}
}
// NOLINTEND(bugprone-reserved-identifier)
