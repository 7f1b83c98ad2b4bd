#include <lbm/error.h>

#include <cstdlib>

#include <lbm/lbm.h>

#include "catalogue.h"

namespace lbm {
namespace {

/// Streaming a null pointer would silence the thread's log for good.
const char* OrNothing(const char* text) noexcept
{
    return text != nullptr ? text : "";
}

} // namespace

LbmError::LbmError(const String& msg)
    : std::runtime_error(msg + ": " + OrNothing(lbm_errmsg()))
{
}

String getEnvVar(const char* name)
{
    return OrNothing(std::getenv(name));
}

namespace details {

void ThrowLbmError(const String& msg)
{
    const LbmError error(msg);
    LBM_LOG(QXLOG_ERROR, line::thrownError) << error.what();
    throw LbmError(error); // a copy: it keeps the text that was logged
}

void LogLbmError(const char* msg) noexcept
{
    LBM_LOG(QXLOG_ERROR, line::loggedError) << OrNothing(msg) << ": " << OrNothing(lbm_errmsg());
}

} // namespace details
} // namespace lbm
