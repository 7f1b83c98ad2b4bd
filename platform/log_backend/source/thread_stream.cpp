#include <logger/logger.h>

#include <climits>

#include <pthread.h>

namespace qx::logging {

namespace {

// A bare pointer, since that has no destructor: it can be read however late in the thread's life.
thread_local IPStringStream* threadStream = nullptr;

extern "C" void destroyThreadStream(void* stream)
{
    threadStream = nullptr; // should another clean-up of this thread log yet, it gets a new stream
    delete static_cast<IPStringStream*>(stream);
}

pthread_key_t makeKey()
{
    pthread_key_t key{};
    // Without a key of our own the streams are merely kept: no key has the number PTHREAD_KEYS_MAX.
    return pthread_key_create(&key, destroyThreadStream) == 0 ? key : pthread_key_t{PTHREAD_KEYS_MAX};
}

} // namespace

IPStringStream& GetThreadLocalStream()
{
    if (threadStream == nullptr) {
        threadStream = new IPStringStream;
        // Not a thread_local object: those are destroyed in the order they happen to be made in, and others of them
        // may log from their destructors. A key's clean-up runs after all of them, and for the main thread never, so
        // that static objects can log until the very end.
        static const pthread_key_t key = makeKey();
        pthread_setspecific(key, threadStream);
    }
    return *threadStream;
}

} // namespace qx::logging
