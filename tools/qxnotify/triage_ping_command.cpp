#include "qxnotify/triage_commands.h"
#include "qxnotify/triage_request.h"
#include "qxnotify/triage_run.h"

namespace qx::tool {

TriageExit run_triage_ping(const TriagePingOptions& options)
{
    return run_guarded(options.collecting.format, [&](int output, StopSignals& stop) {
        TriageQuestion question = make_question("ping", options.target, options.collecting, stop);
        question.thresholds = options.thresholds;
        const TriageReport report = ask_rounds(question, options.target, options.collecting, options.rounds,
                                               options.interval_seconds, &encode_test_request, stop);
        write_result(output, write_report(options.collecting.format, report));
        return report.code;
    });
}

} // namespace qx::tool
