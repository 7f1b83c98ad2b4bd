/// Where the engine's security plug-ins are.
#pragma once

#include <dds/dds.h>

namespace qx::transport {

/// Sets a participant's properties that name them. They are looked for beside the engine's library, where its package
/// puts them, so that no path is built in. Throws TransportError (LBM_EOS) when they are not there.
void name_security_plugins(dds_qos_t* participant);

} // namespace qx::transport
