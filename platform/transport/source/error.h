/// The calling thread's last failure, as lbm_errmsg() and lbm_errnum() tell it, and the bridge from exceptions to it.
///
/// Texts read call(subject): reason, e.g. "lbm_wildcard_rcv_create(a(b)): missing closing parenthesis at offset 3".
///
/// Threads   each thread has its own text and number. They live in plain thread-local storage that nothing constructs
///           or destroys, so they are usable while a thread exits and while static objects are destroyed.
/// Limits    a text is cut at `error_text_max` bytes, marked by a trailing "..."; recording one allocates nothing.
#pragma once

#include <cstddef>
#include <exception>
#include <new>
#include <stdexcept>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

#include <lbm/lbm.h>

namespace qx::transport {

inline constexpr std::size_t error_text_max = 2047;

/// What went wrong inside the transport, with the LBM_E… number that the caller is to see. The text is the reason
/// alone; the C function that was called and its subject are put in front where the exception is turned into a result.
class TransportError : public std::runtime_error {
public:
    TransportError(int code, const std::string& reason)
        : std::runtime_error(reason)
        , code_(code)
    {
    }
    int code() const noexcept { return code_; }

private:
    int code_;
};

/// Records a failure with a finished text and gives LBM_FAILURE. `text` may be the current lbm_errmsg().
int fail(int code, std::string_view text) noexcept;

/// Records "call(subject): reason"; `subject` may be null.
int fail_call(int code, const char* call, const char* subject, const char* reason) noexcept;

/// Runs `f`, which gives an int or nothing, and turns an exception into a recorded failure of `call` on `subject`.
/// What is not a std::exception is a bug of ours, or the thread's cancellation, and ends the process.
template <class F>
int guarded(const char* call, const char* subject, F&& f) noexcept
{
    try {
        if constexpr (std::is_void_v<std::invoke_result_t<F>>) {
            std::forward<F>(f)();
            return LBM_OK;
        } else {
            return std::forward<F>(f)();
        }
    } catch (const TransportError& e) {
        return fail_call(e.code(), call, subject, e.what());
    } catch (const std::bad_alloc&) {
        return fail_call(LBM_ENOMEM, call, subject, "out of memory");
    } catch (const std::exception& e) {
        return fail_call(LBM_EOS, call, subject, e.what());
    }
}

/// Refuses a null argument: "`name` is NULL", LBM_EINVAL.
void require(const void* argument, const char* name);

} // namespace qx::transport
