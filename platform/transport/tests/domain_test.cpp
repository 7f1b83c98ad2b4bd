/// The engine's configuration that the options make.
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/transport/source/domain.h"
#include "platform/transport/tests/transport_error_of.h"

namespace qx::transport {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;

using Choice = std::pair<const char*, const char*>;

std::string xml_of(std::initializer_list<Choice> choices)
{
    Options options{Scope::context};
    for (const auto& [name, value] : choices) {
        options.set_text(name, value);
    }
    return domain_xml(DomainSettings{options});
}

TEST(Domain, GivenDefaults_WhenConfigured_ThenLoopbackWithMulticastAndNoIndex)
{
    EXPECT_THAT(xml_of({}),
                AllOf(HasSubstr(R"(<NetworkInterface name="lo" multicast="true"/>)"), Not(HasSubstr("<Peers>")),
                      HasSubstr("<ParticipantIndex>none</ParticipantIndex>"), HasSubstr("65000B")));
}

TEST(Domain, GivenATagWithMarkup_WhenConfigured_ThenItIsEscaped)
{
    EXPECT_THAT(xml_of({{"domain_tag", "<&>\""}}), HasSubstr("<Tag>&lt;&amp;&gt;&quot;</Tag>"));
}

TEST(Domain, GivenAnAddress_WhenItNamesTheInterface_ThenItIsGivenAsAddress)
{
    EXPECT_THAT(xml_of({{"interface", "127.0.0.1"}}),
                AllOf(HasSubstr(R"(<NetworkInterface address="127.0.0.1" multicast="true"/>)"), HasSubstr("65000B")));
    EXPECT_THAT(xml_of({{"interface", "192.0.2.1"}}),
                AllOf(HasSubstr(R"(address="192.0.2.1")"), HasSubstr("<MaxMessageSize>14720B</MaxMessageSize>")));
}

TEST(Domain, GivenNoMulticast_WhenConfigured_ThenThisHostIsLookedThroughByIndex)
{
    EXPECT_THAT(xml_of({{"multicast", "0"}}), AllOf(HasSubstr("<AllowMulticast>false</AllowMulticast>"),
                                                    HasSubstr("<ParticipantIndex>auto</ParticipantIndex>"
                                                              "<MaxAutoParticipantIndex>99</MaxAutoParticipantIndex>"
                                                              R"(<Peers><Peer address="localhost"/></Peers>)")));
}

TEST(Domain, GivenPeers_WhenConfigured_ThenEachIsLookedThroughWithMulticastToo)
{
    EXPECT_THAT(xml_of({{"peers", "price-1.example, 192.0.2.7"}, {"host_processes_max", "5"}}),
                AllOf(HasSubstr("<AllowMulticast>true</AllowMulticast>"),
                      HasSubstr("<ParticipantIndex>auto</ParticipantIndex>"
                                "<MaxAutoParticipantIndex>5</MaxAutoParticipantIndex>"
                                R"(<Peers><Peer address="localhost"/><Peer address="price-1.example"/>)"
                                R"(<Peer address="192.0.2.7"/></Peers>)")));
}

TEST(Domain, GivenDefaults_WhenConfigured_ThenMoreIsHeldBackThanTheLargestWindowTakes)
{
    constexpr std::uint64_t window_max = 1'073'741'824;
    constexpr std::uint64_t packet_min = 64;
    const std::string xml = xml_of({{"send_window_bytes", std::to_string(window_max).c_str()}});
    for (const std::string name : {"PrimaryReorderMaxSamples", "SecondaryReorderMaxSamples"}) {
        const std::size_t at = xml.find('<' + name + '>');
        ASSERT_NE(at, std::string::npos) << name;
        EXPECT_GE(std::stoull(xml.substr(at + name.size() + 2)) * packet_min, window_max) << name;
    }
    EXPECT_THROW(xml_of({{"send_window_bytes", std::to_string(window_max + 1).c_str()}}), TransportError)
        << "a larger window needs more";
}

TEST(Domain, GivenPeersThatAreNoHosts_WhenConfigured_ThenTheyAreNamed)
{
    for (const char* const peers : {",", "a,", ",a", "a,,b", " ", "two words", "a;b", "<a>", "::1", "a:7410"}) {
        const Refusal refused = refusal_of([&] { xml_of({{"peers", peers}}); });
        EXPECT_EQ(refused.code, LBM_EINVAL) << peers;
        EXPECT_THAT(refused.text, HasSubstr("option \"peers\"")) << peers;
    }
}

} // namespace
} // namespace qx::transport
