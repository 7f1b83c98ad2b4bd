#include <initializer_list>
#include <limits>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "qxnotify/bench_options.h"
#include "qxnotify/listen_options.h"
#include "qxnotify/publish_options.h"
#include "qxnotify/verbs.h"

namespace qx::tool {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

/// The options as a command line leaves them; `error` holds what is wrong with it.
struct CommandLine {
    CommandLine(std::initializer_list<const char*> words)
    {
        add_bench_verb(app, bench);
        add_listen_verb(app, listen);
        add_publish_verb(app, publish);
        std::vector<std::string> reversed(words.begin(), words.end());
        std::reverse(reversed.begin(), reversed.end()); // as this parser wants a vector
        try {
            app.parse(reversed);
        } catch (const CLI::ParseError& e) {
            error = e.what();
        }
    }

    CLI::App app{"", "qxnotify"};
    BenchOptions bench;
    ListenOptions listen;
    PublishOptions publish;
    std::string error;
};

int run(std::initializer_list<const char*> words)
{
    std::vector<const char*> argv{"qxnotify"};
    argv.insert(argv.end(), words.begin(), words.end());
    return run_qxnotify(static_cast<int>(argv.size()), argv.data());
}

TEST(ListenCommandLine, GivenMarkets_WhenParsed_ThenDefaultsForTheRest)
{
    const CommandLine line{"listen", "42", "18446744073709551615"};
    EXPECT_EQ(line.error, "");
    EXPECT_THAT(line.listen.markets, ElementsAre(42U, std::numeric_limits<std::uint64_t>::max()));
    EXPECT_EQ(line.listen.format, RecordFormat::line);
    EXPECT_EQ(line.listen.colour, ColourChoice::automatic);
    EXPECT_FALSE(line.listen.count.has_value());
    EXPECT_FALSE(line.listen.timeout_seconds.has_value());
}

TEST(ListenCommandLine, GivenEveryOption_WhenParsed_ThenItIsTaken)
{
    const CommandLine line{
        "listen", "42",      "--format", "json",         "--count",       "3",           "--timeout",
        "1.5",    "--color", "never",    "--event-type", "Create,Update", "--data-type", "ProductDownloadRecord"};
    EXPECT_EQ(line.error, "");
    EXPECT_EQ(line.listen.format, RecordFormat::json);
    EXPECT_EQ(line.listen.count, 3U);
    EXPECT_EQ(line.listen.timeout_seconds, 1.5);
    EXPECT_EQ(line.listen.colour, ColourChoice::never);
    EXPECT_THAT(line.listen.filter.event_types, ElementsAre("Create", "Update"));
    EXPECT_THAT(line.listen.filter.data_types, ElementsAre("ProductDownloadRecord"));
}

TEST(ListenCommandLine, GivenNoMarket_WhenParsed_ThenTheFaultNamesIt)
{
    EXPECT_THAT(CommandLine({"listen"}).error, HasSubstr("MARKET"));
}

TEST(ListenCommandLine, GivenMarketThatIsNone_WhenParsed_ThenRefused)
{
    for (const char* market : {"x", "18446744073709551616", "4.2", "0x2a", ""}) {
        EXPECT_NE(CommandLine({"listen", market}).error, "") << market;
        EXPECT_NE(CommandLine({"publish", "--market", market}).error, "") << market;
    }
}

TEST(ListenCommandLine, GivenBadValues_WhenParsed_ThenRefused)
{
    EXPECT_NE(CommandLine({"listen", "42", "--count", "0"}).error, "");
    EXPECT_NE(CommandLine({"listen", "42", "--timeout", "-1"}).error, "");
    EXPECT_NE(CommandLine({"listen", "42", "--format", "xml"}).error, "");
    EXPECT_NE(CommandLine({"listen", "42", "--event-type", "create"}).error, "");
}

TEST(CommandLine, GivenNumbersWithoutEnd_WhenParsed_ThenRefused)
{
    for (const char* value : {"nan", "inf", "1e400"}) {
        EXPECT_NE(CommandLine({"listen", "42", "--timeout", value}).error, "") << value;
        EXPECT_NE(CommandLine({"publish", "--rate", value}).error, "") << value;
        EXPECT_NE(CommandLine({"publish", "--wait-for-listener", value}).error, "") << value;
    }
}

TEST(PublishCommandLine, GivenNothing_WhenParsed_ThenStandardInputAndDefaults)
{
    const CommandLine line{"publish"};
    EXPECT_EQ(line.error, "");
    EXPECT_THAT(line.publish.files, IsEmpty());
    EXPECT_EQ(line.publish.generator.count, 0U);
    EXPECT_EQ(line.publish.listener_wait_seconds, 5.0);
    EXPECT_FALSE(line.publish.rate_per_second.has_value());
    EXPECT_FALSE(line.publish.strict || line.publish.allow_fatal || line.publish.dry_run);
    EXPECT_TRUE(line.publish.progress);
}

TEST(PublishCommandLine, GivenEveryOption_WhenParsed_ThenItIsTaken)
{
    const CommandLine line{"publish",
                           "--generate",
                           "10",
                           "--seed",
                           "7",
                           "--size",
                           "large",
                           "--market",
                           "42,7",
                           "--rate",
                           "99",
                           "--wait-for-listener",
                           "0",
                           "--strict",
                           "--summary",
                           "json",
                           "--allow-fatal",
                           "--dry-run",
                           "--no-progress"};
    EXPECT_EQ(line.error, "");
    EXPECT_EQ(line.publish.generator.count, 10U);
    EXPECT_EQ(line.publish.generator.seed, 7U);
    EXPECT_EQ(line.publish.generator.size, sample::RecordSize::large);
    EXPECT_THAT(line.publish.markets, ElementsAre(42U, 7U));
    EXPECT_EQ(line.publish.rate_per_second, 99.0);
    EXPECT_EQ(line.publish.listener_wait_seconds, 0.0);
    EXPECT_TRUE(line.publish.strict && line.publish.allow_fatal && line.publish.dry_run);
    EXPECT_EQ(line.publish.summary, SummaryFormat::json);
    EXPECT_FALSE(line.publish.progress);
}

TEST(PublishCommandLine, GivenFilesAndGenerator_WhenParsed_ThenRefused)
{
    EXPECT_THAT(CommandLine({"publish", "a.jsonl", "--generate", "1"}).error, HasSubstr("excludes"));
}

TEST(PublishCommandLine, GivenSeedWithoutGenerator_WhenParsed_ThenRefused)
{
    EXPECT_THAT(CommandLine({"publish", "--seed", "1"}).error, HasSubstr("requires --generate"));
}

TEST(BenchCommandLine, GivenNothing_WhenParsed_ThenDefaults)
{
    const CommandLine line{"bench"};
    EXPECT_EQ(line.error, "");
    EXPECT_EQ(line.bench.count, 200'000U);
    EXPECT_THAT(line.bench.rates, ElementsAre(1'000, 10'000));
    EXPECT_EQ(line.bench.seconds, 5);
    EXPECT_FALSE(line.bench.json);
    EXPECT_EQ(line.bench.listen_in, "");
}

TEST(BenchCommandLine, GivenEveryOption_WhenParsed_ThenItIsTaken)
{
    const CommandLine line{"bench", "--count", "7", "--rate", "0.5,20", "--seconds", "1.5", "--json"};
    EXPECT_EQ(line.error, "");
    EXPECT_EQ(line.bench.count, 7U);
    EXPECT_THAT(line.bench.rates, ElementsAre(0.5, 20));
    EXPECT_EQ(line.bench.seconds, 1.5);
    EXPECT_TRUE(line.bench.json);
}

TEST(BenchCommandLine, GivenBadValues_WhenParsed_ThenRefused)
{
    for (const char* value : {"0", "-1", "nan", "inf", "x", "", "1000000000"}) {
        for (const char* option : {"--count", "--rate", "--seconds"}) {
            EXPECT_NE(CommandLine({"bench", option, value}).error, "") << option << " " << value;
        }
    }
}

TEST(Program, GivenHelpOrVersion_WhenRun_ThenDone)
{
    EXPECT_EQ(run({"--help"}), to_int(ExitCode::done));
    EXPECT_EQ(run({"--version"}), to_int(ExitCode::done));
    EXPECT_EQ(run({"listen", "--help"}), to_int(ExitCode::done));
    EXPECT_EQ(run({"publish", "--help"}), to_int(ExitCode::done));
    EXPECT_EQ(run({"bench", "--help"}), to_int(ExitCode::done));
}

TEST(Program, GivenWrongCommandLine_WhenRun_ThenUsage)
{
    EXPECT_EQ(run({}), to_int(ExitCode::usage));
    EXPECT_EQ(run({"dance"}), to_int(ExitCode::usage));
    EXPECT_EQ(run({"listen"}), to_int(ExitCode::usage));
}

} // namespace
} // namespace qx::tool
