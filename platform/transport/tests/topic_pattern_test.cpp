#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/transport/source/topic_name.h"
#include "platform/transport/source/topic_pattern.h"
#include "platform/transport/tests/transport_error_of.h"

namespace qx::transport {
namespace {

const std::string market_pattern = R"(qxnotify.public.pds.native.42\..*)";

TEST(TopicPattern, GivenTopics_WhenMatched_ThenOnlyWholeOnesDo)
{
    struct Case {
        std::string pattern;
        std::string topic;
        bool matches;
    };
    const Case cases[] = {
        {market_pattern, "qxnotify.public.pds.native.42.XETR", true},
        {market_pattern, "qxnotify.public.pds.native.42.", true},
        {market_pattern, "qxnotify.public.pds.native.42", false},
        {market_pattern, "qxnotify.public.pds.native.421.XETR", false},
        {market_pattern, "qxnotify-public-pds-native-42.XETR", true},
        {market_pattern, "aqxnotify.public.pds.native.42.XETR", false},
        {"abc", "abcd", false},
        {"abc", "xabc", false},
        {"a|b", "b", true},
        {"a|b", "ab", false},
        {"a.c", "a\nc", true},
        {"abc$", "abc\n", false},
        {"", "", true},
        {"", "a", false},
        {".*", "", true},
        {"(?i)abc", "ABC", true},
        {"abc", "ABC", false},
        {"(a)(b)(c)", "abc", true},
        {"a.", "a\xff", true},
    };
    for (const auto& [pattern, topic, expected] : cases) {
        EXPECT_EQ(TopicPattern(pattern).matches(topic), expected) << pattern << " on " << topic;
    }
}

TEST(TopicPattern, GivenBadPatterns_WhenCompiled_ThenMessageAndOffsetAreTold)
{
    struct Case {
        std::string pattern;
        std::string text;
    };
    const Case cases[] = {
        {"a(b", "missing closing parenthesis at offset 3"},
        {"*a", "quantifier does not follow a repeatable item at offset 0"},
        {"a\\", "\\ at end of pattern at offset 2"},
        {"a\\Cb", "using \\C is disabled by the application at offset 3"},
    };
    for (const auto& [pattern, text] : cases) {
        const auto refusal = refusal_of([&bad = pattern] { const TopicPattern refused(bad); });
        EXPECT_EQ(refusal.code, LBM_EINVAL);
        EXPECT_EQ(refusal.text, text);
    }
}

TEST(TopicPattern, GivenPatternOfGreatestLength_WhenCompiled_ThenAccepted)
{
    EXPECT_EQ(refusal_of([] { TopicPattern pattern(std::string(pattern_bytes_max, 'a')); }).text, "accepted");
}

TEST(TopicPattern, GivenPatternOneTooLong_WhenCompiled_ThenRefused)
{
    const auto refusal = refusal_of([] { TopicPattern pattern(std::string(pattern_bytes_max + 1, 'a')); });
    EXPECT_EQ(refusal.code, LBM_EINVAL);
}

TEST(TopicPattern, GivenMatchesAndMisses_WhenCounted_ThenNoneIsAbandoned)
{
    const TopicPattern pattern("a+");
    pattern.matches("aa");
    pattern.matches("b");
    EXPECT_EQ(pattern.abandoned(), 0U);
}

TEST(TopicPattern, GivenCostlyPattern_WhenLimitIsHit_ThenNoMatchAndCounted)
{
    const TopicPattern pattern("((a+)+)+[bc]");
    EXPECT_FALSE(pattern.matches(std::string(topic_bytes_max, 'a')));
    EXPECT_EQ(pattern.abandoned(), 1U);
}

TEST(TopicPattern, GivenPatternThatRaisesTheLimit_WhenMatched_ThenOursHolds)
{
    const TopicPattern pattern("(*LIMIT_MATCH=4000000000)((a+)+)+[bc]");
    EXPECT_FALSE(pattern.matches(std::string(topic_bytes_max, 'a')));
    EXPECT_EQ(pattern.abandoned(), 1U);
}

TEST(TopicPattern, GivenSeveralThreads_WhenMatchingAtOnce_ThenEachGetsItsResult)
{
    const TopicPattern pattern(market_pattern);
    const auto match_often = [&] {
        for (int i = 0; i < 1'000; ++i) {
            EXPECT_TRUE(pattern.matches("qxnotify.public.pds.native.42.A"));
            EXPECT_FALSE(pattern.matches("qxnotify.public.pds.native.43.A"));
        }
    };
    std::vector<std::jthread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back(match_often);
    }
}

struct Prefix {
    std::string pattern;
    std::string prefix;
};

template <std::size_t count>
void expect_prefixes(const Prefix (&cases)[count])
{
    for (const auto& [pattern, prefix] : cases) {
        EXPECT_EQ(TopicPattern(pattern).literal_prefix(), prefix) << pattern;
    }
}

TEST(LiteralPrefix, GivenPlainPatterns_WhenAsked_ThenTextBeforeTheFirstMetacharacter)
{
    expect_prefixes({
        {market_pattern, "qxnotify"},
        {"abc", "abc"},
        {"", ""},
        {".*", ""},
        {R"(a\.b\.c.*)", "a.b.c"},
        {"^abc", "abc"},
        {"abc$", "abc"},
        {"ab[cd]", "ab"},
        {"ab(c)", "ab"},
        {R"(ab\d)", "ab"},
        {R"(a\\b)", R"(a\b)"},
        {"a b#c", "a b#c"},
        {"a}b]", "a}b]"},
    });
}

TEST(LiteralPrefix, GivenQuantifiers_WhenAsked_ThenWhatMayBeMissingIsLeftOut)
{
    expect_prefixes({
        {"abc?", "ab"},
        {"abc*", "ab"},
        {"abc{0,2}", "ab"},
        {"abc+", "abc"},
        {R"(ab\.?)", "ab"},
        {"a*b", ""},
        {"abc*+d", "ab"},
        {R"(a\.{2})", "a"},
    });
}

TEST(LiteralPrefix, GivenAlternatives_WhenAsked_ThenOnlyGroupedOnesLeaveAPrefix)
{
    expect_prefixes({
        {"abc|abd", ""},
        {"abc|", ""},
        {"ab(c|d)", "ab"},
        {"ab(?:c|d)e", "ab"},
        {R"(a\|b)", "a|b"},
        {"ab[|]", "ab"},
        {"ab[(]|c", ""},
        {"ab[)]c(d|e)", "ab"},
        {"ab[]|(]c(d|e)", "ab"},
        {"ab[^]|]c", "ab"},
        {"ab[[:alpha:]]|c", ""},
        {R"(ab[\]|])", "ab"},
        {R"(ab\(c|d\))", ""},
    });
}

TEST(LiteralPrefix, GivenTextThatReadsDifferently_WhenAsked_ThenNothingIsClaimed)
{
    expect_prefixes({
        {"(?i)abc", ""},
        {"abc(?i)d", ""},
        {"(?x)a b", ""},
        {R"(a\Qb|c\E)", ""},
        {R"(ab\E*)", ""},
        {"ab(?#(c|d)*", ""},
        {R"(ab\c(x|y\c))", ""},
        {"(*UTF)abc", ""},
        {"abc(?=d).", "abc"},
    });
}

} // namespace
} // namespace qx::transport
