/// Topics that nobody sends under.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/context_fixture.h"

using namespace testing;

namespace {

/// The configuration's default for receivers of a context named "C".
test::ContextHandle make_waiting_context(const std::string& scope)
{
    const std::string xml = R"(<um-configuration version="1.0"><applications><application name="a"><contexts>)"
                            R"(<context name="C"><options type="context"><option name="domain_tag" default-value=")" +
                            test::domain_tag() + R"("/></options><options type=")" + scope +
                            R"("><option name="no_source_ms" default-value="50"/></options></context>)"
                            R"(</contexts></application></applications></um-configuration>)";
    test::check(lbm_config_xml_string(xml.c_str(), "a"));
    lbm_context_attr_t* attributes = nullptr;
    test::check(lbm_context_attr_create_from_xml(&attributes, "C"));
    lbm_context_t* ctx = nullptr;
    const int result = lbm_context_create(&ctx, attributes, nullptr, nullptr);
    lbm_context_attr_delete(attributes);
    test::check(result);
    return test::ContextHandle{ctx};
}

TEST(NoSource, GivenATopicWithoutASource_WhenTheTimeIsOver_ThenToldWithTheTopicAlone)
{
    const auto ctx = make_waiting_context("receiver");
    test::Recorder recorder;
    const auto receiver = test::make_receiver(ctx, "NONE.A", recorder);
    ASSERT_TRUE(recorder.wait_for(LBM_MSG_NO_SOURCE_NOTIFICATION));
    const test::Seen seen = recorder.seen().front();
    EXPECT_EQ(seen.topic, "NONE.A");
    EXPECT_EQ(seen.source, "");
    EXPECT_EQ(seen.payload, "");
}

TEST(NoSource, GivenAPattern_WhenTheTimeIsOver_ThenToldWithThePatternByTheEventQueue)
{
    const auto ctx = make_waiting_context("wildcard_receiver");
    const auto queue = test::make_queue();
    test::Recorder recorder;
    const auto receiver = test::make_wildcard(ctx, R"(NONE\..*)", recorder, queue.get());
    EXPECT_TRUE(recorder.wait([&] {
        lbm_event_dispatch(queue.get(), LBM_EVENT_QUEUE_POLL);
        return recorder.count(LBM_MSG_NO_SOURCE_NOTIFICATION, R"(NONE\..*)") == 1;
    }));
}

TEST(NoSource, GivenASourceThatComesAndGoes_WhenTheTimeIsOver_ThenToldBeforeAndAfter)
{
    const auto ctx = make_waiting_context("receiver");
    test::Recorder recorder;
    const auto receiver = test::make_receiver(ctx, "NONE.A", recorder);
    ASSERT_TRUE(recorder.wait_for(LBM_MSG_NO_SOURCE_NOTIFICATION));
    auto source = test::make_source(ctx, "NONE.A");
    ASSERT_TRUE(recorder.wait_for(LBM_MSG_BOS));
    source.reset();
    ASSERT_TRUE(recorder.wait_for(LBM_MSG_NO_SOURCE_NOTIFICATION, 2));
    std::vector<int> types;
    for (const test::Seen& seen : recorder.seen()) {
        types.push_back(seen.type);
    }
    EXPECT_THAT(types,
                ElementsAre(LBM_MSG_NO_SOURCE_NOTIFICATION, LBM_MSG_BOS, LBM_MSG_EOS, LBM_MSG_NO_SOURCE_NOTIFICATION));
}

} // namespace
