#include "qxnotify/verbs.h"

#include <cmath>
#include <csignal>
#include <exception>
#include <iostream>
#include <system_error>

#include <lbm/lbm_cpp.h>

#include "qxnotify/bench_command.h"
#include "qxnotify/listen_command.h"
#include "qxnotify/notification_names.h"
#include "qxnotify/output.h"
#include "qxnotify/publish_command.h"
#include "qxnotify/transport.h"
#include "qxnotify/triage_verb.h"
#include "qxnotify/version.h"

namespace qx::tool {

namespace {

constexpr const char* examples = R"(Start with
  qxnotify listen 42                          in one terminal
  qxnotify publish --generate 20              in another one
and see `qxnotify listen --help`, `qxnotify publish --help`, `qxnotify triage --help`.
`qxnotify bench` measures what a notification costs here.

The transport is configured by LBM_XML_CONFIG_FILENAME and LBM_XML_CONFIG_APPNAME; without them it uses loopback.)";

ExitCode report(ExitCode code, const char* what, const std::string& advice)
{
    std::cerr << "qxnotify: " << what << advice << '\n';
    return code;
}

/// Nothing that goes wrong leaves the program without a line that says what, where, and what to do.
template <class Verb, class Options>
ExitCode guarded(Verb verb, const Options& options)
{
    constexpr const char* transport_advice =
        "\n  check LBM_XML_CONFIG_FILENAME and LBM_XML_CONFIG_APPNAME, and the options they lead to";
    try {
        return verb(options);
    } catch (const lbm::LbmError& e) {
        return report(ExitCode::transport, e.what(), transport_advice);
    } catch (const TransportError& e) {
        return report(ExitCode::transport, e.what(), transport_advice);
    } catch (const std::system_error& e) {
        return report(ExitCode::input_output, e.what(), "");
    } catch (const std::exception& e) {
        return report(ExitCode::failed, e.what(), "");
    }
}

} // namespace

CLI::Validator market_check()
{
    return CLI::Validator(
        [](const std::string& text) {
            return parse_market(text) ? std::string{} : text + " is no market; it must be 0 to 18446744073709551615";
        },
        "");
}

CLI::Validator finite_check()
{
    return CLI::Validator(
        [](const std::string& text) {
            double value = 0;
            return CLI::detail::lexical_cast(text, value) && std::isfinite(value) ? std::string{}
                                                                                  : text + " is no finite number";
        },
        "");
}

int run_qxnotify(int argc, const char* const* argv)
{
    fill_standard_descriptors();
    // Who closes our output has seen enough; a write that fails says so.
    std::signal(SIGPIPE, SIG_IGN);

    CLI::App app("Listens to and publishes product notifications, measures them, and asks who listens", "qxnotify");
    app.set_version_flag("--version", "qxnotify " + std::string{version});
    app.require_subcommand(1);
    app.footer(std::string{examples} + "\n\n" + exit_code_help());
    BenchOptions bench_options;
    ListenOptions listen_options;
    PublishOptions publish_options;
    TriageOptions triage_options;
    const CLI::App& bench = add_bench_verb(app, bench_options);
    const CLI::App& listen = add_listen_verb(app, listen_options);
    add_publish_verb(app, publish_options);
    const CLI::App& triage = add_triage_verb(app, triage_options);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& e) {
        const int usage = triage.parsed() ? to_int(TriageExit::unknown) : to_int(ExitCode::usage);
        return app.exit(e) == 0 ? to_int(ExitCode::done) : usage;
    }
    if (triage.parsed()) {
        return to_int(run_triage(triage, triage_options));
    }
    if (bench.parsed()) {
        return to_int(guarded(run_bench, bench_options));
    }
    return to_int(listen.parsed() ? guarded(run_listen, listen_options) : guarded(run_publish, publish_options));
}

} // namespace qx::tool
