// Damaged requests: whatever arrives is answered at most once, with success and the id that was read, or dropped with
// at most one line.
#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include <google/protobuf/stubs/logging.h>

#include "lbm/tests/triage_fixture.h"
#include "lbm/tests/triage_requests.h"

using namespace qx::logging;
using namespace lbm::test;

namespace {

/// A request that is put together inside out, so that it can be damaged on each level.
struct Seed {
    std::string payload;
    int innerType;
    std::string id;
    int outerType = Header::MSG_OPS_TRIAGE_ACTION_WITH_WIRE;
};

std::string NakKillPayload(int context, bool enable)
{
    triage::TriageNakKillRequest request;
    request.set_context(static_cast<triage::LBMContext>(context));
    request.set_enable(enable);
    return request.SerializeAsString();
}

/// Valid requests and one of every kind that is dropped with a line; what is dropped in silence comes by itself.
std::vector<Seed> Seeds()
{
    return {{"", Header::MSG_OPS_TRIAGE_TEST_REQUEST, "a-request-id"},
            {"further fields", Header::MSG_OPS_TRIAGE_TEST_REQUEST, ""},
            {NakKillPayload(triage::ALL, true), Header::MSG_OPS_TRIAGE_NAK_KILL_REQUEST, "another-id"},
            {NakKillPayload(77, false), Header::MSG_OPS_TRIAGE_NAK_KILL_REQUEST, "far"},
            {"p", Header::MSG_OPS_TRIAGE_ACTION, "of another kind"},
            {"", Header::MSG_OPS_TRIAGE_TEST_REQUEST, "bare", Header::MSG_OPS_TRIAGE_TEST_REQUEST}};
}

class Mutator {
public:
    explicit Mutator(unsigned seed)
        : m_random(seed)
    {
    }

    std::string Damaged(const Seed& seed)
    {
        const std::size_t level = Below(3);
        const std::string payload = MutatedIf(level == 0, seed.payload);
        const auto action = MakeAction(seed.id, MakeWire(seed.innerType, payload)).SerializeAsString();
        return MutatedIf(level == 2, MakeWire(seed.outerType, MutatedIf(level == 1, action)).SerializeAsString());
    }

private:
    std::string MutatedIf(bool wanted, std::string bytes)
    {
        for (std::size_t n = wanted ? 1 + Below(4) : 0; n > 0; --n) {
            MutateOnce(bytes);
        }
        return bytes;
    }

    std::size_t Below(std::size_t limit) { return m_random() % limit; }

    void MutateOnce(std::string& bytes)
    {
        const std::size_t at = Below(bytes.size() + 1);
        const auto byte = static_cast<char>(m_random());
        switch (at < bytes.size() ? Below(5) : 0) {
        case 0:
            bytes.insert(at, 1, byte);
            break;
        case 1:
            bytes.erase(at, 1);
            break;
        case 2:
            bytes.resize(at);
            break;
        case 3:
            bytes[at] = byte;
            break;
        default:
            bytes[at] = static_cast<char>(bytes[at] ^ (1 << Below(8)));
        }
    }

    std::mt19937 m_random;
};

/// The id that the payload's action carries as far as it can be read.
std::string IdOf(const std::string& payload)
{
    Wire wire;
    triage::TriageActionWithWire action;
    if (wire.ParseFromString(payload) && wire.payload_size() > 0) {
        static_cast<void>(action.ParseFromString(wire.payload(0)));
    }
    return action.request_id();
}

class TriageMutation : public TriageTest {
protected:
    TriageMutation()
        : protobufsLog(google::protobuf::SetLogHandler(nullptr)) // it reports bad texts on standard error
    {
        handler.Initialize();
    }
    ~TriageMutation() override { google::protobuf::SetLogHandler(protobufsLog); }

    /// As one message whose payload changes: the double keeps every message that it makes.
    void Handle(lbm_msg_t* msg, const std::string& payload)
    {
        msg->data = payload.data();
        msg->len = payload.size();
        handler.handleLbmMessage(msg);
    }

    ::testing::AssertionResult IsAnswered(const std::string& payload) const
    {
        const auto answers = Answers(transport);
        const auto lines = log.texts();
        // Its bytes are compared, not only its fields: an id that is not UTF-8 does not decode.
        triage::TriageResponse expected;
        expected.set_request_id(IdOf(payload));
        expected.set_status(triage::TRIAGE_RESPONSE_STATUS_SUCCESS);
        if (answers.size() != 1 || answers.front().bytes != expected.SerializeAsString()) {
            return ::testing::AssertionFailure() << "wrong answer";
        }
        const bool switched = lines[1].starts_with("handling TriageNakKillRequest ");
        if (lines.size() != (switched ? 6U : 4U)) {
            return ::testing::AssertionFailure() << lines.size() << " lines";
        }
        return ::testing::AssertionSuccess();
    }

    ::testing::AssertionResult IsDropped() const
    {
        const auto lines = log.texts();
        const bool silent = lines.size() == 2;
        if (!silent && (lines.size() != 3 || !lines[1].starts_with("dropping "))) {
            return ::testing::AssertionFailure() << lines.size() << " lines: " << ::testing::PrintToString(lines);
        }
        return ::testing::AssertionSuccess();
    }

    google::protobuf::LogHandler* protobufsLog;
    lbm::LbmTriageHandler handler;
};

} // namespace

TEST_F(TriageMutation, GivenDamagedRequests_WhenHandled_ThenAnsweredOnceOrDroppedWithAtMostOneLine)
{
    constexpr int mutations = 100'000;
    const auto seeds = Seeds();
    Mutator mutator(20260301);
    auto* const msg = transport.make_message({.type = LBM_MSG_REQUEST, .withResponse = true});
    int answered = 0;
    int silent = 0;
    for (int i = 0; i < mutations; ++i) {
        const std::string payload = mutator.Damaged(seeds[static_cast<std::size_t>(i) % seeds.size()]);
        log.clear();
        transport.clear_calls();
        Handle(msg, payload);
        const bool hasAnswer = !transport.calls("lbm_send_response").empty();
        answered += hasAnswer ? 1 : 0;
        silent += log.statements().size() == 2 ? 1 : 0;
        ASSERT_TRUE(hasAnswer ? IsAnswered(payload) : IsDropped()) << "mutation " << i;
    }
    // Each fate is met often, or the seeds have lost their worth.
    EXPECT_GT(answered, mutations / 20);
    EXPECT_GT(silent, mutations / 100);
    EXPECT_GT(mutations - answered - silent, mutations / 20);
}
