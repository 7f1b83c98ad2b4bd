/// The end of a process whose callback let an exception out.
#pragma once

#include <lbm/lbm.h>

namespace qx::transport {

/// Calls `proc`. An exception that leaves it ends the process through std::terminate, after one line on standard error:
///
///     lbm: exception left a callback: topic="<topic>" sequence_number=<number> what="<text>"
///
/// Control characters, quotes and backslashes in the texts are written as \xNN, so that it is one line always. The
/// handler that std::set_terminate installed runs while the exception is current and the message is still held.
void call_or_die(lbm_rcv_cb_proc proc, lbm_rcv_t* rcv, lbm_msg_t& message, void* clientd) noexcept;

} // namespace qx::transport
