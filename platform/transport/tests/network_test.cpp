/// Processes that find each other in other ways than by multicast on the interface named lo. All of it is loopback.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <stdexcept>
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
    EXPECT_TRUE(meet({{"multicast", "0"}, {"peers", "127.0.0.1"}}));
    EXPECT_TRUE(meet({{"multicast", "1"}, {"peers", "localhost"}}));
}

/// Makes contexts on an interface that does not exist, in a process of its own, which has warned of nothing yet.
[[noreturn]] void be_refused_twice()
{
    int refused = 0;
    for (int i = 0; i < 2; ++i) {
        try {
            test::make_context({{"interface", "no-such-if"}, {"fault_drop_permille", "1"}});
        } catch (const std::runtime_error&) {
            ++refused;
        }
    }
    std::_Exit(refused);
}

std::ptrdiff_t warnings_in(const std::string& said)
{
    const std::string warning = "lbm: warning: ";
    std::ptrdiff_t count = 0;
    for (std::size_t at = 0; (at = said.find(warning, at)) != std::string::npos; ++at) {
        ++count;
    }
    return count;
}

TEST(Network, GivenAnInterfaceThatDoesNotExist_WhenContextsAreMade_ThenEachWarningComesOnceAndTheyFail)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(be_refused_twice(), ExitedWithCode(2),
                AllOf(HasSubstr("lbm: warning: interface no-such-if without security"),
                      HasSubstr("lbm: warning: faults are made on purpose"), ResultOf(&warnings_in, 2)));
}

TEST(Network, GivenLoopback_WhenAContextIsMade_ThenNothingIsSaid)
{
    internal::CaptureStderr();
    test::make_context();
    EXPECT_THAT(internal::GetCapturedStderr(), IsEmpty());
}

} // namespace
