/// Requests and their answers between processes.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>

#include "support/child_process.h"
#include "support/context_fixture.h"
#include "support/requests.h"

using namespace testing;

namespace {

constexpr int long_lease_ms = 60'000;

test::ContextHandle make_context(int lease_ms, const std::string& window = "256")
{
    return test::make_context({{"lease_ms", std::to_string(lease_ms)}, {"response_window_messages", window}});
}

TEST(RequestProcesses, GivenARespondingProcess_WhenARequestIsSent_ThenItsAnswerComes)
{
    const auto peer = test::start_peer(long_lease_ms);
    peer->tell("respond ASK.A");
    const auto ctx = make_context(long_lease_ms);
    const auto source = test::make_source(ctx, "ASK.A");
    test::Recorder answers;
    std::vector<test::RequestHandle> open;
    ASSERT_TRUE(answers.wait([&] {
        open.push_back(test::send_request(source, "ping", answers));
        return answers.count(LBM_MSG_RESPONSE) > 0;
    }));
    EXPECT_THAT(answers.payloads(LBM_MSG_RESPONSE), Each("ping"));
}

} // namespace
