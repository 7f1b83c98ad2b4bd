/// Where the triage handler's log statements come from.
#pragma once

#include <logger/logger.h>

namespace lbm {

/// Named by the handler's own log statements, one per program. Contexts' header includes this one, so that the source
/// is made before, and gone after, the static contexts of every file: they log through it before main and at exit.
inline const qx::logging::ConstSourcePtr th_log = qx::logging::MakeSource("lbm_triage_handler");

} // namespace lbm
