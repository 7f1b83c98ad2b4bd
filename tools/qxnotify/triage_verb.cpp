#include "qxnotify/triage_verb.h"

#include <map>
#include <string>

#include "qxnotify/triage_commands.h"
#include "qxnotify/verbs.h"

namespace qx::tool {

namespace {

constexpr const char* triage_text = R"(Examples:
  qxnotify triage ping                         who is there, and how fast
  qxnotify triage naks off --contexts price    ask all to switch negative acknowledgements off
  qxnotify triage send request.bin             any bytes as a request

The topic follows LBM_TRIAGE_HANDLER_TOPIC_PREFIX, CHEF_ENVIRONMENT and DATA_CENTER, as with the processes that answer.
The transport is configured as for publish. Nothing but results goes to standard output.)";

constexpr const char* ping_text = R"(Examples:
  qxnotify triage ping --environment prod --data-center ch       one data centre
  qxnotify triage ping --count 20 --interval 0.5 --expect 3      a round ends as soon as three have answered
  qxnotify triage ping --inventory price.txt --format nagios --warning 20 --critical 100

An inventory has a line "NAME PATTERN" for each responder; the pattern is an address, address:pid, or a glob on the
whole source, e.g. price-1 10.0.0.1, price-2 10.0.0.2:4711, spare LBMDDS:10.0.1.*; a # begins a comment. Each responder
satisfies one entry, the most specific one. Without --expect and --inventory every round takes the whole --wait.
SIGINT and SIGTERM end it early: the report then is about what was seen so far.)";

constexpr const char* naks_text = R"(Examples:
  qxnotify triage naks off --contexts price --dry-run     show topic and request, send nothing
  qxnotify triage naks off --contexts price               asks before it sends
  qxnotify triage naks on --contexts all --yes            for scripts

It reports who answered, not who switched: an answer says that the request was handled, never whether a context was
switched. That is in the responder's log. "order" selects contexts without a name, "price" and "qxnotify" those whose
names contain PRICEENVIRONMENT or QXNOTIFY, by design of the responder.)";

constexpr const char* send_text = R"(Examples:
  qxnotify triage send request.bin
  printf nonsense | qxnotify triage send - --wait 1     nobody answers: exit code 2

For tests. Each answer is a line: its source, and its text, or its hexadecimal digits when it is no triage response.
Exit code 0: somebody answered, or --expect did.)";

CLI::App& add_verb(CLI::App& triage, const char* name, const char* what, const char* examples)
{
    CLI::App& verb = *triage.add_subcommand(name, what);
    verb.footer(std::string{examples} + "\n\n" + triage_exit_help());
    return verb;
}

void add_target(CLI::App& verb, TriageTarget& target)
{
    verb.add_option("--prefix", target.prefix, "Before the topic; LBM_TRIAGE_HANDLER_TOPIC_PREFIX unless given")
        ->option_text("TEXT");
    verb.add_option("--environment", target.environment, "CHEF_ENVIRONMENT unless given")->option_text("NAME");
    auto* name = verb.add_option("--data-center", target.data_center, "Ask this data centre only")->option_text("NAME");
    verb.add_flag_callback(
            "--dc", [&target] { target.whole_environment = false; }, "Ask the data centre DATA_CENTER only")
        ->excludes(name);
    verb.add_option("--context", target.context_name,
                    "Context of the XML configuration; PriceEnvironmentContext "
                    "unless given")
        ->option_text("NAME");
}

CLI::Option* add_waiting(CLI::App& verb, TriageCollecting& collecting)
{
    verb.add_option("--wait", collecting.wait_seconds,
                    "Wait so many seconds for a first responder, and then for the answers to each request; 2 unless "
                    "given")
        ->check(CLI::PositiveNumber)
        ->check(finite_check())
        ->option_text("S");
    verb.add_option("--settle", collecting.settle_seconds,
                    "Pause before the first request, 0.5 unless given: a request reaches whoever is connected when it "
                    "is sent, and the transport tells of the first one only")
        ->check(CLI::NonNegativeNumber)
        ->check(finite_check())
        ->option_text("S");
    verb.add_flag_callback(
        "--no-progress", [&collecting] { collecting.progress = false; },
        "No progress line; there is none unless a terminal reads it");
    return verb.add_option("--expect", collecting.expected, "So many responders must answer; then it does not wait on")
        ->check(CLI::PositiveNumber)
        ->option_text("N");
}

void add_collecting(CLI::App& verb, TriageCollecting& collecting, const std::map<std::string, TriageFormat>& formats)
{
    auto* expect = add_waiting(verb, collecting);
    verb.add_option("--inventory", collecting.inventory_path, "File of the responders that must answer")
        ->excludes(expect)
        ->option_text("FILE");
    std::string names;
    for (const auto& [name, format] : formats) {
        names += (names.empty() ? "" : ", ") + name;
    }
    verb.add_option("--format", collecting.format, names + "; text unless given")
        ->transform(CLI::CheckedTransformer(formats))
        ->option_text("FORMAT");
}

/// Thresholds are of the slowest answer; the critical one must not come first.
void add_thresholds(CLI::App& verb, TriageThresholds& thresholds)
{
    verb.add_option("--warning", thresholds.warning_ms, "Exit code 1 when the slowest answer took longer")
        ->check(CLI::NonNegativeNumber)
        ->check(finite_check())
        ->option_text("MS");
    verb.add_option("--critical", thresholds.critical_ms, "Exit code 2 when the slowest answer took longer")
        ->check(CLI::NonNegativeNumber)
        ->check(finite_check())
        ->option_text("MS");
    verb.final_callback([&thresholds] {
        if (thresholds.warning_ms && thresholds.critical_ms && *thresholds.critical_ms < *thresholds.warning_ms) {
            throw CLI::ValidationError("--critical", "must not be less than --warning");
        }
    });
}

void add_ping(CLI::App& triage, TriagePingOptions& options)
{
    static const std::map<std::string, TriageFormat> formats{{"text", TriageFormat::text},
                                                             {"json", TriageFormat::json},
                                                             {"prometheus", TriageFormat::prometheus},
                                                             {"nagios", TriageFormat::nagios}};
    CLI::App& verb = add_verb(triage, "ping", "Ask who is there", ping_text);
    add_target(verb, options.target);
    add_collecting(verb, options.collecting, formats);
    verb.add_option("--count", options.rounds, "So many requests, one after the other; 1 unless given")
        ->check(CLI::PositiveNumber)
        ->option_text("N");
    verb.add_option("--interval", options.interval_seconds, "Seconds from request to request; 1 unless given")
        ->check(CLI::NonNegativeNumber)
        ->check(finite_check())
        ->option_text("S");
    add_thresholds(verb, options.thresholds);
}

void add_naks(CLI::App& triage, TriageNaksOptions& options)
{
    static const std::map<std::string, TriageFormat> formats{{"text", TriageFormat::text},
                                                             {"json", TriageFormat::json}};
    static const std::map<std::string, bool> switches{{"on", true}, {"off", false}};
    static const std::map<std::string, messaging::triage::LBMContext> contexts{
        {"order", messaging::triage::ORDER},
        {"price", messaging::triage::PRICE},
        {"qxnotify", messaging::triage::QXNOTIFY},
        {"all", messaging::triage::ALL}};
    CLI::App& verb = add_verb(triage, "naks", "Ask to switch negative acknowledgements", naks_text);
    verb.add_option("SWITCH", options.enable, "on or off")
        ->required()
        ->transform(CLI::CheckedTransformer(switches))
        ->option_text(" ");
    verb.add_option("--contexts", options.contexts, "Of which contexts: order, price, qxnotify or all")
        ->required()
        ->transform(CLI::CheckedTransformer(contexts))
        ->option_text("NAME");
    add_target(verb, options.target);
    add_collecting(verb, options.collecting, formats);
    verb.add_flag("--yes", options.confirmed, "Do not ask for confirmation");
    verb.add_flag("--dry-run", options.dry_run, "Show what would be sent, send nothing");
}

void add_send(CLI::App& triage, TriageSendOptions& options)
{
    CLI::App& verb = add_verb(triage, "send", "Send a file's bytes as a request", send_text);
    verb.add_option("FILE", options.path, "- is standard input")->required()->option_text(" ");
    add_target(verb, options.target);
    add_waiting(verb, options.collecting);
}

} // namespace

CLI::App& add_triage_verb(CLI::App& app, TriageOptions& options)
{
    CLI::App& triage = *app.add_subcommand("triage", "Ask running processes: who is there, switch NAKs");
    triage.footer(std::string{triage_text} + "\n\n" + triage_exit_help());
    triage.require_subcommand(1);
    add_ping(triage, options.ping);
    add_naks(triage, options.naks);
    add_send(triage, options.send);
    return triage;
}

TriageExit run_triage(const CLI::App& triage, const TriageOptions& options)
{
    if (triage.got_subcommand("ping")) {
        return run_triage_ping(options.ping);
    }
    return triage.got_subcommand("naks") ? run_triage_naks(options.naks) : run_triage_send(options.send);
}

} // namespace qx::tool
