#include "thread.h"

#include <csignal>
#include <memory>
#include <string>

#include "error.h"

namespace qx::transport {
namespace {

struct Start {
    std::string name;
    std::function<void()> body;
};

void* run(void* argument) noexcept
{
    const std::unique_ptr<Start> start{static_cast<Start*>(argument)};
    pthread_setname_np(pthread_self(), start->name.c_str());
    start->body();
    return nullptr;
}

void check(int rc, const char* what)
{
    if (rc != 0) {
        throw TransportError(LBM_EOS, std::string{what} + " failed [" + std::to_string(rc) + "]");
    }
}

struct Attributes {
    Attributes()
    {
        check(pthread_attr_init(&value), "pthread_attr_init");
        pthread_attr_setstacksize(&value, callback_stack_bytes); // cannot fail: the size is a fixed, sound one
    }
    ~Attributes() { pthread_attr_destroy(&value); }
    Attributes(const Attributes&) = delete;
    Attributes& operator=(const Attributes&) = delete;

    pthread_attr_t value{};
};

/// Signals of the process are for the application's own threads; those that a thread raises by its own fault are not.
class SignalsBlocked {
public:
    SignalsBlocked()
    {
        sigset_t all;
        sigfillset(&all);
        for (const int fault : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGABRT, SIGSYS, SIGPROF}) {
            sigdelset(&all, fault);
        }
        pthread_sigmask(SIG_SETMASK, &all, &before_);
    }
    ~SignalsBlocked() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
    SignalsBlocked(const SignalsBlocked&) = delete;
    SignalsBlocked& operator=(const SignalsBlocked&) = delete;

private:
    sigset_t before_{};
};

} // namespace

Thread::Thread(const char* name, std::function<void()> body)
{
    auto start = std::make_unique<Start>(Start{std::string{name}.substr(0, 15), std::move(body)});
    const Attributes attributes;
    const SignalsBlocked blocked;
    pthread_t handle{};
    check(pthread_create(&handle, &attributes.value, &run, start.get()), "pthread_create");
    static_cast<void>(start.release());
    handle_ = handle;
}

void Thread::finish() noexcept
{
    if (!handle_) {
        return;
    }
    if (pthread_equal(*handle_, pthread_self()) != 0) {
        pthread_detach(*handle_);
    } else {
        pthread_join(*handle_, nullptr);
    }
    handle_.reset();
}

} // namespace qx::transport
