/// How a statement reaches the back end, step by step. This program is its own back end, which looks at the statement
/// from inside and can be made to fail.
#include <atomic>
#include <cstdlib>
#include <functional>
#include <iomanip>
#include <new>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <logger/logger.h>

#include "tests/doubles/allocation_count.h"

namespace {

using namespace qx::logging;
using qx::test::allocationCount;
using qx::test::failNextAllocation;
using testing::ElementsAre;

struct BackEnd {
    std::vector<std::string> calls;
    std::function<void(const ConstSourcePtr&, const char* file)> onMessage;
};
BackEnd* current = nullptr;

/// Installs a recording back end for one test.
struct Installed : BackEnd {
    Installed() { current = this; }
    ~Installed() { current = nullptr; }
    Installed(const Installed&) = delete;
    Installed& operator=(const Installed&) = delete;
};

} // namespace

namespace qx::logging {

std::atomic<std::int32_t> g_minLogLevel{QXLOG_INFO};

void LogMessage(LogLevel, unsigned, DecodeType, const ConstSourcePtr& source, const char* file, int, const String& text,
                const String&)
{
    if (current != nullptr) {
        current->calls.push_back("message '" + text + "', stream '" + GetThreadLocalStream().str() + "'");
    }
    if (current != nullptr && current->onMessage) {
        current->onMessage(source, file);
    }
}

void ForceLockHandlers()
{
    if (current != nullptr) {
        current->calls.push_back("lock, stream '" + GetThreadLocalStream().str() + "'");
    }
}

IPStringStream& GetThreadLocalStream()
{
    thread_local IPStringStream stream;
    return stream;
}

} // namespace qx::logging

namespace {

TEST(Emission, GivenAStatement_WhenItEnds_ThenHandlersAreLockedBeforeTheTextIsTakenAndTheBufferResetAfter)
{
    const Installed backEnd;
    QX_LOG(QXLOG_INFO) << "text";
    EXPECT_THAT(backEnd.calls, ElementsAre("lock, stream 'text'", "message 'text', stream 'text'"));
    EXPECT_EQ(GetThreadLocalStream().str(), "");
}

TEST(Emission, GivenManipulators_WhenTheMessageIsDelivered_ThenTheyAreOnlyResetAfterwards)
{
    Installed backEnd;
    bool hexadecimal = false;
    backEnd.onMessage = [&](const ConstSourcePtr&, const char*) {
        hexadecimal = (GetThreadLocalStream().flags() & std::ios_base::hex) != 0;
    };
    QX_LOG(QXLOG_INFO) << std::hex;
    EXPECT_TRUE(hexadecimal);
    EXPECT_FALSE(GetThreadLocalStream().flags() & std::ios_base::hex);
}

TEST(Emission, GivenAFileName_WhenTheMessageIsDelivered_ThenItIsTheVeryPointer)
{
    static const char file[] = "some/file.cpp";
    Installed backEnd;
    const char* delivered = nullptr;
    backEnd.onMessage = [&](const ConstSourcePtr&, const char* given) { delivered = given; };
    QX_LOG_AT(QXLOG_INFO, ConstSourcePtr{}, file, 1) << "text";
    EXPECT_EQ(static_cast<const void*>(delivered), static_cast<const void*>(file));
}

TEST(Emission, GivenASource_WhenTheStatementRuns_ThenItIsSharedAndThenReleased)
{
    Installed backEnd;
    const ConstSourcePtr source = MakeSource("origin");
    long during = 0;
    const Source* delivered = nullptr;
    backEnd.onMessage = [&](const ConstSourcePtr& given, const char*) {
        during = source.use_count();
        delivered = given.get();
    };
    QX_LOG_AT(QXLOG_INFO, source, "f", 1) << "text";
    EXPECT_EQ(delivered, source.get());
    EXPECT_EQ(during, 2);
    EXPECT_EQ(source.use_count(), 1);
}

TEST(Emission, GivenTheCallersSourceIsGone_WhenTheStatementEnds_ThenItStillHasItsOwn)
{
    Installed backEnd;
    std::string name;
    backEnd.onMessage = [&](const ConstSourcePtr& given, const char*) { name = given->Name(); };
    {
        ConstSourcePtr source = MakeSource("origin");
        Logger logger(QXLOG_INFO, 0, QXLOG_DECODE_AS_KV, source, "f", 1, {});
        source.reset();
    }
    EXPECT_EQ(name, "origin");
}

TEST(EmissionCost, GivenASuppressedStatement_WhenReached_ThenNothingIsAllocated)
{
    const std::string text(100, 'x');
    const int before = allocationCount();
    QX_LOG(QXLOG_DEBUG) << text;
    EXPECT_EQ(allocationCount(), before);
}

TEST(EmissionCost, GivenAWarmStream_WhenAStatementIsEmitted_ThenOnlyItsTextIsAllocated)
{
    const std::string text(100, 'x');
    QX_LOG(QXLOG_INFO) << text;
    const int before = allocationCount();
    QX_LOG(QXLOG_INFO) << text;
    EXPECT_EQ(allocationCount(), before + 1);
}

TEST(EmissionCost, GivenMakeSource_WhenMade_ThenCounterAndObjectShareOneAllocation)
{
    const int before = allocationCount();
    const auto source = MakeSource("short");
    EXPECT_EQ(allocationCount(), before + 1);
}

TEST(EmissionDeathTest, GivenABackEndThatThrows_WhenAStatementEnds_ThenTheProcessEnds)
{
    Installed backEnd;
    backEnd.onMessage = [](const ConstSourcePtr&, const char*) { throw std::bad_alloc{}; };
    EXPECT_DEATH(
        {
            try {
                QX_LOG(QXLOG_INFO) << "text";
            } catch (const std::bad_alloc&) {
                std::_Exit(0); // it came out of the statement: the death that the test waits for does not happen
            }
        },
        "bad_alloc");
}

TEST(EmissionDeathTest, GivenNoMemoryForTheCopyOfTheText_WhenAStatementEnds_ThenTheProcessEnds)
{
    const std::string text(100, 'x');
    QX_LOG(QXLOG_INFO) << text; // the stream has its memory from here on: only the copy is left to allocate
    EXPECT_DEATH(
        {
            try {
                Logger logger(QXLOG_INFO, 0, QXLOG_DECODE_AS_KV, {}, "f", 1, {});
                logger.Stream() << text;
                failNextAllocation();
            } catch (const std::bad_alloc&) {
                std::_Exit(0); // it came out of the statement: the death that the test waits for does not happen
            }
        },
        "terminate called"); // optimised code ends before the exception has become the current one, so it has no name
}

} // namespace
