/// The back end's own words: straight to standard error, since the back end cannot log through itself.
#pragma once

#include <string_view>

namespace qx::logging::backend {

/// Writes "qx log: <what>" to standard error as one line, whatever bytes `what` holds.
void report(std::string_view what) noexcept;

/// Reports the first failure to write a line, and only that one: a full disk must not flood what is left.
void reportLoss(std::string_view why) noexcept;

} // namespace qx::logging::backend
