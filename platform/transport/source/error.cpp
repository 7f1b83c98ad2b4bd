#include "error.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace qx::transport {
namespace {

struct LastError {
    int code;
    char text[error_text_max + 1];
};
static_assert(std::is_trivially_destructible_v<LastError>, "readable while the thread and the process end");

constinit thread_local LastError last_error{};

constexpr std::string_view cut_mark = "...";

} // namespace

int fail(int code, std::string_view text) noexcept
{
    const std::size_t size = std::min(text.size(), error_text_max);
    std::memmove(last_error.text, text.data(), size); // the text may be the one that is being replaced
    last_error.text[size] = '\0';
    if (text.size() > error_text_max) {
        std::memcpy(last_error.text + error_text_max - cut_mark.size(), cut_mark.data(), cut_mark.size());
    }
    last_error.code = code;
    return LBM_FAILURE;
}

int fail_call(int code, const char* call, const char* subject, const char* reason) noexcept
{
    char text[error_text_max + 2]; // one more than is kept, so that `fail` sees that something is missing
    const int wanted = std::snprintf(text, sizeof text, "%s(%s): %s", call, subject != nullptr ? subject : "", reason);
    const std::size_t size = wanted < 0 ? 0 : std::min(static_cast<std::size_t>(wanted), sizeof text - 1);
    return fail(code, {text, size});
}

void require(const void* argument, const char* name)
{
    if (argument == nullptr) {
        throw TransportError(LBM_EINVAL, std::string(name) + " is NULL");
    }
}

} // namespace qx::transport

const char* lbm_errmsg(void)
{
    return qx::transport::last_error.text;
}

int lbm_errnum(void)
{
    return qx::transport::last_error.code;
}
