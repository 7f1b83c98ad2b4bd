/// The engine as one would use it without the transport: the same domain settings and packet type, reliable and keeping
/// everything, one sample a message, an instance a topic.
#pragma once

#include "link.h"

namespace qx::benchmark {

std::unique_ptr<Link> make_engine_link(const std::string& tag, bool batching);

} // namespace qx::benchmark
