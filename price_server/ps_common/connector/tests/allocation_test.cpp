// What a notification costs in allocations: some for each message, none for each of its members.
#include <string>

#include <gtest/gtest.h>
#include <libjson.h>
#include <miscutils/JSONtopb_non_static.h>

#include "instrument_download_record.pb.h"
#include "price_server/ps_common/connector/source/plain_envelope.h"
#include "tests/doubles/allocation_count.h"

namespace {

template <class Action>
int AllocationsOf(const Action& action)
{
    const int before = qx::test::allocationCount();
    action();
    return qx::test::allocationCount() - before;
}

std::string Repeated(const std::string& piece, int times)
{
    std::string all;
    for (int i = 0; i < times; ++i) {
        all += piece;
    }
    return all;
}

TEST(Allocations, GivenMembersThatNobodyAsksFor_WhenAnEnvelopeIsRead_ThenTheyCostNone)
{
    const auto cost = [](int others) {
        const std::string payload =
            "{" + Repeated(R"("a note to nobody":"longer than a string keeps in place, \"and escaped\"",)", others) +
            R"("et":"Update","dt":"x","id":1,"data":"{\"name\":\"longer than a string keeps in place\"}"})";
        return AllocationsOf([&] { ASSERT_TRUE(ps_ns::PlainEnvelope::Read(payload)); });
    };
    EXPECT_EQ(cost(1'000), cost(0));
}

/// The arena and the list of what is under way double, so that a hundred times the members may cost a few more.
TEST(Allocations, GivenAHundredTimesTheMembers_WhenADocumentIsParsed_ThenTheyDoNotCostOneEach)
{
    constexpr int few = 8;
    const std::string member = R"({"a key longer than a string keeps":"and so is its text, \"escaped\"","b":-1.5e3},)";
    const auto cost = [&](int members) {
        const std::string text = "[" + Repeated(member, members) + "true]";
        return AllocationsOf([&] { ASSERT_EQ(libjson::parse(text).size(), static_cast<std::size_t>(members) + 1); });
    };
    EXPECT_LE(cost(10), few);
    EXPECT_LE(cost(1'000), cost(10) + few);
}

/// What the second of two equal conversions into one message costs, for which it has room.
int CostOfFillingAgain(const std::string& json, bool strict)
{
    const JSONNode record = libjson::parse(json);
    qx::messaging::pds::InstrumentDownloadRecord message;
    const auto fill = [&] { ASSERT_TRUE(qx::JSONProto{}.JSONToProtobuf(message, record, strict, false)); };
    fill();
    message.Clear();
    return AllocationsOf(fill);
}

TEST(Allocations, GivenScalars_WhenAMessageIsFilled_ThenOnlyItsIndexCostsOne)
{
    const std::string few = R"({"instrumentId":18446744073709551615,"symbol":"S"})";
    const std::string many = R"({"instrumentId":18446744073709551615,"symbol":"S","marginRate":0.5,"name":"short",
                                 "exchangeInstrumentId":17,"underlyingInstrumentId":18,"isin":"XS0000000000",
                                 "maxPriceVariation":0.2500000000000000001,"optionKind":"OPTION_KIND_CALL"})";
    for (const bool strict : {true, false}) {
        EXPECT_EQ(CostOfFillingAgain(few, strict), 1);
        EXPECT_EQ(CostOfFillingAgain(many, strict), 1);
    }
}

TEST(Allocations, GivenARepeatedField_WhenItIsFilled_ThenOnlyTheIndexOfEachMessageCostsOne)
{
    const auto cost = [](const std::string& leg, int legs) {
        return CostOfFillingAgain(R"({"legs":[)" + Repeated(leg + ",", legs - 1) + leg + "]}", true);
    };
    EXPECT_EQ(cost(R"({"ratio":1,"price":2.5})", 100), 100);
    EXPECT_EQ(cost(R"({"ratio":1,"price":2.5,"delta":-0.5,"symbol":"S","instrumentId":7})", 100), 100);
}

} // namespace
