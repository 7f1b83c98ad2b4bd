/// What `qxnotify listen` says when a message ends the process.
///
/// A notification without its envelope is fatal to a listener by design: the exception leaves the transport's callback
/// and the process ends. The listener is the real one, so the tool ends as well; what it adds is which message it was.
#pragma once

#include <string>
#include <string_view>

#include <lbm/lbm.h>

namespace qx::tool {

/// One line with its line feed. `message` null: not in a callback.
std::string last_words(const lbm_msg_t* message, std::string_view reason);

/// From now on, std::terminate writes the last words of the calling thread's message to standard error and aborts.
void install_last_words();

} // namespace qx::tool
