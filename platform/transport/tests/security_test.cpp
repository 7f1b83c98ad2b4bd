/// Processes with and without certificates, and what each gets across.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "support/certificates.h"
#include "support/child_process.h"
#include "support/context_fixture.h"
#include "support/requests.h"

using namespace testing;

namespace {

constexpr int lease_ms = 60'000;

std::string refusal_of_context(const test::OptionList& options)
{
    try {
        test::make_context(options);
    } catch (const std::runtime_error& e) {
        return e.what();
    }
    return "it is made";
}

/// A price server's context: secured, and with a receiver for everything.
class Security : public Test {
protected:
    test::OptionList options_of(const std::string& identity) const
    {
        test::OptionList options = certificates.options(identity);
        options.emplace_back("lease_ms", std::to_string(lease_ms));
        return options;
    }
    std::unique_ptr<test::ChildProcess> start(const std::string& identity) const
    {
        return test::start_peer(lease_ms, certificates.options(identity));
    }
    /// Has the peer send until it is heard.
    bool is_heard(test::ChildProcess& peer, const std::string& topic) const
    {
        const std::size_t before = heard.count(LBM_MSG_DATA, topic);
        return heard.wait([&] {
            peer.tell("send " + topic + " 1");
            return heard.count(LBM_MSG_DATA, topic) > before;
        });
    }
    /// Lets the other act twenty times, each time followed by what another peer sends and is heard with. That peer
    /// comes later than the other, which would be heard before it.
    template <class Act>
    void hear_known_peer_beside(Act act) const
    {
        const auto known = start("price-server");
        known->tell("source DATA.KNOWN");
        for (int round = 0; round < 20; ++round) {
            act();
            ASSERT_TRUE(is_heard(*known, "DATA.KNOWN"));
        }
    }
    std::uint64_t refused() const
    {
        lbm_context_stats_t stats{};
        test::check(lbm_context_retrieve_stats(server.get(), &stats));
        return stats.packets_refused;
    }

    test::Certificates certificates;
    test::Recorder heard;
    test::ContextHandle server = test::make_context(options_of("price-server"));
    test::WildcardHandle everything = test::make_wildcard(server, ".*", heard);
};

TEST_F(Security, GivenTwoOrdinaryProcesses_WhenTheyTalk_ThenDataRequestsAnswersAndEndsArriveAsWithoutSecurity)
{
    const auto peer = start("price-server");
    peer->tell("source DATA.A");
    ASSERT_TRUE(is_heard(*peer, "DATA.A"));
    peer->tell("respond ASK.A");
    test::Recorder answers;
    const auto source = test::make_source(server, "ASK.A");
    std::vector<test::RequestHandle> requests;
    EXPECT_TRUE(answers.wait([&] {
        requests.push_back(test::send_request(source, "who?", answers));
        return answers.count(LBM_MSG_RESPONSE) > 0;
    }));
    peer->tell("close DATA.A");
    EXPECT_TRUE(heard.wait([&] { return heard.count(LBM_MSG_EOS, "DATA.A") == 1; }));
    EXPECT_EQ(heard.count(LBM_MSG_BOS, "DATA.A"), 1U);
    EXPECT_EQ(refused(), 0U);
}

TEST_F(Security, GivenALateJoiner_WhenItComes_ThenItLearnsOfSourcesThatAreSilent)
{
    const auto source = test::make_source(server, "DATA.SILENT");
    const auto late = start("price-server");
    late->tell("receive DATA.SILENT");
    late->tell("begins DATA.SILENT 1");
}

TEST_F(Security, GivenAProcessWithoutCertificate_WhenItSends_ThenItIsNotHeardAtAll)
{
    const auto stranger = test::start_peer(lease_ms);
    stranger->tell("source DATA.STRANGER");
    const auto another = test::start_peer(lease_ms);
    another->tell("receive DATA.STRANGER");
    hear_known_peer_beside([&] { stranger->tell("send DATA.STRANGER 1"); });
    EXPECT_EQ(heard.count(LBM_MSG_BOS, "DATA.STRANGER"), 0U);
    EXPECT_EQ(heard.count(LBM_MSG_DATA, "DATA.STRANGER"), 0U);
    another->tell("begins DATA.STRANGER 1"); // among themselves they hear each other
}

TEST_F(Security, GivenOperations_WhenItAsksOnTheGuardedTopic_ThenItIsAnswered)
{
    test::Recorder asked;
    test::KeptRequests kept{asked};
    const auto receiver = test::make_receiver(server, "TRIAGE.ACTION", asked);
    const auto operations = start("operations");
    operations->tell("source TRIAGE.ACTION");
    ASSERT_TRUE(is_heard(*operations, "TRIAGE.ACTION"));
    operations->tell("request TRIAGE.ACTION 1");
    ASSERT_TRUE(asked.wait([&] { return kept.size() == 1; }));
    EXPECT_EQ(test::answer(kept.response(0), "done"), LBM_OK);
    operations->tell("answers TRIAGE.ACTION 1");
}

TEST_F(Security, GivenAnOrdinaryProcess_WhenItMakesASourceOfTheGuardedTopic_ThenItIsToldThatItMayNot)
{
    const auto peer = start("price-server");
    try {
        peer->tell("source TRIAGE.ACTION");
        FAIL() << "it may";
    } catch (const std::runtime_error& e) {
        EXPECT_THAT(e.what(), HasSubstr("lbm_src_create(TRIAGE.ACTION): dds_create_writer: Not Allowed By Security"));
    }
}

TEST_F(Security, GivenAContext_WhenAnotherOfTheProcessHasAnotherIdentityOrNone_ThenItIsRefused)
{
    EXPECT_THAT(refusal_of_context(options_of("operations")), HasSubstr("they must agree"));
    EXPECT_THAT(refusal_of_context({{"lease_ms", std::to_string(lease_ms)}}), HasSubstr("they must agree"));
}

TEST_F(Security, GivenAContext_WhenItIsToKeepTheOrderOfAllSources_ThenItIsRefused)
{
    test::OptionList options = options_of("price-server");
    options.emplace_back("source_order", "context");
    EXPECT_THAT(refusal_of_context(options), HasSubstr("\"source_order\" cannot be \"context\" with security"));
}

TEST(SecurityWithoutPermissions, GivenAnIdentity_WhenItsContextIsMade_ThenTheEnginesReasonIsTold)
{
    const test::Certificates certificates;
    EXPECT_THAT(refusal_of_context(certificates.options("stranger")),
                AllOf(HasSubstr("\"security_permissions\", " + certificates.path("permissions.p7s")),
                      HasSubstr("Subject name is invalid")));
    EXPECT_EQ(refusal_of_context(certificates.options("price-server")), "it is made"); // nothing is left behind
}

#ifdef QX_HOSTILE_PEER
/// The hostile peer of hostile_peer.cpp with an identity.
std::unique_ptr<test::ChildProcess> start_hostile(const test::OptionList& identity)
{
    std::vector<std::string> arguments{QX_HOSTILE_PEER, test::domain_tag(), QX_CARELESS_ACCESS_CONTROL};
    for (const auto& [name, file] : identity) {
        arguments.push_back(std::string{name} + "=" + file);
    }
    auto peer = std::make_unique<test::ChildProcess>(arguments);
    peer->expect_ok();
    return peer;
}

TEST_F(Security, GivenAnOrdinaryCertificate_WhenItsOwnerForgesOperations_ThenNothingIsDelivered)
{
    test::Recorder guarded;
    const auto receiver = test::make_receiver(server, "TRIAGE.ACTION", guarded);
    const auto hostile = start_hostile(certificates.options("price-server"));
    // Of each round OTHER.A is heard, what comes from "*" and "t:OTHER" is refused, and from "t:TRIAGE" nothing comes,
    // nor from "a:", which with security nobody hears.
    ASSERT_TRUE(heard.wait([&] {
        hostile->tell("write");
        return heard.count(LBM_MSG_DATA, "OTHER.A") >= 20 && refused() >= 40;
    }));
    EXPECT_THAT(guarded.seen(), IsEmpty());
    EXPECT_EQ(heard.count(LBM_MSG_BOS, "TRIAGE.ACTION"), 0U);
}

TEST_F(Security, GivenAnOrdinaryCertificate_WhenItsOwnerSignsPermissionsForItself_ThenItIsNotHeard)
{
    const auto hostile = start_hostile(certificates.self_permitted("price-server"));
    hear_known_peer_beside([&] { hostile->tell("write"); });
    EXPECT_EQ(heard.count(LBM_MSG_DATA, "TRIAGE.ACTION"), 0U);
    EXPECT_EQ(heard.count(LBM_MSG_DATA, "OTHER.A"), 0U);
}

TEST_F(Security, GivenOperationsCertificate_WhenWrittenByHandInTheSameWay_ThenWhatItsPartitionCoversIsDelivered)
{
    const auto operations = start_hostile(certificates.options("operations"));
    EXPECT_TRUE(heard.wait([&] {
        operations->tell("write");
        return heard.count(LBM_MSG_DATA, "TRIAGE.ACTION") > 0;
    }));
    EXPECT_EQ(heard.count(LBM_MSG_BOS, "TRIAGE.ACTION"), 1U); // of the source in t:TRIAGE alone
}
#endif

} // namespace
