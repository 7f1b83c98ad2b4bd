/// Standard output kept for what the user asked for.
#pragma once

#include <string_view>

#include "qxnotify/signals.h"

namespace qx::tool {

enum class Written { yes, closed, failed }; ///< closed: nobody reads any more (a pipe into head, say)

/// Writes all of `text`, whatever the size of a pipe.
Written write_all(int fd, std::string_view text) noexcept;

/// Gives standard descriptors that are closed something to stand for them, so that nothing opened later gets their
/// number and is taken for input or output. A closed input fails to be read and a closed output fails to be written, as
/// before; what goes to a closed standard error is lost. Call it before anything is opened.
void fill_standard_descriptors() noexcept;

/// Takes standard output over: while it lives, what anything else writes there goes to standard error. Needed because
/// contexts and the triage handler say on standard output that they are being destroyed, which would spoil output that
/// a program reads. The take-over lasts until the process ends: the triage handler is destroyed last of all.
class RecordOutput {
public:
    RecordOutput();
    int fd() const { return m_fd.get(); }

private:
    Descriptor m_fd;
};

} // namespace qx::tool
