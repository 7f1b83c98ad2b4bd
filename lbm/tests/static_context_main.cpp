// A process with a context among its static objects, in a file that knows of nothing but contexts. Its statements must
// carry their source, from the first before main to the last one behind it: that of the queue's thread at exit.
#include <cstdio>
#include <cstdlib>

#include <lbm/context.h>

#include "tests/doubles/captured_log.h"
#include "tests/doubles/lbm_double/lbm_double.h"

namespace {

/// The first static object, so the last to go.
struct Surroundings {
    Surroundings()
    {
        ::setenv("CHEF_ENVIRONMENT", "dev", 1);
        ::setenv("DATA_CENTER", "ch", 1);
        ::setenv("TRIAGE_HANDLER_USE_EVENT_QUEUE", "1", 1);
    }
    ~Surroundings() { Check(" loop stopping"); }

    /// Ends the process when no statement of the handler ends so.
    void Check(const std::string& end) const
    {
        for (const auto& statement : log.statements()) {
            if (statement.source == "lbm_triage_handler" && statement.text.ends_with(end)) {
                return;
            }
        }
        std::printf("no statement of the triage handler ends in '%s'\n", end.c_str());
        std::fflush(stdout);
        std::_Exit(1);
    }

    qx::test::LbmDouble transport;
    qx::test::CapturedLog log;
};

const Surroundings surroundings;
const lbm::Context context;

} // namespace

int main()
{
    surroundings.Check("Initializing LbmTriageHandler");
    surroundings.Check("context_name=");
}
