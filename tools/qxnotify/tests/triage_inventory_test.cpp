#include "qxnotify/triage_inventory.h"

#include <sstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "qxnotify/triage_exit.h"

namespace qx::tool {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

constexpr const char* price_1 = "LBMDDS:10.0.0.1:4711:00000000000000aa";
constexpr const char* price_1b = "LBMDDS:10.0.0.1:4712:00000000000000ab";
constexpr const char* price_2 = "LBMDDS:10.0.0.2:99:00000000000000ac";

Inventory parse(const std::string& text)
{
    std::istringstream input(text);
    return parse_inventory(input, "price.txt");
}

std::string refusal(const std::string& text)
{
    try {
        parse(text);
    } catch (const TriageSetupError& e) {
        return e.what();
    }
    return "accepted";
}

/// Per entry, the source that satisfies it, or "".
std::vector<std::string> satisfied(const Inventory& inventory, const std::vector<std::string>& sources)
{
    std::vector<std::string> result;
    for (const auto& source : match_inventory(inventory, sources).source_of_entry) {
        result.push_back(source ? sources[*source] : "");
    }
    return result;
}

TEST(Inventory, GivenLinesCommentsAndBlanks_WhenParsed_ThenTheEntries)
{
    const auto inventory = parse("# prices\n\nprice-1 10.0.0.1\n  price-2\t10.0.0.2:99   # the spare one\r\n");
    ASSERT_THAT(inventory, SizeIs(2));
    EXPECT_EQ(inventory[0].name, "price-1");
    EXPECT_EQ(inventory[1].pattern, "10.0.0.2:99");
}

TEST(Inventory, GivenWrongNumberOfWords_WhenParsed_ThenFileLineAndAdvice)
{
    EXPECT_EQ(refusal("a 10.0.0.1\nprice-2\n"), "price.txt:2: \"price-2\" is no entry; write NAME PATTERN, the pattern "
                                                "an address, address:pid or a glob");
    EXPECT_THAT(refusal("a 10.0.0.1 b"), HasSubstr("price.txt:1: "));
}

TEST(Inventory, GivenNameTwice_WhenParsed_ThenBothLinesAreNamed)
{
    EXPECT_EQ(refusal("a 10.0.0.1\n\na 10.0.0.2\n"),
              "price.txt:3: the name a is taken by line 1; give every entry its own");
}

TEST(Inventory, GivenNoEntries_WhenParsed_ThenRefused)
{
    EXPECT_THAT(refusal(""), HasSubstr("price.txt: no entries"));
    EXPECT_THAT(refusal("# nobody\n"), HasSubstr("price.txt: no entries"));
}

TEST(Inventory, GivenFileThatIsNotThere_WhenRead_ThenTheErrorNamesIt)
{
    try {
        StopSignals stop;
        read_inventory("/nowhere/price.txt", stop);
        FAIL() << "nothing was thrown";
    } catch (const TriageSetupError& e) {
        EXPECT_STREQ(e.what(), "/nowhere/price.txt: No such file or directory; check --inventory");
    }
}

TEST(InventoryPattern, GivenAddressProcessSourceOrGlob_WhenMatched_ThenOnlyTheirOwn)
{
    for (const char* pattern : {"10.0.0.1", "10.0.0.1:4711", price_1, "LBMDDS:10.0.0.1:4711:*", "*aa", "*:471?:*[a]"}) {
        EXPECT_TRUE(matches(pattern, price_1)) << pattern;
        EXPECT_FALSE(matches(pattern, price_2)) << pattern;
    }
}

TEST(InventoryPattern, GivenPartOfAnAddress_WhenMatched_ThenItDoesNotFit)
{
    EXPECT_FALSE(matches("10.0.0", price_1));
    EXPECT_FALSE(matches("10.0.0.1:471", price_1));
    EXPECT_FALSE(matches("4711", price_1));
    EXPECT_FALSE(matches("10.0.0.1", "another kind of text"));
}

TEST(InventoryMatch, GivenTwoEntriesOfOneAddress_WhenOneAnswers_ThenOnlyOneIsSatisfied)
{
    const Inventory inventory{{"a", "10.0.0.1"}, {"b", "10.0.0.1"}};
    EXPECT_THAT(satisfied(inventory, {price_1}), ElementsAre(price_1, ""));
    EXPECT_THAT(satisfied(inventory, {price_1, price_1b}), ElementsAre(price_1, price_1b));
}

TEST(InventoryMatch, GivenSeveralFittingEntries_WhenOneAnswers_ThenTheMostSpecificIsSatisfied)
{
    const Inventory inventory{{"any", "*"},
                              {"host", "10.0.0.1"},
                              {"net", "LBMDDS:10.0.*"},
                              {"process", "10.0.0.1:4711"},
                              {"glob", "*:10.0.0.1:*"}};
    EXPECT_THAT(satisfied(inventory, {price_1}), ElementsAre("", "", "", price_1, ""));
    EXPECT_THAT(satisfied({{"any", "*"}, {"host", "10.0.0.1"}}, {price_1}), ElementsAre("", price_1));
}

TEST(InventoryMatch, GivenEntryThatCouldGoEitherWay_WhenMatched_ThenNoneGoesWithoutNeed)
{
    const Inventory inventory{{"wide", "LBMDDS:10.0.0.1:*"}, {"narrow", "10.0.0.1"}};
    EXPECT_THAT(satisfied({{"first", "10.0.0.1"}, {"glob", "*aa"}}, {price_1, price_1b}),
                ElementsAre(price_1b, price_1));
    EXPECT_THAT(satisfied(inventory, {price_1, price_1b}), testing::Each(testing::Not(IsEmpty())));
}

TEST(InventoryMatch, GivenSourceThatNoEntryMatches_WhenMatched_ThenUnexpected)
{
    const auto match = match_inventory({{"a", "10.0.0.1"}}, {price_1, price_2});
    EXPECT_TRUE(match.complete());
    EXPECT_THAT(match.unexpected, ElementsAre(1U));
}

TEST(InventoryMatch, GivenMoreSourcesThanEntriesOfAPattern_WhenMatched_ThenTheRestIsNotUnexpected)
{
    EXPECT_THAT(match_inventory({{"a", "10.0.0.1"}}, {price_1, price_1b}).unexpected, IsEmpty());
}

TEST(InventoryMatch, GivenNobody_WhenMatched_ThenNothingIsSatisfied)
{
    EXPECT_FALSE(match_inventory({{"a", "10.0.0.1"}}, {}).complete());
}

} // namespace
} // namespace qx::tool
