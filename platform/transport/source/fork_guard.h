/// A forked child must not use what its parent's transport left in its memory: the engine's threads are not there, a
/// send would say success and send nothing, and a deletion would wait for ever.
#pragma once

#include <utility>

#include "error.h"

namespace qx::transport {

/// Tells the guard of the engine's life in this process. Threads   any.
class EngineLife {
public:
    EngineLife();
    ~EngineLife();
    EngineLife(const EngineLife&) = delete;
    EngineLife& operator=(const EngineLife&) = delete;
};

/// Throws TransportError (LBM_EOP) in a child that was forked while the engine lived.
void refuse_after_fork();

/// As `guarded`, for what touches the engine or its threads.
template <class F>
int guarded_live(const char* call, const char* subject, F&& f) noexcept
{
    return guarded(call, subject, [&] {
        refuse_after_fork();
        return std::forward<F>(f)();
    });
}

} // namespace qx::transport
