/// A program that logs as its first argument says; the tests run it with an environment and read what it wrote.
#include <cstdlib>
#include <functional>
#include <map>
#include <string>
#include <thread>
#include <vector>

#include <logger/logger.h>

#include "platform/log_backend/tests/host_scenarios.h"

namespace {

using namespace qx::logging;

/// Logs while it is made, before main, and while it is destroyed, after the main thread's own objects.
struct StaticObject {
    StaticObject() { say("made before main"); }
    ~StaticObject() { say("destroyed after main"); }
    StaticObject(const StaticObject&) = delete;
    StaticObject& operator=(const StaticObject&) = delete;

    void say(const char* text) const
    {
        if (m_speaks) {
            QX_LOG(QXLOG_WARNING) << text;
        }
    }
    const bool m_speaks = std::getenv("LOG_CHILD_STATIC") != nullptr;
};
const StaticObject staticObject;

struct ThreadLocalObject {
    ThreadLocalObject() = default;
    ~ThreadLocalObject() { QX_LOG(QXLOG_WARNING) << "thread-local object destroyed"; }
    ThreadLocalObject(const ThreadLocalObject&) = delete;
    ThreadLocalObject& operator=(const ThreadLocalObject&) = delete;
};

void levels()
{
    QX_LOG(QXLOG_DEBUG) << "debug";
    QX_LOG(QXLOG_INFO) << "info";
    QX_LOG(QXLOG_INFO_LOCAL) << "info local";
    QX_LOG(QXLOG_INFO_SEARCH) << "info search";
    QX_LOG(QXLOG_WARNING) << "warning";
    QX_LOG(QXLOG_ERROR) << "error";
    QX_LOG(QXLOG_ALERT) << "alert";
    QX_LOG(QXLOG_CRITICAL) << "critical";
    QX_LOG(QXLOG_WALL) << "wall";
}

void forge()
{
    QX_LOG(QXLOG_ERROR) << "id=1\n2026-01-01T00:00:00.000000Z 1 ERROR - a.cpp:1 forged\r\x1b[2J\x7f\\n\xC3\xA9\xFF";
}

void chain()
{
    const auto inner = MakeSource("inner", MakeSource("outer"));
    QX_LOG_AT(QXLOG_ERROR, inner, "some/file.cpp", 7) << "text";
}

void handlers()
{
    for (const char* name : {"", "stderr", "stdout", "file", "nowhere", "nowhere"}) {
        LogMessage(QXLOG_ERROR, 0, QXLOG_DECODE_AS_KV, {}, "f.cpp", 1, std::string("to:") + name, name);
    }
}

/// Numbered lines of about 1 kB.
void manyLines(int count)
{
    for (int i = 0; i < count; ++i) {
        QX_LOG(QXLOG_ERROR) << "n=" << i << " " << std::string(1000, '.');
    }
}

void threads()
{
    std::vector<std::thread> workers;
    for (char letter = 'a'; letter < 'i'; ++letter) {
        workers.emplace_back([letter] {
            for (int i = 0; i < 100; ++i) {
                QX_LOG(QXLOG_ERROR) << std::string(300, letter);
            }
        });
    }
    for (auto& worker : workers) {
        worker.join();
    }
}

void threadLocals()
{
    std::thread([] {
        thread_local const ThreadLocalObject object; // made before the thread's stream, so destroyed after it
        static_cast<void>(&object);
        QX_LOG(QXLOG_WARNING) << "first statement of the thread";
    }).join();
}

void exitFromMain()
{
    manyLines(50);
    std::exit(0); // NOLINT(concurrency-mt-unsafe): the very thing under test
}

} // namespace

int main(int argc, char** argv)
{
    const std::map<std::string, std::function<void()>> scenarios{
        {"levels", levels},
        {"forge", forge},
        {"chain", chain},
        {"handlers", handlers},
        {"lines", [] { manyLines(50); }},
        {"megabytes", [] { manyLines(3500); }},
        {"threads", threads},
        {"thread-locals", threadLocals},
        {"exit", exitFromMain},
        {"closed-error", qx::test::closedError},
        {"closed-output", qx::test::closedOutput},
        {"fork", qx::test::forkAndLogInBoth},
        {"fork-while-logging", qx::test::forkWhileThreadsLog},
        {"show-threads", qx::test::showThreads},
        {"forty-names", qx::test::fortyHandlerNames},
        {"key-destructor", qx::test::logInKeyDestructor},
        {"hundred-threads", qx::test::hundredThreads},
        {"nothing", [] {}},
    };
    const auto scenario = scenarios.find(argc == 2 ? argv[1] : "");
    if (scenario == scenarios.end()) {
        return 2;
    }
    scenario->second();
    return 0;
}
