/// The setting side of CurrentMessage(), for the trampolines only.
#pragma once

#include <lbm/lbm.h>

namespace lbm::details {

/// Returns the previous value.
const lbm_msg_t* ExchangeCurrentMessage(const lbm_msg_t* msg) noexcept;

} // namespace lbm::details
