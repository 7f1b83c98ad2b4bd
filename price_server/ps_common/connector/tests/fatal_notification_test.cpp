// Notifications that end the process: what leaves the listener, and that nothing on the way catches it.
#include <sstream>

#include <boost/property_tree/json_parser.hpp>

#include "price_server/ps_common/connector/tests/listener_fixture.h"

using namespace qx::logging;
using boost::property_tree::ptree_bad_path;
using boost::property_tree::json_parser::json_parser_error;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::StartsWith;

namespace ps_ns::test {
namespace {

/// What the reader says of a payload that is not JSON.
json_parser_error ReaderErrorOf(const std::string& payload)
{
    std::istringstream stream(payload);
    boost::property_tree::ptree tree;
    try {
        boost::property_tree::read_json(stream, tree);
    } catch (const json_parser_error& error) {
        return error;
    }
    return {"is JSON", "", 0};
}

class FatalNotification : public ListenerTest {
protected:
    /// Which member was missed.
    std::string MissedPath(const std::string& payload)
    {
        try {
            HandleData(payload);
        } catch (const ptree_bad_path& error) {
            return error.path<boost::property_tree::ptree::path_type>().dump();
        }
        return "nothing missed";
    }

    /// The observer's int leaves the transport's callback unlogged, and no reference is left behind.
    void ExpectIntThroughTransport(const std::string& dataType)
    {
        listener.SubscribeForMarket(7);
        lbm_msg_t* msg = transport.make_message({.payload = Envelope("Update", dataType, "1", R"({"symbol":"X"})")});
        EXPECT_THROW(transport.deliver(PatternOf("7"), msg), int);
        EXPECT_EQ(transport.refcount(msg), 0);
        EXPECT_THAT(log.texts(QXLOG_WARNING), IsEmpty());
    }
};

} // namespace

TEST_F(FatalNotification, GivenPayloadThatIsNotJson_WhenHandled_ThenWarnedAndTheLookUpOfEtThrows)
{
    EXPECT_EQ(MissedPath("not JSON"), "et");
    EXPECT_THAT(log.texts(), ElementsAre("QXNOTIFY | Outer JSON Data=not JSON",
                                         StartsWith("QXNOTIFY | Bad JSON format outer data. reason=")));
}

TEST_F(FatalNotification, GivenPayloadThatIsNotJson_WhenHandled_ThenTheReasonIsTheBareMessage)
{
    const auto error = ReaderErrorOf("x");
    EXPECT_NE(error.message(), error.what());
    EXPECT_THROW(HandleData("x"), ptree_bad_path);
    EXPECT_THAT(log.statements().back(),
                Line(QXLOG_WARNING, "QXNOTIFY | Bad JSON format outer data. reason=" + error.message()));
}

TEST_F(FatalNotification, GivenPayloadWithNul_WhenHandled_ThenLoggedWholeAndNotJson)
{
    const std::string payload("{\0}", 3);
    EXPECT_EQ(MissedPath(payload), "et");
    EXPECT_EQ(log.texts().front(), "QXNOTIFY | Outer JSON Data=" + payload);
}

TEST_F(FatalNotification, GivenBrokenJsonWithAllMembers_WhenHandled_ThenNoneOfThemIsUsed)
{
    EXPECT_EQ(MissedPath(Envelope("Delete", "ProductDeleteRecord", "1") + "}"), "et");
}

TEST_F(FatalNotification, GivenEmptyPayload_WhenHandled_ThenThrows)
{
    EXPECT_EQ(MissedPath(""), "et");
    EXPECT_EQ(log.texts(QXLOG_WARNING).size(), 1U);
}

TEST_F(FatalNotification, GivenNoEventType_WhenHandled_ThenThrows)
{
    EXPECT_EQ(MissedPath(R"({"dt":"ProductDeleteRecord","id":1})"), "et");
    EXPECT_THAT(log.texts(QXLOG_WARNING), IsEmpty());
}

TEST_F(FatalNotification, GivenNoDataType_WhenHandled_ThenThrows)
{
    EXPECT_EQ(MissedPath(R"({"et":"Delete","id":1})"), "dt");
}

TEST_F(FatalNotification, GivenNoId_WhenHandled_ThenThrows)
{
    EXPECT_EQ(MissedPath(R"({"et":"Delete","dt":"ProductDeleteRecord"})"), "id");
}

TEST_F(FatalNotification, GivenNeitherDataTypeNorId_WhenHandled_ThenTheDataTypeIsMissedFirst)
{
    EXPECT_EQ(MissedPath(R"({"et":"Delete"})"), "dt");
}

TEST_F(FatalNotification, GivenProductDownloadWithoutData_WhenHandled_ThenThrows)
{
    EXPECT_EQ(MissedPath(Envelope("Update", "ProductDownloadRecord", "1")), "data");
}

TEST_F(FatalNotification, GivenInstrumentDownloadWithoutData_WhenHandled_ThenThrows)
{
    EXPECT_EQ(MissedPath(Envelope("Update", "InstrumentDownloadRecord", "1")), "data");
}

TEST_F(FatalNotification, GivenNoEnvelope_WhenDelivered_ThenTheExceptionReachesTheTransport)
{
    listener.SubscribeForMarket(7);
    lbm_msg_t* msg = transport.make_message({.payload = "{}"});
    EXPECT_THROW(transport.deliver(PatternOf("7"), msg), ptree_bad_path);
    EXPECT_EQ(transport.refcount(msg), 0);
}

TEST_F(FatalNotification, GivenObserverThrowingNoStdExceptionOnAProduct_WhenDelivered_ThenItReachesTheTransport)
{
    EXPECT_CALL(observer, OnProductDownloadRecord).WillOnce(::testing::Throw(42));
    ExpectIntThroughTransport("ProductDownloadRecord");
}

TEST_F(FatalNotification, GivenObserverThrowingNoStdExceptionOnAnInstrument_WhenDelivered_ThenItReachesTheTransport)
{
    EXPECT_CALL(observer, OnInstrumentDownloadRecord).WillOnce(::testing::Throw(42));
    ExpectIntThroughTransport("InstrumentDownloadRecord");
}

} // namespace ps_ns::test
