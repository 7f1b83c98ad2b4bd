/// Asking a person before something is switched.
#pragma once

#include <string>
#include <string_view>

#include "qxnotify/signals.h"

namespace qx::tool {

/// "y" and "yes", in any letter case and with white space around.
bool is_yes(std::string_view answer);

/// Writes the question to standard error and reads one line from `input`. False on any answer but yes, at the input's
/// end, and when a signal comes.
bool ask(const std::string& question, int input, StopSignals& stop);

} // namespace qx::tool
