#include "qxnotify/listen_observer.h"

#include <stdexcept>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "instrument_download_record.pb.h"
#include "product_download_record.pb.h"
#include "qxnotify/listen_last_words.h"

namespace qx::tool {
namespace {

using messaging::pds::enums::Create;
using messaging::pds::enums::Update;
using testing::HasSubstr;
using testing::SizeIs;

struct Observed {
    void product(messaging::pds::enums::PdsNotifyEventType event_type = Update)
    {
        messaging::pds::ProductDownloadRecord record;
        observer.OnProductDownloadRecord(event_type, record);
    }
    void instrument(messaging::pds::enums::PdsNotifyEventType event_type = Update)
    {
        messaging::pds::InstrumentDownloadRecord record;
        observer.OnInstrumentDownloadRecord(event_type, record);
    }
    Written write(std::string_view text)
    {
        if (throws) {
            throw std::runtime_error("x");
        }
        written.emplace_back(text);
        return result;
    }

    ListenOptions options;
    Written result = Written::yes;
    bool throws = false;
    std::vector<std::string> written;
    int satisfied_calls = 0;
    PrintingObserver observer{options, false, [this](std::string_view text) { return write(text); },
                              [this] { ++satisfied_calls; }};
};

TEST(PrintingObserver, GivenRecords_WhenTheyCome_ThenTheyAreWrittenAndCountedByType)
{
    Observed o;
    o.product();
    o.instrument();
    o.instrument();
    EXPECT_THAT(o.written, SizeIs(3));
    EXPECT_THAT(o.written.front(), HasSubstr("ProductDownloadRecord"));
    const ListenTotals totals = o.observer.finish();
    EXPECT_EQ(totals.products, 1U);
    EXPECT_EQ(totals.instruments, 2U);
    EXPECT_EQ(totals.printed, 3U);
    EXPECT_EQ(o.observer.satisfied(), Satisfied::no);
}

TEST(PrintingObserver, GivenFilter_WhenRecordsCome_ThenTheOthersAreCountedButNotWritten)
{
    Observed o;
    o.options.filter.event_types = {"Create"};
    o.product(Create);
    o.product(Update);
    o.product(static_cast<messaging::pds::enums::PdsNotifyEventType>(ps_ns::UnsupportedEventType));
    EXPECT_THAT(o.written, SizeIs(1));
    const ListenTotals totals = o.observer.finish();
    EXPECT_EQ(totals.received(), 3U);
    EXPECT_EQ(totals.filtered, 2U);
}

TEST(PrintingObserver, GivenCount_WhenItIsReached_ThenItSaysSoOnceAndTakesNoMore)
{
    Observed o;
    o.options.count = 2;
    for (int i = 0; i < 5; ++i) {
        o.product();
    }
    EXPECT_THAT(o.written, SizeIs(2));
    EXPECT_EQ(o.observer.satisfied(), Satisfied::count);
    EXPECT_EQ(o.satisfied_calls, 1);
    EXPECT_EQ(o.observer.finish().received(), 2U);
}

TEST(PrintingObserver, GivenCountAndFilter_WhenFilteredRecordsCome_ThenTheyDoNotCountTowardsIt)
{
    Observed o;
    o.options.count = 1;
    o.options.filter.data_types = {"InstrumentDownloadRecord"};
    o.product();
    EXPECT_EQ(o.observer.satisfied(), Satisfied::no);
    o.instrument();
    EXPECT_EQ(o.observer.satisfied(), Satisfied::count);
}

TEST(PrintingObserver, GivenOutputThatNobodyReads_WhenARecordComes_ThenItIsSatisfied)
{
    Observed o;
    o.result = Written::closed;
    o.product();
    o.product();
    EXPECT_EQ(o.observer.satisfied(), Satisfied::output_closed);
    EXPECT_EQ(o.observer.finish().printed, 0U);
    EXPECT_EQ(o.satisfied_calls, 1);
}

TEST(PrintingObserver, GivenFailingOutput_WhenARecordComes_ThenItIsSatisfied)
{
    Observed o;
    o.result = Written::failed;
    o.product();
    EXPECT_EQ(o.observer.satisfied(), Satisfied::output_failed);
}

TEST(PrintingObserver, GivenExceptionWhileWriting_WhenARecordComes_ThenItDoesNotReachTheListener)
{
    Observed o;
    o.throws = true;
    EXPECT_NO_THROW(o.product());
    EXPECT_EQ(o.observer.satisfied(), Satisfied::output_failed);
}

TEST(PrintingObserver, GivenFinished_WhenRecordsCome_ThenTheTotalsStay)
{
    Observed o;
    o.product();
    EXPECT_EQ(o.observer.finish().received(), 1U);
    o.product();
    EXPECT_EQ(o.observer.finish().received(), 1U);
    EXPECT_THAT(o.written, SizeIs(1));
}

TEST(PrintingObserver, GivenOtherText_WhenPrinted_ThenItIsWrittenAndNotCounted)
{
    Observed o;
    o.product();
    o.observer.print("text");
    EXPECT_THAT(o.written, SizeIs(2));
    EXPECT_EQ(o.written.back(), "text");
    EXPECT_EQ(o.observer.finish().printed, 1U);
    o.observer.print("after the totals");
    EXPECT_THAT(o.written, SizeIs(3));
}

TEST(PrintingObserver, GivenOutputThatNobodyReads_WhenOtherTextIsPrinted_ThenItIsSatisfiedAndWritesNoMore)
{
    Observed o;
    o.result = Written::closed;
    o.observer.print("text");
    o.observer.print("text");
    EXPECT_EQ(o.observer.satisfied(), Satisfied::output_closed);
    EXPECT_EQ(o.satisfied_calls, 1);
    EXPECT_THAT(o.written, SizeIs(1));
}

TEST(PrintingObserver, GivenCountReached_WhenOtherTextFindsTheOutputClosed_ThenTheCountRemainsTheReason)
{
    Observed o;
    o.options.count = 1;
    o.product();
    o.result = Written::closed;
    o.observer.print("text");
    EXPECT_EQ(o.observer.satisfied(), Satisfied::count);
    EXPECT_EQ(o.satisfied_calls, 1);
}

TEST(LastWords, GivenMessage_WhenSaid_ThenOneLineNamesItAndTheReason)
{
    const std::string payload = "{\"et\":\n\"x\"}";
    lbm_msg_t message{};
    message.data = payload.data();
    message.len = payload.size();
    message.topic_name = "topic";
    message.source = "source";
    message.sequence_number = 4'294'967'295U;
    EXPECT_EQ(last_words(&message, "No such node (dt)"),
              "qxnotify listen: ended by the message topic=topic source=source sequence_number=4294967295 "
              "payload=\"{\"et\":\\n\"x\"}\": No such node (dt)\n");
}

TEST(LastWords, GivenLongPayload_WhenSaid_ThenItIsCutAndItsLengthTold)
{
    const std::string payload(1'000'000, 'x');
    lbm_msg_t message{};
    message.data = payload.data();
    message.len = payload.size();
    message.topic_name = message.source = "";
    const std::string words = last_words(&message, "why");
    EXPECT_THAT(words, HasSubstr("\" (the first 400 of 1000000 bytes): why\n"));
    EXPECT_LT(words.size(), 600U);
}

TEST(LastWords, GivenEmptyPayload_WhenSaid_ThenItIsShownAsEmpty)
{
    lbm_msg_t message{};
    message.topic_name = message.source = "";
    EXPECT_THAT(last_words(&message, "why"), HasSubstr("payload=\"\": why"));
}

TEST(LastWords, GivenNoMessage_WhenSaid_ThenOnlyTheReason)
{
    EXPECT_EQ(last_words(nullptr, "a\nb"), "qxnotify listen: ended: a\\nb\n");
}

} // namespace
} // namespace qx::tool
