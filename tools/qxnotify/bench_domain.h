/// A domain of a bench's own, so that it meets nobody else and nobody else meets it.
#pragma once

#include <string>

namespace qx::tool {

/// The configuration with that domain tag for every context in it. `xml` must be well-formed.
std::string with_domain_tag(const std::string& xml, const std::string& tag);

/// Puts the configuration that the environment names, else the defaults, in force for this process, with that domain
/// tag. Call it before any context exists. Throws TransportError when the transport refuses the configuration.
void enter_domain(const std::string& tag);

} // namespace qx::tool
