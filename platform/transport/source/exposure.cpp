#include "exposure.h"

#include <atomic>
#include <cstdio>

#include "network_interface.h"
#include "security.h"

namespace qx::transport {

bool is_exposed(const Options& options)
{
    return !is_loopback(options.get_text("interface")) && !SecurityFiles{options}.given();
}

std::string exposure_warning(const std::string& interface)
{
    return "lbm: warning: interface " + interface +
           " without security: whoever reaches that network reads all that this process publishes and sends it "
           "anything under any topic, operations requests too; set the security_* options, or interface lo";
}

void warn_if_exposed(const Options& options)
{
    static std::atomic<bool> warned = false;
    if (is_exposed(options) && !warned.exchange(true)) {
        std::fprintf(stderr, "%s\n", exposure_warning(options.get_text("interface")).c_str());
    }
}

} // namespace qx::transport
