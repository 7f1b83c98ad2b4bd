#include <libjson.h>

#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::vector<std::string> names(const JSONNode& node)
{
    std::vector<std::string> result;
    for (const JSONNode& child : node) {
        result.push_back(child.name());
    }
    return result;
}

TEST(Node, GivenAnyNode_WhenViewed_ThenTheTextsAreThoseThatAreCopied)
{
    const JSONNode document = libjson::parse(R"({"k\u0000":"a\nb","n":1.50,"t":true,"o":{}})");
    for (const JSONNode& node : document) {
        EXPECT_EQ(node.name_view(), node.name());
        EXPECT_EQ(node.text_view(), node.as_string());
    }
    EXPECT_EQ(document.at(0U).name_view().size(), 2U);
}

TEST(Node, GivenMembers_WhenVisited_ThenTheyComeInDocumentOrderAndDuplicatesAreKept)
{
    EXPECT_THAT(names(libjson::parse(R"({"b":1,"a":2,"b":3,"":4})")), ElementsAre("b", "a", "b", ""));
}

TEST(Node, GivenArrayElements_WhenNamed_ThenTheNameIsEmpty)
{
    EXPECT_THAT(names(libjson::parse(R"({"k":["x",{"y":1},[2]]})").at("k")), ElementsAre("", "", ""));
}

TEST(Node, GivenTheRoot_WhenNamed_ThenTheNameIsEmpty)
{
    EXPECT_EQ(libjson::parse(R"({"a":1})").name(), "");
}

TEST(Node, GivenNamedContainers_WhenNamed_ThenTheNameIsTheirKeyAndNotTheLastKeyInside)
{
    EXPECT_THAT(names(libjson::parse(R"({"outer":{"inner":1},"list":[{"x":1}]})")), ElementsAre("outer", "list"));
}

TEST(Node, GivenEmptyContainersAndScalars_WhenAskedForChildren_ThenThereAreNone)
{
    for (const char* text : {"[]", "{}", "1", R"("ab")", "true", "null"}) {
        const JSONNode node = libjson::parse(text);
        EXPECT_TRUE(node.empty()) << text;
        EXPECT_EQ(node.size(), 0U) << text;
        EXPECT_EQ(node.begin(), node.end()) << text;
    }
}

TEST(Node, GivenChildren_WhenReadByIndex_ThenTheOrderIsTheDocuments)
{
    const JSONNode node = libjson::parse("[10,20,30]");
    ASSERT_EQ(node.size(), 3U);
    EXPECT_EQ(node.at(0).as_int(), 10);
    EXPECT_EQ(node[2].as_int(), 30);
}

TEST(Node, GivenIndexAtTheSize_WhenRead_ThenOutOfRangeIsThrown)
{
    const JSONNode node = libjson::parse("[1]");
    EXPECT_THROW(node.at(1), std::out_of_range);
    EXPECT_THROW(JSONNode{}.at(0), std::out_of_range);
}

TEST(Node, GivenDuplicateNames_WhenReadByName_ThenTheFirstIsTaken)
{
    const JSONNode node = libjson::parse(R"({"a":1,"a":2})");
    EXPECT_EQ(node.at("a").as_int(), 1);
    EXPECT_EQ(node["a"].as_int(), 1);
    EXPECT_EQ(node.find("a")->as_int(), 1);
}

TEST(Node, GivenUnknownName_WhenLookedUp_ThenFindGivesEndAndAtThrows)
{
    const JSONNode node = libjson::parse(R"({"a":1})");
    EXPECT_EQ(node.find("A"), node.end());
    EXPECT_THROW(node.at("A"), std::out_of_range);
    EXPECT_THROW(node["A"], std::out_of_range);
}

TEST(Node, GivenScalars_WhenReadAsString_ThenTheTextIsAsStored)
{
    EXPECT_EQ(libjson::parse(R"("a\tb")").as_string(), "a\tb");
    EXPECT_EQ(libjson::parse("1.50").as_string(), "1.50");
    EXPECT_EQ(libjson::parse("-0").as_string(), "-0");
    EXPECT_EQ(libjson::parse("1e3").as_string(), "1e3");
    EXPECT_EQ(libjson::parse("true").as_string(), "true");
    EXPECT_EQ(libjson::parse("false").as_string(), "false");
    EXPECT_EQ(libjson::parse("null").as_string(), "null");
}

TEST(Node, GivenContainers_WhenReadAsString_ThenTheTextIsEmpty)
{
    EXPECT_EQ(libjson::parse(R"({"a":"b"})").as_string(), "");
    EXPECT_EQ(libjson::parse("[1]").as_string(), "");
}

TEST(Node, GivenNumbersSideBySide_WhenRead_ThenEachEndsWhereItWasWritten)
{
    const JSONNode node = libjson::parse(R"(["a",12,"b\n",-3.5e2,true])");
    EXPECT_EQ(node.at(1).as_string(), "12");
    EXPECT_EQ(node.at(3).as_string(), "-3.5e2");
}

TEST(Node, GivenACopyOfAChild_WhenTheRootIsGone_ThenItKeepsTheDocumentAlive)
{
    const JSONNode child = [] {
        const JSONNode root = libjson::parse(R"({"list":[{"deep":"value that is not short at all"}]})");
        return root.at("list");
    }();
    EXPECT_EQ(child.name(), "list");
    EXPECT_EQ(child.at(0).at("deep").as_string(), "value that is not short at all");
}

TEST(Node, GivenACopy_WhenTheOriginalIsAssignedAnew_ThenTheCopyIsUntouched)
{
    JSONNode node = libjson::parse("[1]");
    const JSONNode copy = node;
    node = libjson::parse("[2]");
    EXPECT_EQ(copy.write(), "[1]");
    EXPECT_EQ(node.write(), "[2]");
}

TEST(Node, GivenAChild_WhenAssignedToItsOwnRoot_ThenItTakesTheRootsPlace)
{
    JSONNode node = libjson::parse(R"([["inner"]])");
    node = node.at(0);
    EXPECT_EQ(node.write(), R"(["inner"])");
}

TEST(Node, GivenItself_WhenAssigned_ThenNothingChanges)
{
    JSONNode node = libjson::parse("[1]");
    const JSONNode& same = node;
    node = same;
    EXPECT_EQ(node.write(), "[1]");
}

TEST(Node, GivenMovedFromNode_WhenRead_ThenItIsANullWithoutDocument)
{
    JSONNode node = libjson::parse(R"({"a":1})");
    const JSONNode taken = std::move(node);
    EXPECT_EQ(node.type(), JSON_NULL); // NOLINT(bugprone-use-after-move): the state after a move is what is tested
    EXPECT_EQ(node.as_string(), "null");
    EXPECT_THAT(names(node), IsEmpty());
    EXPECT_EQ(taken.write(), R"({"a":1})");
}

TEST(Node, GivenMovedFromNode_WhenAssigned_ThenItIsUsableAgain)
{
    JSONNode node = libjson::parse("[1]");
    JSONNode taken = std::move(node);
    node = std::move(taken); // NOLINT(bugprone-use-after-move): the state after a move is what is tested
    EXPECT_EQ(node.write(), "[1]");
}

TEST(Node, GivenOneDocument_WhenReadAndCopiedByManyThreads_ThenAllSeeTheSame)
{
    const JSONNode node = libjson::parse(R"({"list":[1,2,3],"name":"value"})");
    std::vector<int> good(4, 0);
    std::vector<std::thread> readers;
    for (int& count : good) {
        readers.emplace_back([&node, &count] {
            for (int i = 0; i < 1000; ++i) {
                const JSONNode copy = node.at("list");
                count += copy.at(2).as_int() == 3 && node.at("name").as_string() == "value" ? 1 : 0;
            }
        });
    }
    for (auto& reader : readers) {
        reader.join();
    }
    EXPECT_THAT(good, testing::Each(1000));
}

} // namespace
