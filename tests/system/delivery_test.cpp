// What a listener process makes of what a publisher process sends.

#include <csignal>
#include <set>

#include <gmock/gmock.h>

#include "qxnotify_fixture.h"

namespace qx::system_test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

std::vector<int> ids_of(const std::vector<json>& records)
{
    std::vector<int> ids;
    ids.reserve(records.size());
    for (const json& record : records) {
        ids.push_back(std::stoi(record.at("id").get<std::string>()));
    }
    return ids;
}

TEST_F(QxNotify, GivenProductAndInstrument_WhenPublished_ThenBothArriveTypedWithTopicAndNumber)
{
    const auto listener = listen({"42", "--format", "json", "--count", "2"});
    publish_lines({product_line(42, 1, "Create"), instrument_line(42, 2)});
    ASSERT_EQ(listener->wait(), exited(0)) << listener->error();
    const auto records = records_of(*listener);
    ASSERT_THAT(records, SizeIs(2));
    EXPECT_EQ(records[0].at("topic"), "qxnotify.public.pds.native.42.product");
    EXPECT_EQ(records[0].at("et"), "Create");
    EXPECT_EQ(records[0].at("dt"), "ProductDownloadRecord");
    EXPECT_EQ(records[0].at("data"), (json{{"productId", 1}, {"symbol", "GBL"}}));
    EXPECT_EQ(records[1].at("topic"), "qxnotify.public.pds.native.42.instrument");
    EXPECT_EQ(records[1].at("sequence_number"), 0);
    EXPECT_EQ(records[1].at("data"), (json{{"instrumentId", 2}, {"symbol", "GBLMar27"}, {"tickSize", 0.01}}));
}

TEST_F(QxNotify, GivenKindsThatAreNotDelivered_WhenPublished_ThenTheLogSaysSoAndTheListenerGoesOn)
{
    const auto listener = listen({"42", "--format", "json", "--count", "1"});
    publish_lines({R"({"market":42,"et":"Delete","dt":"ProductDeleteRecord","id":11})",
                   R"({"market":42,"et":"Delete","dt":"InstrumentDeleteRecord","id":12})",
                   R"({"market":42,"et":"Update","dt":"TickTableUploadRecord","id":13})",
                   R"({"market":42,"et":"Update","dt":"ProductDownloadRecord","id":14,"data":"{oops"})",
                   R"({"market":42,"et":"Update","dt":"InstrumentDownloadRecord","id":15,"data":{}})",
                   product_line(42, 1)});
    ASSERT_EQ(listener->wait(), exited(0)) << listener->error();
    EXPECT_THAT(ids_of(records_of(*listener)), ElementsAre(1));
    EXPECT_THAT(listener->error(), HasSubstr("Product Delete will be ignored for product_id=11"));
    EXPECT_THAT(listener->error(), HasSubstr("Instrument Delete will be ignored for instrument_id=12"));
    EXPECT_THAT(listener->error(), HasSubstr("Unsupported data_type=TickTableUploadRecord security_id=13"));
    EXPECT_THAT(listener->error(), HasSubstr("Bad JSON format data_type=ProductDownloadRecord product_id=14"));
    EXPECT_THAT(listener->error(), HasSubstr("data_type=InstrumentDownloadRecord instrument_id=15"));
}

TEST_F(QxNotify, GivenTwoMarkets_WhenOneListenerHasBoth_ThenItReceivesThoseTwoOnlyInOrder)
{
    const auto listener = listen({"42", "7", "--format", "json", "--count", "3"});
    publish_lines({product_line(42, 1), product_line(4, 2), product_line(7, 3), instrument_line(42, 4)});
    ASSERT_EQ(listener->wait(), exited(0)) << listener->error();
    EXPECT_THAT(ids_of(records_of(*listener)), ElementsAre(1, 3, 4));
}

TEST_F(QxNotify, GivenTwoListeners_WhenPublished_ThenBothReceive)
{
    const auto one = listen({"42", "--format", "json"}, {{"QX_LOG_LEVEL", "QXLOG_WARNING"}});
    const auto two = listen({"42", "--format", "json"}, {{"QX_LOG_LEVEL", "QXLOG_WARNING"}});
    // A publisher waits for the first listener only, so it goes on until the other has come as well.
    const auto publisher = start_publish({"--generate", "1000000", "--rate", "50", "--size", "small"});
    EXPECT_TRUE(one->until_output_lines(1));
    EXPECT_TRUE(two->until_output_lines(1));
    publisher->send_signal(SIGINT);
    EXPECT_EQ(publisher->wait(), exited(9)) << publisher->error();
    EXPECT_EQ(json::parse(publisher->output()).at("ended_by"), "SIGINT");
}

TEST_F(QxNotify, GivenFilters_WhenPublished_ThenOnlyWhatFitsIsPrintedAndTheRestCounted)
{
    const auto listener = listen({"42", "--format", "json", "--count", "1", "--event-type", "Create,Delete",
                                  "--data-type", "InstrumentDownloadRecord"});
    publish_lines({product_line(42, 1, "Create"), instrument_line(42, 2, "Update"), instrument_line(42, 3, "Delete")});
    ASSERT_EQ(listener->wait(), exited(0)) << listener->error();
    EXPECT_THAT(ids_of(records_of(*listener)), ElementsAre(3));
    const json summary = summary_of(*listener);
    EXPECT_EQ(summary.at("received"), 3);
    EXPECT_EQ(summary.at("filtered"), 2);
    EXPECT_EQ(summary.at("ended_by"), "count");
}

TEST_F(QxNotify, GivenManyMadeUpRecords_WhenPublished_ThenEveryRecordArrivesOnce)
{
    const auto listener = listen({"42", "7", "--format", "json"}, {{"QX_LOG_LEVEL", "QXLOG_WARNING"}});
    const json totals = publish({"--generate", "1000", "--seed", "11", "--market", "42,7"});
    const std::size_t records = totals.at("sent_by_kind").at("product").get<std::size_t>() +
                                totals.at("sent_by_kind").at("instrument").get<std::size_t>();
    EXPECT_EQ(totals.at("sent"), 1'000);
    ASSERT_TRUE(listener->until_output_lines(records));
    listener->send_signal(SIGTERM);
    ASSERT_EQ(listener->wait(), exited(0)) << listener->error();
    EXPECT_EQ(summary_of(*listener).at("received"), records);
    std::set<std::string> places;
    for (const json& record : records_of(*listener)) {
        places.insert(record.at("topic").get<std::string>() + "#" + record.at("sequence_number").dump());
    }
    EXPECT_EQ(places.size(), records);
}

TEST_F(QxNotify, GivenListenerThatComesLate_WhenThePublisherWaits_ThenNothingIsMissed)
{
    const auto publisher =
        start_publish({write_file("lines.jsonl", product_line(42, 1) + "\n" + instrument_line(42, 2))});
    const auto listener = listen({"42", "--format", "json", "--count", "2"});
    EXPECT_EQ(publisher->wait(), exited(0)) << publisher->error();
    ASSERT_EQ(listener->wait(), exited(0)) << listener->error();
    EXPECT_THAT(ids_of(records_of(*listener)), ElementsAre(1, 2));
}

TEST_F(QxNotify, GivenOutputOfAListener_WhenPublishedAgain_ThenTheRecordsAreTheSame)
{
    const auto first = listen({"42", "--format", "json", "--count", "20"}, {{"QX_LOG_LEVEL", "QXLOG_WARNING"}});
    publish({"--generate", "60", "--seed", "5", "--size", "large"});
    ASSERT_EQ(first->wait(), exited(0)) << first->error();
    const auto second = listen({"42", "--format", "json", "--count", "20"}, {{"QX_LOG_LEVEL", "QXLOG_WARNING"}});
    publish({write_file("again.jsonl", first->output())});
    ASSERT_EQ(second->wait(), exited(0)) << second->error();
    const auto before = records_of(*first);
    const auto after = records_of(*second);
    ASSERT_EQ(after.size(), before.size());
    for (std::size_t i = 0; i < before.size(); ++i) {
        EXPECT_EQ(after[i].at("data"), before[i].at("data"));
        EXPECT_EQ(after[i].at("id"), before[i].at("id"));
    }
}

TEST_F(QxNotify, GivenStandardInput_WhenPublished_ThenItIsRead)
{
    const auto listener = listen({"42", "--format", "json", "--count", "1"});
    Process publisher({QXNOTIFY_PROGRAM, "publish", "--wait-for-listener", "30"}, environment(),
                      write_file("in.jsonl", product_line(42, 1)));
    EXPECT_EQ(publisher.wait(), exited(0)) << publisher.error();
    ASSERT_EQ(listener->wait(), exited(0)) << listener->error();
    EXPECT_THAT(ids_of(records_of(*listener)), ElementsAre(1));
    EXPECT_THAT(publisher.output(), IsEmpty());
}

} // namespace
} // namespace qx::system_test
