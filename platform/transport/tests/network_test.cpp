/// Processes that find each other in other ways than by multicast on the interface named lo. All of it is loopback.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "support/child_process.h"
#include "support/context_fixture.h"

using namespace testing;

namespace {

constexpr int lease_ms = 60'000;

/// Whether a process with those options hears another one with the same.
bool meet(test::OptionList options)
{
    const auto peer = test::start_peer(lease_ms, options);
    options.emplace_back("lease_ms", std::to_string(lease_ms));
    const auto ctx = test::make_context(options);
    test::Recorder heard;
    const auto receiver = test::make_receiver(ctx, "NET.A", heard);
    peer->tell("source NET.A");
    return heard.wait([&] {
        peer->tell("send NET.A 1");
        return heard.count(LBM_MSG_DATA) > 0;
    });
}

TEST(Network, GivenTheInterfacesAddress_WhenItStandsForItsName_ThenProcessesMeet)
{
    EXPECT_TRUE(meet({{"interface", "127.0.0.1"}}));
}

TEST(Network, GivenNoMulticast_WhenProcessesAreOnOneHost_ThenTheyMeet)
{
    EXPECT_TRUE(meet({{"multicast", "0"}}));
}

TEST(Network, GivenPeers_WhenThereIsNoMulticastAndWhenThereIs_ThenProcessesMeet)
{
    EXPECT_TRUE(meet({{"multicast", "0"}, {"peers", "127.0.0.1"}, {"host_processes_max", "5"}}));
    EXPECT_TRUE(meet({{"multicast", "1"}, {"peers", "localhost"}}));
}

TEST(Network, GivenAnInterfaceThatDoesNotExist_WhenAContextIsMade_ThenItWarnsFirstAndFails)
{
    internal::CaptureStderr();
    EXPECT_THROW(test::make_context({{"interface", "no-such-if"}}), std::runtime_error);
    EXPECT_THROW(test::make_context({{"interface", "no-such-if"}}), std::runtime_error);
    const std::string said = internal::GetCapturedStderr();
    const std::string warning = "lbm: warning: interface no-such-if without security";
    ASSERT_THAT(said, HasSubstr(warning));
    EXPECT_THAT(said.substr(said.find(warning) + 1), Not(HasSubstr("lbm: warning")));
}

TEST(Network, GivenLoopback_WhenAContextIsMade_ThenNothingIsSaid)
{
    internal::CaptureStderr();
    test::make_context();
    EXPECT_THAT(internal::GetCapturedStderr(), IsEmpty());
}

} // namespace
