#include "qxnotify/triage_run.h"

#include <cerrno>
#include <cstdlib>
#include <exception>
#include <system_error>

#include <unistd.h>

#include "qxnotify/output.h"
#include "qxnotify/triage_topic.h"

namespace qx::tool {

namespace {

constexpr const char* transport_advice =
    "; check LBM_XML_CONFIG_FILENAME, LBM_XML_CONFIG_APPNAME and --context, and the options they lead to";

TriageExit report_unknown(TriageFormat format, int output, const std::string& what)
{
    write_all(STDERR_FILENO, "qxnotify triage: " + what + "\n");
    if (format == TriageFormat::nagios) {
        write_all(output, "TRIAGE UNKNOWN - " + nagios_text(what) + "\n");
    }
    return TriageExit::unknown;
}

} // namespace

std::string topic_for(const TriageTarget& target)
{
    return triage_topic(target, [](const char* name) { return std::getenv(name); });
}

TriageQuestion make_question(const std::string& request, const TriageTarget& target, const TriageCollecting& collecting,
                             StopSignals& stop)
{
    TriageQuestion question;
    question.request = request;
    question.topic = topic_for(target);
    question.expected = collecting.expected;
    if (!collecting.inventory_path.empty()) {
        question.inventory = read_inventory(collecting.inventory_path, stop);
    }
    return question;
}

TriageReport ask_rounds(const TriageQuestion& question, const TriageTarget& target, const TriageCollecting& collecting,
                        std::uint64_t rounds, double interval_seconds, const TriageRounds::MakeRequest& make_request,
                        StopSignals& stop)
{
    TriageRequester requester(target.context_name, question.topic, stop);
    TriageRounds asked(requester, question, collecting, stop);
    asked.run(rounds, interval_seconds, make_request);
    return make_report(question, asked.tally(), asked.ended_by());
}

TriageExit run_guarded(TriageFormat format, const std::function<TriageExit(int output, StopSignals& stop)>& command)
{
    StopSignals stop;
    const RecordOutput output;
    try {
        return command(output.fd(), stop);
    } catch (const TransportError& e) {
        return report_unknown(format, output.fd(), std::string{e.what()} + transport_advice);
    } catch (const std::exception& e) {
        return report_unknown(format, output.fd(), e.what());
    }
}

void write_result(int output, std::string_view text)
{
    if (write_all(output, text) == Written::failed) {
        throw TriageSetupError("standard output: " + std::generic_category().message(errno));
    }
}

} // namespace qx::tool
