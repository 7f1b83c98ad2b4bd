/// Reading a whole file that should be small, so that a signal can end it.
#pragma once

#include <cstddef>
#include <string>

#include "qxnotify/signals.h"

namespace qx::tool {

struct InputLimits {
    std::size_t bytes_max;
    std::string advice; ///< ends every error: "; check --inventory"
};

/// All bytes of a file, or of standard input. Waits for a pipe that nobody has opened for writing yet.
/// Errors    TriageSetupError "price.txt: Is a directory; check --inventory": it cannot be read, is larger than
///           `bytes_max`, or a signal came.
std::string read_file(const std::string& path, const InputLimits& limits, StopSignals& stop);
std::string read_standard_input(const InputLimits& limits, StopSignals& stop);

} // namespace qx::tool
