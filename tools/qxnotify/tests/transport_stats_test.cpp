#include "qxnotify/transport_stats.h"

#include <algorithm>
#include <initializer_list>
#include <limits>
#include <numeric>
#include <set>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "qxnotify/listen_options.h"
#include "qxnotify/transport.h"
#include "qxnotify/verbs.h"
#include "tests/doubles/lbm_double/lbm_double.h"

namespace qx::tool {
namespace {

using testing::ElementsAre;
using testing::SizeIs;

/// Every counter another number.
lbm_context_stats_t all_different()
{
    lbm_context_stats_t stats{};
    static_assert(sizeof stats % sizeof(std::uint64_t) == 0);
    auto* const first = reinterpret_cast<std::uint64_t*>(&stats); // of nothing but these
    std::iota(first, first + sizeof stats / sizeof *first, 1);
    return stats;
}

std::uint64_t value_of(const Statistics& stats, std::string_view name)
{
    const auto found = std::find_if(stats.begin(), stats.end(), [&](const Statistic& s) { return s.name == name; });
    return found == stats.end() ? std::numeric_limits<std::uint64_t>::max() : found->value;
}

TEST(TransportStats, GivenCounters_WhenAsked_ThenEachOfAllContextsIsThereOnceUnderItsName)
{
    test::LbmDouble transport;
    const lbm_context_stats_t counted = all_different();
    transport.set_context_stats(counted);
    const Statistics stats = transport_stats();
    EXPECT_THAT(stats, SizeIs(sizeof counted / sizeof(std::uint64_t)));
    std::set<std::uint64_t> values;
    for (const Statistic& statistic : stats) {
        values.insert(statistic.value);
    }
    EXPECT_THAT(values, SizeIs(stats.size()));
    EXPECT_EQ(value_of(stats, "messages_received"), counted.messages_received);
    EXPECT_EQ(value_of(stats, "messages_lost"), counted.messages_lost);
    EXPECT_EQ(value_of(stats, "sources"), counted.sources);
    EXPECT_THAT(transport.calls(), ElementsAre("lbm_context_retrieve_stats(null)"));
}

TEST(TransportStats, GivenARefusal_WhenAsked_ThenItIsAnErrorOfTheTransport)
{
    test::LbmDouble transport;
    transport.fail_next("lbm_context_retrieve_stats", LBM_EOP, "no");
    EXPECT_THROW(transport_stats(), TransportError);
}

ListenOptions parsed(std::initializer_list<std::string> words)
{
    CLI::App app{"", "qxnotify"};
    ListenOptions options;
    add_listen_verb(app, options);
    std::vector<std::string> reversed(words.begin(), words.end());
    std::reverse(reversed.begin(), reversed.end()); // as this parser wants a vector
    app.parse(reversed);
    return options;
}

TEST(ListenCommandLine, GivenStatsOptions_WhenParsed_ThenTheyAreTakenAndAnIntervalIsEnough)
{
    EXPECT_FALSE(parsed({"listen", "42"}).wants_stats());
    const ListenOptions at_the_end = parsed({"listen", "--stats", "42"});
    EXPECT_TRUE(at_the_end.wants_stats());
    EXPECT_THAT(at_the_end.markets, ElementsAre(42U));
    const ListenOptions often = parsed({"listen", "42", "--stats-interval", "2.5"});
    EXPECT_TRUE(often.wants_stats());
    EXPECT_EQ(often.stats_interval_seconds, 2.5);
}

TEST(ListenCommandLine, GivenAnIntervalThatIsNone_WhenParsed_ThenRefused)
{
    for (const char* interval : {"0", "-1", "0.05", "nan", "inf", "x"}) {
        EXPECT_THROW(parsed({"listen", "42", "--stats-interval", interval}), CLI::ParseError) << interval;
    }
}

} // namespace
} // namespace qx::tool
