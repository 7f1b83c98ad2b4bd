#include <map>
#include <string>

#include "qxnotify/publish_options.h"
#include "qxnotify/verbs.h"

namespace qx::tool {

namespace {

constexpr const char* examples = R"(Examples:
  qxnotify publish records.jsonl                            send every line
  qxnotify publish --generate 1000 --seed 7 --market 42     made-up records, the same for the same seed
  qxnotify publish --generate 5 --dry-run > five.jsonl      write the lines instead of sending them
  qxnotify listen 42 --format json | qxnotify publish -     what one transport has, to another
  qxnotify publish --rate 100 --summary json big.jsonl      100 a second, totals for a program

A line is an object: {"market":42,"et":"Update","dt":"InstrumentDownloadRecord","id":17,"data":{...}}, where "data" may
also be the record as text, or {"market":42,"raw":"..."} for any payload at all. A line that is wrong is named with its
place and its fault, counted and left out. A payload that would end every process that listens is only sent with
--allow-fatal.)";

void add_generator(CLI::App& verb, PublishOptions& options)
{
    static const std::map<std::string, sample::RecordSize> sizes{{"small", sample::RecordSize::small},
                                                                 {"typical", sample::RecordSize::typical},
                                                                 {"large", sample::RecordSize::large}};
    auto* generate = verb.add_option("--generate", options.generator.count, "Send N made-up records instead of files")
                         ->check(CLI::PositiveNumber)
                         ->option_text("N");
    verb.add_option("--seed", options.generator.seed, "Of the made-up records; 1 unless given")
        ->needs(generate)
        ->option_text("S");
    verb.add_option("--size", options.generator.size, "Of the made-up records: small, typical (1.5 KB) or large")
        ->transform(CLI::CheckedTransformer(sizes))
        ->needs(generate)
        ->option_text("SIZE");
    verb.get_option("FILE")->excludes(generate);
}

void add_sending(CLI::App& verb, PublishOptions& options)
{
    verb.add_option("--rate", options.rate_per_second, "Send so many a second; as fast as possible unless given")
        ->check(CLI::PositiveNumber)
        ->check(finite_check())
        ->option_text("R");
    verb.add_option("--wait-for-listener", options.listener_wait_seconds,
                    "Wait so many seconds for a listener; 0 sends at once; 5 unless given")
        ->check(CLI::NonNegativeNumber)
        ->check(finite_check())
        ->option_text("S");
    verb.add_flag("--strict", options.strict, "Stop at the first refused line");
    verb.add_flag("--allow-fatal", options.allow_fatal, "Send payloads that end every listening process");
    verb.add_flag("--dry-run", options.dry_run, "Write the lines to standard output, send nothing");
}

} // namespace

CLI::App& add_publish_verb(CLI::App& app, PublishOptions& options)
{
    static const std::map<std::string, SummaryFormat> formats{{"text", SummaryFormat::text},
                                                              {"json", SummaryFormat::json}};
    CLI::App& verb = *app.add_subcommand("publish", "Send notifications, from files or made up");
    verb.footer(std::string{examples} + "\n\n" + exit_code_help());
    verb.add_option("FILE", options.files, "Files of lines; - or none is standard input");
    verb.add_option("--market", options.markets,
                    "Markets of made-up records, 42 unless given; the first one is also for lines that name none")
        ->delimiter(',')
        ->check(market_check())
        ->option_text("MARKET,...");
    add_generator(verb, options);
    add_sending(verb, options);
    verb.add_option("--summary", options.summary, "text on standard error, or json on standard output")
        ->transform(CLI::CheckedTransformer(formats))
        ->option_text("FORMAT");
    verb.add_flag_callback(
        "--no-progress", [&options] { options.progress = false; },
        "No progress bar; there is none unless a terminal reads it");
    return verb;
}

} // namespace qx::tool
