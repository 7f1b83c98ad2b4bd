#include <logger/logger.h>

namespace qx::logging {

namespace {

// A bare pointer, since that has no destructor: it can be read however late in the thread's life, when the thread's
// objects are gone.
thread_local IPStringStream* threadStream = nullptr;

struct StreamReaper {
    StreamReaper() = default;
    ~StreamReaper()
    {
        delete threadStream;
        threadStream = nullptr;
    }
    StreamReaper(const StreamReaper&) = delete;
    StreamReaper& operator=(const StreamReaper&) = delete;
};

} // namespace

IPStringStream& GetThreadLocalStream()
{
    if (threadStream == nullptr) {
        threadStream = new IPStringStream;
        // Set up once per thread. A statement made after it ran (by a static object, or by another thread-local one)
        // gets a new stream here, which is kept: the thread is about to end.
        thread_local const StreamReaper reaper;
    }
    return *threadStream;
}

} // namespace qx::logging
