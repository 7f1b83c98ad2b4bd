/// The setting side of CurrentMessage(), for the trampolines only.
#pragma once

#include <lbm/lbm.h>

namespace lbm::details {

/// One running callback; those of a thread are linked, innermost first. Making it sets the current message.
///
/// Two states on purpose: unwinding takes a callback off the list like a return does, but only Returned() changes the
/// current message. So the terminate handler still sees it, and whatever an exception left behind is gone once the next
/// callback has returned.
class RunningCallback {
public:
    explicit RunningCallback(const lbm_msg_t* msg) noexcept;
    ~RunningCallback();
    RunningCallback(const RunningCallback&) = delete;
    RunningCallback& operator=(const RunningCallback&) = delete;

    /// The callback came back without an exception: its surroundings' message is current again.
    void Returned() const noexcept;

private:
    const lbm_msg_t* m_msg;
    const RunningCallback* m_outer; ///< null for the outermost
};

} // namespace lbm::details
