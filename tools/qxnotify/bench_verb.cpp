#include <string>

#include "qxnotify/bench_options.h"
#include "qxnotify/verbs.h"

namespace qx::tool {

namespace {

constexpr const char* examples = R"(Examples:
  qxnotify bench                                 200000 messages as fast as possible, then 5 s each at two rates
  qxnotify bench --count 1000000 --rate 5000     more messages, and one rate only
  qxnotify bench --json > before.jsonl           an object a line, for programs

It starts a process of its own that listens as a price server does, in a domain that nobody else is in, and sends it
instrument records of some 1.5 KB. The throughput run ends when the last record is at the observer; latency is from the
send to the observer. Every record must arrive once, in order and unchanged, else there is no figure and the exit code
is 10.)";

} // namespace

CLI::App& add_bench_verb(CLI::App& app, BenchOptions& options)
{
    constexpr double fastest = 100'000;
    constexpr double longest = 600;
    CLI::App& verb = *app.add_subcommand("bench", "Measure what a notification costs between two processes");
    verb.footer(std::string{examples} + "\n\n" + exit_code_help());
    verb.add_option("--count", options.count, "Messages of the throughput run; 200000 unless given")
        ->check(CLI::Range(std::uint64_t{1}, std::uint64_t{100'000'000}))
        ->option_text("N");
    verb.add_option("--rate", options.rates, "Measure latency at so many messages a second; 1000,10000 unless given")
        ->delimiter(',')
        ->check(CLI::Range(0.01, fastest))
        ->check(finite_check())
        ->option_text("R,...");
    verb.add_option("--seconds", options.seconds, "So long at each rate; 5 unless given")
        ->check(CLI::Range(0.01, longest))
        ->check(finite_check())
        ->option_text("S");
    verb.add_flag("--json", options.json, "One JSON object a line instead of the table");
    verb.add_option("--listen-in", options.listen_in)->group(""); // how the bench starts its listening process
    return verb;
}

} // namespace qx::tool
