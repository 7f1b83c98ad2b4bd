#include <map>
#include <string>

#include "qxnotify/listen_options.h"
#include "qxnotify/transport_stats.h"
#include "qxnotify/verbs.h"

namespace qx::tool {

namespace {

constexpr const char* examples = R"(Examples:
  qxnotify listen 42                               one coloured line a record, until Ctrl-C
  qxnotify listen 42 7 --event-type Create         two markets, new records only
  qxnotify listen 42 --format json | jq .data      whole records, one object a line
  qxnotify listen 42 --count 10 --timeout 30       exit code 4 unless ten records come within 30 s
  qxnotify listen 42 --stats-interval 5            and every 5 s what the transport has received and lost

Records go to standard output; log lines, and the totals at the end, to standard error. With --format json the
totals are the last line of standard output: {"summary":{...}}. Deleted and unsupported records are in the log only
(QX_LOG_LEVEL=QXLOG_DEBUG shows all). A message that a listener must not survive ends the program with exit code 134;
its last line says which message it was.)";

void add_stats_options(CLI::App& verb, ListenOptions& options)
{
    verb.add_flag("--stats", options.stats, "At the end, tell what the transport has counted");
    verb.add_option("--stats-interval", options.stats_interval_seconds, "The same every S seconds, too; 0.1 or more")
        ->check(CLI::Range(0.1, 1e9))
        ->check(finite_check())
        ->option_text("S");
}

} // namespace

CLI::App& add_listen_verb(CLI::App& app, ListenOptions& options)
{
    static const std::map<std::string, RecordFormat> formats{
        {"line", RecordFormat::line}, {"json", RecordFormat::json}, {"text", RecordFormat::text}};
    static const std::map<std::string, ColourChoice> colours{
        {"auto", ColourChoice::automatic}, {"always", ColourChoice::always}, {"never", ColourChoice::never}};

    CLI::App& verb = *app.add_subcommand("listen", "Print the records that arrive for markets");
    verb.footer(std::string{examples} + "\n\n" + exit_code_help());
    verb.add_option("MARKET", options.markets, "Market identifiers, 0 to 18446744073709551615")
        ->required()
        ->check(market_check())
        ->option_text("...");
    verb.add_option("--format", options.format, "line (for people), json (for programs) or text (protobuf text)")
        ->transform(CLI::CheckedTransformer(formats))
        ->option_text("FORMAT");
    verb.add_option("--colour,--color", options.colour, "auto, always or never; auto heeds NO_COLOR")
        ->transform(CLI::CheckedTransformer(colours))
        ->option_text("WHEN");
    verb.add_option("--count", options.count, "End after N printed records")
        ->check(CLI::PositiveNumber)
        ->option_text("N");
    verb.add_option("--timeout", options.timeout_seconds, "End after S seconds")
        ->check(CLI::PositiveNumber)
        ->check(finite_check())
        ->option_text("S");
    verb.add_option("--event-type", options.filter.event_types, "Print only these; Unsupported is any other name")
        ->check(CLI::IsMember({"Create", "Update", "Delete", "Unsupported"}))
        ->delimiter(',')
        ->option_text("NAME,...");
    verb.add_option("--data-type", options.filter.data_types, "Print only these")
        ->check(CLI::IsMember({"ProductDownloadRecord", "InstrumentDownloadRecord"}))
        ->delimiter(',')
        ->option_text("NAME,...");
    if (has_transport_stats()) {
        add_stats_options(verb, options);
    }
    return verb;
}

} // namespace qx::tool
