/// The warning that a context is on a network without security.
#pragma once

#include <string>

#include "options.h"

namespace qx::transport {

/// Whether whoever reaches the interface can hear and send: it is no loopback, and there is no security.
bool is_exposed(const Options& context_options);

/// One line that says what is exposed and what to do.
std::string exposure_warning(const std::string& interface);

/// Warns on standard error of the first context of this process that is exposed. Any thread.
void warn_if_exposed(const Options& context_options);

} // namespace qx::transport
