#include "qxnotify/notification_names.h"

#include <limits>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "qxnotify/exit_codes.h"
#include "qxnotify/listen_options.h"
#include "qxnotify/publish_sender.h"

namespace qx::tool {
namespace {

using testing::HasSubstr;

TEST(EventTypeName, GivenEveryKindOfNumber_WhenNamed_ThenUnknownOnesAreUnsupported)
{
    EXPECT_EQ(event_type_name(0), "Create");
    EXPECT_EQ(event_type_name(1), "Update");
    EXPECT_EQ(event_type_name(2), "Delete");
    EXPECT_EQ(event_type_name(100), "Unsupported");
    EXPECT_EQ(event_type_name(-1), "Unsupported");
}

TEST(MarketOfTopic, GivenTopicOfAMarket_WhenRead_ThenTheMarket)
{
    EXPECT_EQ(market_of_topic("qxnotify.public.pds.native.42.product"), 42U);
    EXPECT_EQ(market_of_topic("qxnotify.public.pds.native.18446744073709551615."),
              std::numeric_limits<std::uint64_t>::max());
}

TEST(MarketOfTopic, GivenAnyOtherTopic_WhenRead_ThenNone)
{
    for (const char* topic : {"", "qxnotify.public.pds.native.", "qxnotify.public.pds.native.42", "other.42.x",
                              "qxnotify.public.pds.native.42x.y", "qxnotify.public.pds.native.-1.y",
                              "qxnotify.public.pds.native.18446744073709551616.y"}) {
        EXPECT_FALSE(market_of_topic(topic).has_value()) << topic;
    }
}

TEST(TopicOf, GivenFates_WhenNamed_ThenAMarketHasThreeTopics)
{
    EXPECT_EQ(topic_of(42, Fate::product), "qxnotify.public.pds.native.42.product");
    EXPECT_EQ(topic_of(42, Fate::product_delete), "qxnotify.public.pds.native.42.product");
    EXPECT_EQ(topic_of(42, Fate::instrument), "qxnotify.public.pds.native.42.instrument");
    EXPECT_EQ(topic_of(42, Fate::instrument_delete), "qxnotify.public.pds.native.42.instrument");
    EXPECT_EQ(topic_of(42, Fate::unsupported), "qxnotify.public.pds.native.42.other");
    EXPECT_EQ(topic_of(42, Fate::fatal), "qxnotify.public.pds.native.42.other");
}

TEST(TopicOf, GivenItsResult_WhenReadBack_ThenTheMarketIsFound)
{
    EXPECT_EQ(market_of_topic(topic_of(0, Fate::instrument)), 0U);
}

TEST(ListenFilter, GivenNoNames_WhenAsked_ThenEverythingPasses)
{
    EXPECT_TRUE(ListenFilter{}.admits("Create", "ProductDownloadRecord"));
}

TEST(ListenFilter, GivenEventTypes_WhenAsked_ThenOnlyThosePass)
{
    const ListenFilter filter{{"Create"}, {}};
    EXPECT_TRUE(filter.admits("Create", "ProductDownloadRecord"));
    EXPECT_FALSE(filter.admits("Update", "ProductDownloadRecord"));
}

TEST(ListenFilter, GivenBothKindsOfNames_WhenAsked_ThenBothMustFit)
{
    const ListenFilter filter{{"Create"}, {"InstrumentDownloadRecord"}};
    EXPECT_TRUE(filter.admits("Create", "InstrumentDownloadRecord"));
    EXPECT_FALSE(filter.admits("Create", "ProductDownloadRecord"));
    EXPECT_FALSE(filter.admits("Update", "InstrumentDownloadRecord"));
}

TEST(ExitCodes, GivenHelp_WhenWritten_ThenEveryCodeHasItsLine)
{
    const std::string help = exit_code_help();
    for (const char* code : {"  0    ", "  1    ", "  2    ", "  3    ", "  4    ", "  5    ", "  6    ", "  7    ",
                             "  8    ", "  9    ", "  134  "}) {
        EXPECT_THAT(help, HasSubstr(code));
    }
}

TEST(ExitCodes, GivenNumbers_WhenCompared_ThenTheyAreTheOnesScriptsKnow)
{
    EXPECT_EQ(to_int(ExitCode::done), 0);
    EXPECT_EQ(to_int(ExitCode::usage), 2);
    EXPECT_EQ(to_int(ExitCode::transport), 3);
    EXPECT_EQ(to_int(ExitCode::too_few), 4);
    EXPECT_EQ(to_int(ExitCode::refused), 5);
    EXPECT_EQ(to_int(ExitCode::stopped_at_refused), 6);
    EXPECT_EQ(to_int(ExitCode::no_listener), 7);
    EXPECT_EQ(to_int(ExitCode::input_output), 8);
    EXPECT_EQ(to_int(ExitCode::interrupted), 9);
}

} // namespace
} // namespace qx::tool
