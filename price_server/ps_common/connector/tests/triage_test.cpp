// The listener's context and operations requests: known by its name, but not the one that requests arrive on. In a
// program of its own, whose process has triage switched on.
#include <cstdlib>

#include "price_server/ps_common/connector/tests/listener_fixture.h"

using namespace qx::logging;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::MatchesRegex;
using ::testing::SizeIs;

namespace ps_ns::test {
namespace {

class ListenerTriage : public ::testing::Test {
protected:
    static void SetUpTestSuite()
    {
        ::unsetenv("DISABLE_LBM_TRIAGE_HANDLER");
        ::setenv("CHEF_ENVIRONMENT", "dev", 1);
        ::setenv("DATA_CENTER", "ch", 1);
        lbm::LbmTriageHandler::getInstance();
    }

    std::vector<std::string> TriageTexts() const
    {
        std::vector<std::string> texts;
        for (const auto& statement : log.statements()) {
            if (statement.source == "lbm_triage_handler") {
                texts.push_back(statement.text);
            }
        }
        return texts;
    }

    /// How many contexts a selector switches: each says once that it cannot be.
    std::size_t Switched(const std::string& selector)
    {
        log.clear();
        lbm::LbmTriageHandler::getInstance()->toggleNaks(false, selector);
        return log.texts(QXLOG_ERROR).size();
    }

    qx::test::LbmDouble transport;
    qx::test::CapturedLog log;
    ::testing::StrictMock<MockObserver> observer;
};

} // namespace

TEST_F(ListenerTriage, GivenListener_WhenMade_ThenItsContextRegistersUnderItsName)
{
    const QXNotifyListener listener(&observer);
    EXPECT_THAT(TriageTexts(),
                ElementsAre(MatchesRegex("registering context=0x[0-9a-f]+ with context_name=PriceEnvironmentContext")));
}

TEST_F(ListenerTriage, GivenListener_WhenMadeAndSubscribed_ThenItsContextCarriesNoTriageReceivers)
{
    QXNotifyListener listener(&observer);
    listener.SubscribeForMarket(42);
    EXPECT_THAT(transport.calls("lbm_rcv_topic_lookup"), IsEmpty());
    EXPECT_THAT(transport.calls("lbm_rcv_create"), IsEmpty());
    EXPECT_THAT(transport.calls("lbm_wildcard_rcv_create"), SizeIs(1));
}

TEST_F(ListenerTriage, GivenListener_WhenPriceContextsAreSwitched_ThenItsIsAmongThem)
{
    const QXNotifyListener listener(&observer);
    EXPECT_EQ(Switched("PRICEENVIRONMENT"), 1U);
    EXPECT_EQ(Switched("ALL"), 1U);
    EXPECT_EQ(Switched(""), 0U);
    EXPECT_EQ(Switched("QXNOTIFY"), 0U);
}

TEST_F(ListenerTriage, GivenListener_WhenDestroyed_ThenItsContextUnregisters)
{
    {
        const QXNotifyListener listener(&observer);
        log.clear();
    }
    EXPECT_THAT(TriageTexts(),
                ElementsAre(MatchesRegex("unregistering context=0x[0-9a-f]+ with name=PriceEnvironmentContext")));
    EXPECT_EQ(Switched("ALL"), 0U);
}

} // namespace ps_ns::test
