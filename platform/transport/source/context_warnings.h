/// What a context's options let happen that whoever runs the process should know of.
#pragma once

#include <atomic>
#include <string>

#include "options.h"

namespace qx::transport {

/// Whether whoever reaches the interface can hear and send: it is no loopback, and there is no security.
bool is_exposed(const Options& context_options);

/// One line that says what is exposed and what to do.
std::string exposure_warning(const std::string& interface);

/// One line that names the faults that are made on purpose; "" when none are.
std::string fault_warning(const Options& context_options);

/// Warns on standard error that a context's end may have lost what it sent last, unless it was not to wait at all.
void warn_of_unacknowledged(const Options& context_options);

/// Warns on standard error of the first context that is exposed and of the first that makes faults.
/// Threads   any.
class ContextWarnings {
public:
    void give(const Options& context_options);

private:
    std::atomic<bool> exposed_ = false;
    std::atomic<bool> faulty_ = false;
};

} // namespace qx::transport
