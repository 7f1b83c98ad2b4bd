/// Where operations requests go.
#pragma once

#include <functional>
#include <string>

#include "qxnotify/triage_options.h"

namespace qx::tool {

/// The value of an environment variable, null when it is not set.
using EnvironmentLookup = std::function<const char*(const char* name)>;

/// "TRIAGE.ACTION.PROD.LBM", or "TRIAGE.ACTION.PROD.LBM.CH" of a data centre, the prefix directly before it. As the
/// responders have it: environment and data centre in upper case, the prefix as it stands.
/// Throws TriageSetupError when a name is missing; an empty one is as good as none.
std::string triage_topic(const TriageTarget& target, const EnvironmentLookup& lookup);

} // namespace qx::tool
