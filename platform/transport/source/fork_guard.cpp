#include "fork_guard.h"

#include <atomic>

#include <pthread.h>

namespace qx::transport {
namespace {

std::atomic<int> lives = 0;
std::atomic<bool> orphaned = false;

/// Runs in the child, where only what is safe in a signal handler may be done.
void look_at_birth() noexcept
{
    if (lives > 0) {
        orphaned = true;
    }
}

} // namespace

EngineLife::EngineLife()
{
    static const int registered = pthread_atfork(nullptr, nullptr, &look_at_birth);
    if (registered != 0) {
        throw TransportError(LBM_ENOMEM, "pthread_atfork failed [" + std::to_string(registered) + "]");
    }
    ++lives;
}

EngineLife::~EngineLife()
{
    --lives;
}

void refuse_after_fork()
{
    if (orphaned) {
        throw TransportError(LBM_EOP, "this process was forked from one that used the transport; only a program "
                                      "started by exec, or a child forked before the first context, can use it");
    }
}

} // namespace qx::transport
