/// The transport, through its public C interface.
#pragma once

#include "link.h"

namespace qx::benchmark {

std::unique_ptr<Link> make_transport_link(const std::string& tag);

} // namespace qx::benchmark
