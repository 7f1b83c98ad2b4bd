// Damaged requests: what becomes of each follows from its bytes, whatever else the handler is doing.
#include <atomic>
#include <functional>
#include <map>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include <google/protobuf/stubs/logging.h>

#include "lbm/tests/triage_fate.h"
#include "lbm/tests/triage_fixture.h"
#include "lbm/tests/triage_requests.h"

using namespace qx::logging;
using namespace lbm::test;
using ::testing::_;
using ::testing::Each;
using ::testing::Gt;
using ::testing::Pair;
using ::testing::SizeIs;

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
            {NakKillPayload(triage::PRICE, false), Header::MSG_OPS_TRIAGE_NAK_KILL_REQUEST, "prices"},
            {NakKillPayload(triage::QXNOTIFY, true), Header::MSG_OPS_TRIAGE_NAK_KILL_REQUEST, "notifications"},
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

class TriageMutation : public TriageTest {
protected:
    TriageMutation()
        : protobufsLog(google::protobuf::SetLogHandler(nullptr)) // it reports bad texts on standard error
        , msg(transport.make_message({.type = LBM_MSG_REQUEST, .withResponse = true}))
    {
        handler.Initialize();
    }
    ~TriageMutation() override { google::protobuf::SetLogHandler(protobufsLog); }

    /// As one message whose payload changes: the double keeps every message that it makes.
    void Handle(const std::string& payload)
    {
        log.clear();
        transport.clear_calls();
        msg->data = payload.data();
        msg->len = payload.size();
        EXPECT_EQ(handler.handleLbmMessage(msg), 0);
    }

    /// Of this thread, without the contexts' own: how many of them are known meanwhile is nobody's guess.
    FateLines HandlersLinesOfThisThread() const
    {
        auto statements = log.statements();
        const auto thread = std::hash<std::thread::id>()(std::this_thread::get_id());
        std::erase_if(statements, [&](const auto& statement) {
            return statement.threadHash != thread || statement.source.empty();
        });
        return LinesOf(statements);
    }

    google::protobuf::LogHandler* protobufsLog;
    lbm_msg_t* msg;
    lbm::LbmTriageHandler handler;
};

/// Contexts of a thread of their own, which register, move and unregister until they are told to stop.
class RestlessContexts {
public:
    explicit RestlessContexts(lbm::LbmTriageHandler& handler)
        : m_handler(handler)
        , m_thread([this] { ComeAndGo(); })
    {
    }
    ~RestlessContexts()
    {
        m_stop = true;
        m_thread.join();
    }
    RestlessContexts(const RestlessContexts&) = delete;
    RestlessContexts& operator=(const RestlessContexts&) = delete;

private:
    void ComeAndGo()
    {
        lbm::Context first;
        lbm::Context second;
        while (!m_stop) {
            for (const char* name : {"PriceEnvironmentContext", "QxNotify", "", "unknown"}) {
                m_handler.registerContext(name, &first);
                m_handler.moveContext(&first, &second);
                m_handler.unregisterContext(&second);
            }
        }
    }

    lbm::LbmTriageHandler& m_handler;
    std::atomic<bool> m_stop = false;
    std::thread m_thread;
};

} // namespace

TEST_F(TriageMutation, GivenDamagedRequests_WhenHandled_ThenLinesAndAnswersAreThoseThatTheirBytesCallFor)
{
    constexpr int mutations = 100'000;
    const auto seeds = Seeds();
    Mutator mutator(20260301);
    std::map<Outcome, int> met;
    for (int i = 0; i < mutations; ++i) {
        const std::string payload = mutator.Damaged(seeds[static_cast<std::size_t>(i) % seeds.size()]);
        const Fate fate = FateOf(payload);
        Handle(payload);
        ASSERT_EQ(LinesOf(log.statements()), fate.lines) << "mutation " << i;
        ASSERT_EQ(transport.calls("lbm_send_response"), fate.answers) << "mutation " << i;
        ++met[fate.outcome];
    }
    // Each is met often, or the seeds have lost their worth.
    EXPECT_THAT(met, SizeIs(6));
    EXPECT_THAT(met, Each(Pair(_, Gt(mutations / 100))));
}

TEST_F(TriageMutation, GivenContextsThatComeAndGo_WhenDamagedRequestsAreHandled_ThenTheirFateIsTheSame)
{
    constexpr int mutations = 10'000;
    const auto seeds = Seeds();
    Mutator mutator(20260302);
    const RestlessContexts contexts(handler);
    for (int i = 0; i < mutations; ++i) {
        const std::string payload = mutator.Damaged(seeds[static_cast<std::size_t>(i) % seeds.size()]);
        const Fate fate = FateOf(payload);
        Handle(payload);
        ASSERT_EQ(HandlersLinesOfThisThread(), fate.lines) << "mutation " << i;
        ASSERT_EQ(transport.calls("lbm_send_response"), fate.answers) << "mutation " << i;
    }
}
