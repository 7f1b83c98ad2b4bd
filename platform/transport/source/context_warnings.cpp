#include "context_warnings.h"

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

std::string fault_warning(const Options& options)
{
    std::string faults;
    for (const char* const fault :
         {"fault_transmit_loss_permille", "fault_drop_permille", "fault_double_permille", "fault_swap_permille"}) {
        if (const auto permille = options.get_integer(fault); permille != 0) {
            faults += (faults.empty() ? "" : ", ") + (fault + (" " + std::to_string(permille)));
        }
    }
    return faults.empty() ? ""
                          : "lbm: warning: faults are made on purpose (" + faults +
                                "): messages are lost or late; set these options to 0 but for tests and rehearsals";
}

void warn_of_unacknowledged(const Options& options)
{
    if (const auto waited = options.get_integer("close_wait_ms"); waited != 0) {
        std::fprintf(stderr, "%s\n",
                     ("lbm: warning: a context was deleted though a receiver had not acknowledged within " +
                      std::to_string(waited) +
                      " ms what was sent last, and may miss it; see whether it stands still, or raise close_wait_ms")
                         .c_str());
    }
}

void ContextWarnings::give(const Options& options)
{
    if (is_exposed(options) && !exposed_.exchange(true)) {
        std::fprintf(stderr, "%s\n", exposure_warning(options.get_text("interface")).c_str());
    }
    if (const std::string faults = fault_warning(options); !faults.empty() && !faulty_.exchange(true)) {
        std::fprintf(stderr, "%s\n", faults.c_str());
    }
}

} // namespace qx::transport
