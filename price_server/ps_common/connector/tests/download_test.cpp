// Download records, product and instrument alike: every case runs on both.
#include <exception>
#include <stdexcept>

#include <boost/uuid/string_generator.hpp>

#include "price_server/ps_common/connector/tests/listener_fixture.h"

using namespace qx::logging;
using ::testing::_;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::StartsWith;

namespace ps_ns::test {
namespace {

struct Product {
    using Record = qx::messaging::pds::ProductDownloadRecord;
    static constexpr const char* dataType = "ProductDownloadRecord";
    static constexpr const char* name = "Product Download";
    static constexpr const char* idLabel = "product_id";
    static constexpr const char* reflection = "refelection";
    static auto& expect(MockObserver& observer, const ::testing::Matcher<PdsNotifyEventType>& event)
    {
        return EXPECT_CALL(observer, OnProductDownloadRecord(event, _));
    }
};

struct Instrument {
    using Record = qx::messaging::pds::InstrumentDownloadRecord;
    static constexpr const char* dataType = "InstrumentDownloadRecord";
    static constexpr const char* name = "Instrument Download";
    static constexpr const char* idLabel = "instrument_id";
    static constexpr const char* reflection = "reflection";
    static auto& expect(MockObserver& observer, const ::testing::Matcher<PdsNotifyEventType>& event)
    {
        return EXPECT_CALL(observer, OnInstrumentDownloadRecord(event, _));
    }
};

struct KindNames {
    template <class T>
    static std::string GetName(int)
    {
        return T::dataType;
    }
};

/// What the UUID reader says of a text that is none.
std::string UuidErrorOf(const std::string& text)
{
    try {
        boost::uuids::string_generator()(text);
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return "is a UUID";
}

/// An exception without words.
class Speechless : public std::exception {
public:
    const char* what() const noexcept override { return nullptr; }
};

template <class Kind>
class Download : public ListenerTest {
protected:
    std::string Payload(const std::string& data, const std::string& et = "Update") const
    {
        return Envelope(et, Kind::dataType, "17", data);
    }
    std::string Prefix() const { return std::string("QXNOTIFY | ") + Kind::name; }
    std::string Ids() const { return std::string("data_type=") + Kind::dataType + " " + Kind::idLabel + "=17"; }
    std::string BadJson(const std::string& reason) const
    {
        return Prefix() + ": Bad JSON format " + Ids() + " reason=" + reason;
    }
};

using Kinds = ::testing::Types<Product, Instrument>;
TYPED_TEST_SUITE(Download, Kinds, KindNames);

} // namespace

TYPED_TEST(Download, GivenRecord_WhenHandled_ThenTheObserverGetsEventTypeAndFilledRecord)
{
    typename TypeParam::Record received;
    TypeParam::expect(this->observer, qx::messaging::pds::enums::Update)
        .WillOnce([&](PdsNotifyEventType, auto& record) { received = record; });
    this->HandleData(this->Payload(R"({"symbol":"FGBL","currency":"EUR"})"));
    EXPECT_EQ(received.ShortDebugString(), R"(symbol: "FGBL" currency: "EUR")");
}

TYPED_TEST(Download, GivenRecord_WhenHandled_ThenThreeDebugLinesInOrder)
{
    TypeParam::expect(this->observer, _);
    const auto payload = this->Payload(R"({"symbol":"FGBL"})");
    this->HandleData(payload);
    EXPECT_THAT(this->log.statements(),
                ElementsAre(Line(QXLOG_DEBUG, "QXNOTIFY | Outer JSON Data=" + payload),
                            Line(QXLOG_DEBUG, this->Prefix() + ": Inner JSON Data={\"symbol\":\"FGBL\"}"),
                            Line(QXLOG_DEBUG, this->Prefix() + " Proto: symbol: \"FGBL\"")));
}

TYPED_TEST(Download, GivenRecord_WhenTheObserverIsCalled_ThenTheRecordWasAlreadyLogged)
{
    std::size_t linesBefore = 0;
    TypeParam::expect(this->observer, _).WillOnce([&](PdsNotifyEventType, auto&) {
        linesBefore = this->log.texts().size();
    });
    this->HandleData(this->Payload(R"({"symbol":"FGBL"})"));
    EXPECT_EQ(linesBefore, 3U);
}

TYPED_TEST(Download, GivenLevelAboveDebug_WhenHandled_ThenNothingIsWrittenAndTheObserverIsCalled)
{
    const qx::test::CapturedLog quiet(QXLOG_DEBUG + 1);
    TypeParam::expect(this->observer, _);
    this->HandleData(this->Payload(R"({"symbol":"FGBL"})"));
    EXPECT_THAT(quiet.texts(), IsEmpty());
}

TYPED_TEST(Download, GivenEachEventType_WhenHandled_ThenPassedOn)
{
    for (const auto& [name, value] : {std::pair{"Create", 0}, {"Update", 1}, {"Delete", 2}, {"Remove", 100}}) {
        TypeParam::expect(this->observer, static_cast<PdsNotifyEventType>(value));
        this->HandleData(this->Payload(R"({"symbol":"FGBL"})", name));
        ::testing::Mock::VerifyAndClearExpectations(&this->observer);
    }
}

TYPED_TEST(Download, GivenUnknownKeysOnly_WhenHandled_ThenTheObserverGetsAnEmptyRecord)
{
    TypeParam::expect(this->observer, _).WillOnce([](PdsNotifyEventType, auto& record) {
        EXPECT_EQ(record.ByteSizeLong(), 0U);
    });
    this->HandleData(this->Payload(R"({"nobodyKnows":1})"));
}

TYPED_TEST(Download, GivenEmptyRecord_WhenHandled_ThenNoReflectionAndNoObserver)
{
    this->HandleData(this->Payload("{}"));
    EXPECT_THAT(this->log.statements().back(), Line(QXLOG_WARNING, this->Prefix() + ": No corresponding " +
                                                                       TypeParam::reflection + " for " + this->Ids()));
}

TYPED_TEST(Download, GivenScalarRecord_WhenHandled_ThenNoReflectionAndNothingElseIsLogged)
{
    this->HandleData(this->Payload("17"));
    EXPECT_THAT(this->log.texts(QXLOG_INFO), IsEmpty());
    EXPECT_EQ(this->log.texts(QXLOG_WARNING).size(), 1U);
}

TYPED_TEST(Download, GivenDataThatIsNotJson_WhenHandled_ThenWarnedWithTheParsersReason)
{
    this->HandleData(this->Payload("not JSON"));
    EXPECT_EQ(this->log.statements().back().level, QXLOG_WARNING);
    EXPECT_THAT(this->log.texts().back(), StartsWith(this->BadJson("")));
    EXPECT_GT(this->log.texts().back().size(), this->BadJson("").size());
}

TYPED_TEST(Download, GivenRecordAsNestedObject_WhenHandled_ThenItsTextIsEmptyAndBadJson)
{
    this->HandleData(R"({"et":"Update","dt":")" + std::string(TypeParam::dataType) +
                     R"(","id":17,"data":{"symbol":"FGBL"}})");
    EXPECT_EQ(this->log.texts()[1], this->Prefix() + ": Inner JSON Data=");
    EXPECT_THAT(this->log.texts(QXLOG_WARNING), ElementsAre(StartsWith(this->BadJson(""))));
}

TYPED_TEST(Download, GivenMalformedUuid_WhenHandled_ThenReportedAsBadJson)
{
    this->HandleData(this->Payload(R"({"uuid":"no uuid"})"));
    EXPECT_THAT(this->log.texts(QXLOG_WARNING), ElementsAre(this->BadJson(UuidErrorOf("no uuid"))));
}

TYPED_TEST(Download, GivenScalarForRepeatedField_WhenHandled_ThenReportedAsBadJson)
{
    this->HandleData(this->Payload(R"({"aliases":"x"})"));
    EXPECT_THAT(this->log.texts(QXLOG_WARNING), ElementsAre(StartsWith(this->BadJson(""))));
}

TYPED_TEST(Download, GivenObserverThatThrows_WhenHandled_ThenReportedAsBadJsonAndNotPropagated)
{
    TypeParam::expect(this->observer, _).WillOnce(::testing::Throw(std::runtime_error("x")));
    EXPECT_NO_THROW(this->HandleData(this->Payload(R"({"symbol":"FGBL"})")));
    EXPECT_THAT(this->log.statements().back(), Line(QXLOG_WARNING, this->BadJson("x")));
}

TYPED_TEST(Download, GivenObserverThatThrows_WhenTheNextArrives_ThenItReachesTheObserver)
{
    TypeParam::expect(this->observer, _).WillOnce(::testing::Throw(std::runtime_error("x"))).WillOnce([] {});
    this->HandleData(this->Payload(R"({"symbol":"A"})"));
    this->HandleData(this->Payload(R"({"symbol":"B"})"));
}

TYPED_TEST(Download, GivenExceptionWithoutText_WhenHandled_ThenTheReasonIsEmptyAndTheThreadsLogStillWorks)
{
    TypeParam::expect(this->observer, _).WillOnce(::testing::Throw(Speechless()));
    this->HandleData(this->Payload(R"({"symbol":"A"})"));
    EXPECT_EQ(this->log.texts().back(), this->BadJson(""));
    this->Handle({.type = 3});
    EXPECT_EQ(this->log.texts().back(), "QXNOTIFY | Unsupported type=3");
}

TYPED_TEST(Download, GivenRecord_WhenHandled_ThenItLivesOnNoArena)
{
    TypeParam::expect(this->observer, _).WillOnce([](PdsNotifyEventType, auto& record) {
        EXPECT_EQ(record.GetArena(), nullptr);
    });
    this->HandleData(this->Payload(R"({"symbol":"FGBL"})"));
}

TYPED_TEST(Download, GivenBadRecord_WhenTheNextIsGood_ThenItReachesTheObserver)
{
    TypeParam::expect(this->observer, _);
    this->HandleData(this->Payload("not JSON"));
    this->HandleData(this->Payload(R"({"symbol":"FGBL"})"));
}

TYPED_TEST(Download, GivenObserverThatChangesTheRecord_WhenTheNextArrives_ThenItIsAFreshOne)
{
    TypeParam::expect(this->observer, _)
        .WillOnce([](PdsNotifyEventType, auto& record) { record.set_currency("EUR"); })
        .WillOnce([](PdsNotifyEventType, auto& record) { EXPECT_FALSE(record.has_currency()); });
    this->HandleData(this->Payload(R"({"symbol":"A"})"));
    this->HandleData(this->Payload(R"({"symbol":"B"})"));
}

} // namespace ps_ns::test
