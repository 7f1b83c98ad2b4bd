/// What routing costs, counted: a pattern is tried on a topic when its source begins, and never for a message.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "platform/transport/source/inflow.h"
#include "platform/transport/source/router.h"

using namespace qx::transport;
using namespace testing;

namespace {

/// A wildcard receiver that counts what it is told.
class Counting {
public:
    explicit Counting(const std::string& text)
    {
        auto owned = std::make_unique<TopicPattern>(text);
        pattern = owned.get();
        receiver = std::make_shared<Receiver>(std::move(owned), Callback{&Counting::count, this, nullptr}, nullptr);
    }

    const TopicPattern* pattern = nullptr;
    std::shared_ptr<Receiver> receiver;
    std::size_t data = 0;

private:
    static int count(lbm_rcv_t*, lbm_msg_t* msg, void* clientd)
    {
        static_cast<Counting*>(clientd)->data += msg->type == LBM_MSG_DATA ? 1 : 0;
        return 0;
    }
};

class RoutingCost : public Test {
protected:
    SourcePtr begin(const std::string& topic)
    {
        const auto source = make(topic);
        inflow.begun(source, 0);
        return source;
    }
    static SourcePtr make(const std::string& topic)
    {
        static std::uint32_t next = 0;
        return std::make_shared<RemoteSource>(SourceId{{}, next++}, topic);
    }
    void data(const SourcePtr& source)
    {
        inflow.data(source, {Kind::data, 0, source->next, source->topic, {}, {}});
        Delivery delivery;
        while (mailbox.take_present(delivery) == Mailbox::Taken::item) {
            router.handle(delivery, {});
        }
    }
    void attach(const Counting& c) { inflow.add(c.receiver); }
    void detach(const Counting& c) { inflow.remove(c.receiver); }

    Counting any{".*"};
    Counting markets{R"(M\..*)"};
    const std::shared_ptr<Counters> counters = std::make_shared<Counters>();
    Mailbox mailbox{64U << 20U, counters};
    Inflow inflow{mailbox, *counters, nullptr};
    Router router;
};

TEST_F(RoutingCost, GivenSourcesThatBegin_WhenTheySend_ThenEachPatternWasTriedOnceForEachSource)
{
    attach(any);
    attach(markets);
    const auto mine = begin("M.1");
    const auto other = begin("X.1");
    for (int i = 0; i < 100; ++i) {
        data(mine);
        data(other);
    }
    EXPECT_EQ(any.data, 200U);
    EXPECT_EQ(markets.data, 100U);
    EXPECT_EQ(any.pattern->attempts(), 2U);
    EXPECT_EQ(markets.pattern->attempts(), 1U) << "X.1 does not begin as it must";
}

TEST_F(RoutingCost, GivenSourcesThatAreThere_WhenAReceiverComesAndGoes_ThenItIsTriedOnThoseThatBeginAsItMust)
{
    begin("M.1");
    begin("M.2");
    begin("X.1");
    attach(markets);
    EXPECT_EQ(markets.pattern->attempts(), 2U);
    detach(markets);
    begin("M.3");
    EXPECT_EQ(markets.pattern->attempts(), 2U);
}

TEST_F(RoutingCost, GivenTwoSourcesOfOneTopic_WhenOnlyOneHasBegun_ThenItIsTheSourceThatRoutesNotItsText)
{
    attach(any);
    const auto begun = begin("M.1");
    data(begun);
    data(make("M.1"));
    EXPECT_EQ(any.data, 1U);
}

TEST_F(RoutingCost, GivenAThousandPatternsOverTenThousandTopics_WhenAllBegin_ThenEachTopicIsTriedByItsOwnOnly)
{
    std::vector<std::unique_ptr<Counting>> receivers;
    for (int i = 1000; i < 2000; ++i) {
        receivers.push_back(std::make_unique<Counting>("M" + std::to_string(i) + R"(\.\d+)"));
        attach(*receivers.back());
    }
    std::vector<SourcePtr> sources;
    for (int i = 0; i < 10'000; ++i) {
        sources.push_back(begin("M" + std::to_string(1000 + i % 1000) + "." + std::to_string(i)));
    }
    for (const SourcePtr& source : sources) {
        data(source);
    }
    for (const auto& receiver : receivers) {
        ASSERT_EQ(receiver->pattern->attempts(), 10U);
        ASSERT_EQ(receiver->data, 10U);
    }
}

} // namespace
