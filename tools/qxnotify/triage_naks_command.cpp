#include <nlohmann/json.hpp>
#include <unistd.h>

#include "qxnotify/terminal.h"
#include "qxnotify/triage_commands.h"
#include "qxnotify/triage_confirm.h"
#include "qxnotify/triage_request.h"
#include "qxnotify/triage_run.h"

namespace qx::tool {

namespace {

void confirm(const TriageNaksOptions& options, const TriageQuestion& question, StopSignals& stop)
{
    if (options.confirmed) {
        return;
    }
    if (!is_terminal(STDIN_FILENO)) {
        throw TriageSetupError("nobody can be asked, as standard input is no terminal; nothing was sent; give --yes");
    }
    const std::string what = "Ask everybody on " + escaped(question.topic) + " to switch NAKs " +
                             (options.enable ? "on" : "off") + " for contexts " +
                             messaging::triage::LBMContext_Name(options.contexts) + "?";
    if (!ask(what, STDIN_FILENO, stop)) {
        throw TriageSetupError("not confirmed; nothing was sent");
    }
}

std::string dry_run_text(TriageFormat format, const TriageQuestion& question, const std::string& message)
{
    if (format != TriageFormat::json) {
        return "topic: " + escaped(question.topic) + "\nrequest: " + message + "\n";
    }
    using Json = nlohmann::ordered_json;
    const Json object{
        {"request", question.request}, {"topic", question.topic}, {"dry_run", true}, {"message", message}};
    return object.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n";
}

} // namespace

TriageExit run_triage_naks(const TriageNaksOptions& options)
{
    return run_guarded(options.collecting.format, [&](int output, StopSignals& stop) {
        const auto request = [&](const std::string& id) {
            return encode_nak_request(id, options.contexts, options.enable);
        };
        const TriageQuestion question =
            make_question(options.enable ? "naks on" : "naks off", options.target, options.collecting, stop);
        if (options.dry_run) {
            write_result(output, dry_run_text(options.collecting.format, question,
                                              describe_request(request(RequestIds{}.next()))));
            return TriageExit::ok;
        }
        confirm(options, question, stop);
        const TriageReport report = ask_rounds(question, options.target, options.collecting, 1, 0, request, stop);
        write_result(output, write_report(options.collecting.format, report));
        return report.code;
    });
}

} // namespace qx::tool
