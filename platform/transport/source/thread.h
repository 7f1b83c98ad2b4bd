/// A named thread of the transport with a stack of its own size.
#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <utility>

#include <pthread.h>

namespace qx::transport {

/// The stack of threads that run callbacks: a callback may recurse, as readers of nested documents do.
inline constexpr std::size_t callback_stack_bytes = 8U << 20U;

class Thread {
public:
    Thread() = default;
    /// `name` is cut at 15 bytes. An exception that leaves `body` ends the process. Throws TransportError (LBM_EOS).
    Thread(const char* name, std::function<void()> body);
    ~Thread() { finish(); }
    Thread(const Thread&) = delete;
    Thread& operator=(const Thread&) = delete;
    Thread(Thread&& other) noexcept
        : handle_(std::exchange(other.handle_, std::nullopt))
    {
    }
    Thread& operator=(Thread&& other) noexcept
    {
        finish();
        handle_ = std::exchange(other.handle_, std::nullopt);
        return *this;
    }

    bool running() const noexcept { return handle_.has_value(); }

    /// Waits for the end; called by the thread itself it lets go of it instead.
    void finish() noexcept;

private:
    std::optional<pthread_t> handle_;
};

} // namespace qx::transport
