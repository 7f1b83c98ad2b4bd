#include <algorithm>
#include <initializer_list>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "qxnotify/triage_verb.h"
#include "qxnotify/verbs.h"

namespace qx::tool {
namespace {

using testing::HasSubstr;

/// The options as a command line leaves them; `error` holds what is wrong with it.
struct CommandLine {
    CommandLine(std::initializer_list<const char*> words)
    {
        add_triage_verb(app, triage);
        std::vector<std::string> reversed(words.begin(), words.end());
        reversed.insert(reversed.begin(), "triage");
        std::reverse(reversed.begin(), reversed.end()); // as this parser wants a vector
        try {
            app.parse(reversed);
        } catch (const CLI::ParseError& e) {
            error = e.what();
        }
    }

    CLI::App app{"", "qxnotify"};
    TriageOptions triage;
    std::string error;
};

int run(std::initializer_list<const char*> words)
{
    std::vector<const char*> argv{"qxnotify", "triage"};
    argv.insert(argv.end(), words.begin(), words.end());
    return run_qxnotify(static_cast<int>(argv.size()), argv.data());
}

TEST(TriageCommandLine, GivenPing_WhenParsed_ThenDefaults)
{
    const CommandLine line{"ping"};
    EXPECT_EQ(line.error, "");
    const TriagePingOptions& ping = line.triage.ping;
    EXPECT_TRUE(ping.target.whole_environment);
    EXPECT_EQ(ping.target.context_name, "PriceEnvironmentContext");
    EXPECT_EQ(ping.collecting.wait_seconds, 2.0);
    EXPECT_EQ(ping.collecting.settle_seconds, 0.5);
    EXPECT_EQ(ping.rounds, 1U);
    EXPECT_EQ(ping.collecting.format, TriageFormat::text);
}

TEST(TriageCommandLine, GivenEveryOptionOfPing_WhenParsed_ThenItIsTaken)
{
    const CommandLine line{"ping",       "--prefix", "a.", "--environment", "dev", "--data-center", "ch", "--context",
                           "Operations", "--wait",   "3",  "--settle",      "0",   "--expect",      "4",  "--format",
                           "prometheus", "--count",  "5",  "--interval",    "0.1", "--warning",     "10", "--critical",
                           "10"};
    EXPECT_EQ(line.error, "");
    const TriagePingOptions& ping = line.triage.ping;
    EXPECT_EQ(ping.target.prefix, "a.");
    EXPECT_EQ(ping.target.environment, "dev");
    EXPECT_EQ(ping.target.data_center, "ch");
    EXPECT_EQ(ping.target.context_name, "Operations");
    EXPECT_EQ(ping.collecting.wait_seconds, 3.0);
    EXPECT_EQ(ping.collecting.settle_seconds, 0.0);
    EXPECT_EQ(ping.collecting.expected, 4U);
    EXPECT_EQ(ping.collecting.format, TriageFormat::prometheus);
    EXPECT_EQ(ping.rounds, 5U);
    EXPECT_EQ(ping.interval_seconds, 0.1);
    EXPECT_EQ(ping.thresholds.warning_ms, 10.0);
    EXPECT_EQ(ping.thresholds.critical_ms, 10.0);
}

TEST(TriageCommandLine, GivenDataCentreFlag_WhenParsed_ThenTheEnvironmentAsAWholeIsNotAsked)
{
    EXPECT_FALSE(CommandLine({"ping", "--dc"}).triage.ping.target.whole_environment);
}

TEST(TriageCommandLine, GivenBadValues_WhenParsed_ThenRefused)
{
    EXPECT_NE(CommandLine({}).error, "");
    EXPECT_NE(CommandLine({"ping", "--count", "0"}).error, "");
    EXPECT_NE(CommandLine({"ping", "--wait", "0"}).error, "");
    EXPECT_NE(CommandLine({"ping", "--expect", "0"}).error, "");
    EXPECT_NE(CommandLine({"ping", "--format", "xml"}).error, "");
    EXPECT_NE(CommandLine({"ping", "--warning", "-1"}).error, "");
    EXPECT_NE(CommandLine({"naks", "on", "--contexts", "all", "--format", "nagios"}).error, "");
    EXPECT_NE(CommandLine({"send"}).error, "");
}

TEST(TriageCommandLine, GivenNumbersWithoutEnd_WhenParsed_ThenRefused)
{
    for (const char* option : {"--wait", "--settle", "--interval", "--warning", "--critical"}) {
        for (const char* value : {"nan", "-nan", "inf", "1e400"}) {
            EXPECT_NE(CommandLine({"ping", option, value}).error, "") << option << " " << value;
        }
        EXPECT_EQ(CommandLine({"ping", option, "1e300"}).error, "") << option;
    }
}

TEST(TriageCommandLine, GivenOptionsThatContradict_WhenParsed_ThenRefused)
{
    EXPECT_THAT(CommandLine({"ping", "--warning", "10", "--critical", "9"}).error, HasSubstr("--critical"));
    EXPECT_THAT(CommandLine({"ping", "--expect", "1", "--inventory", "x"}).error, HasSubstr("excludes"));
    EXPECT_THAT(CommandLine({"ping", "--dc", "--data-center", "ch"}).error, HasSubstr("excludes"));
}

TEST(TriageCommandLine, GivenNaks_WhenParsed_ThenSwitchAndContextsAreTaken)
{
    const CommandLine line{"naks", "on", "--contexts", "order", "--yes", "--dry-run"};
    EXPECT_EQ(line.error, "");
    EXPECT_TRUE(line.triage.naks.enable);
    EXPECT_EQ(line.triage.naks.contexts, messaging::triage::ORDER);
    EXPECT_TRUE(line.triage.naks.confirmed && line.triage.naks.dry_run);
}

TEST(TriageCommandLine, GivenNaksOff_WhenParsed_ThenNotEnabledAndNotConfirmed)
{
    const CommandLine line{"naks", "off", "--contexts", "qxnotify"};
    EXPECT_EQ(line.error, "");
    EXPECT_FALSE(line.triage.naks.enable || line.triage.naks.confirmed);
    EXPECT_EQ(line.triage.naks.contexts, messaging::triage::QXNOTIFY);
}

TEST(TriageCommandLine, GivenNaksWithoutSwitchOrContexts_WhenParsed_ThenRefused)
{
    EXPECT_THAT(CommandLine({"naks", "--contexts", "all"}).error, HasSubstr("SWITCH"));
    EXPECT_THAT(CommandLine({"naks", "off"}).error, HasSubstr("--contexts"));
    EXPECT_NE(CommandLine({"naks", "maybe", "--contexts", "all"}).error, "");
    EXPECT_NE(CommandLine({"naks", "off", "--contexts", "some"}).error, "");
}

TEST(TriageCommandLine, GivenSend_WhenParsed_ThenTheFileIsTaken)
{
    EXPECT_EQ(CommandLine({"send", "-"}).triage.send.path, "-");
}

TEST(TriageProgram, GivenHelp_WhenRun_ThenOk)
{
    EXPECT_EQ(run({"--help"}), 0);
    for (const char* verb : {"ping", "naks", "send"}) {
        EXPECT_EQ(run({verb, "--help"}), 0) << verb;
    }
}

TEST(TriageProgram, GivenWrongCommandLine_WhenRun_ThenUnknownAndNotCritical)
{
    EXPECT_EQ(run({}), 3);
    EXPECT_EQ(run({"dance"}), 3);
    EXPECT_EQ(run({"ping", "--count", "0"}), 3);
    EXPECT_EQ(run({"ping", "--warning", "2", "--critical", "1"}), 3);
}

} // namespace
} // namespace qx::tool
