#include "tests/doubles/captured_log.h"

#include <deque>
#include <functional>
#include <mutex>
#include <thread>

namespace {

struct Collected {
    std::mutex lock;
    bool collecting = false;
    int forceLockCalls = 0;
    std::vector<qx::test::CapturedStatement> statements;
    std::deque<qx::logging::IPStringStream> streams; ///< of every thread that ever logged
};

Collected& collected()
{
    static auto* instance = new Collected; // never destroyed: static objects under test may log while the program exits
    return *instance;
}

} // namespace

namespace qx::logging {

std::atomic<std::int32_t> g_minLogLevel{QXLOG_WALL + 1};

void LogMessage(LogLevel level, unsigned id, DecodeType decodeType, const ConstSourcePtr& source, const char* file,
                int line, const String& text, const String& handlerName)
{
    const std::scoped_lock guard(collected().lock);
    if (!collected().collecting) {
        return;
    }
    collected().statements.push_back({level, id, decodeType, source ? source->Name() : "", file, line, text,
                                      handlerName, std::hash<std::thread::id>{}(std::this_thread::get_id())});
}

void ForceLockHandlers()
{
    const std::scoped_lock guard(collected().lock);
    ++collected().forceLockCalls;
}

IPStringStream& GetThreadLocalStream()
{
    // Kept beyond the thread: static objects under test log after the main thread's own objects are gone.
    thread_local IPStringStream* const stream = [] {
        const std::scoped_lock guard(collected().lock);
        return &collected().streams.emplace_back();
    }();
    return *stream;
}

} // namespace qx::logging

namespace qx::test {

CapturedLog::CapturedLog(std::int32_t minLevel)
    : m_previousLevel(logging::g_minLogLevel.exchange(minLevel))
{
    const std::scoped_lock guard(collected().lock);
    collected().statements.clear();
    collected().forceLockCalls = 0;
    collected().collecting = true;
}

CapturedLog::~CapturedLog()
{
    logging::g_minLogLevel = m_previousLevel;
    const std::scoped_lock guard(collected().lock);
    collected().collecting = false;
}

std::vector<CapturedStatement> CapturedLog::statements() const
{
    const std::scoped_lock guard(collected().lock);
    return collected().statements;
}

std::vector<std::string> CapturedLog::texts() const
{
    std::vector<std::string> texts;
    for (const auto& statement : statements()) {
        texts.push_back(statement.text);
    }
    return texts;
}

std::vector<std::string> CapturedLog::texts(logging::LogLevel level) const
{
    std::vector<std::string> texts;
    for (const auto& statement : statements()) {
        if (statement.level == level) {
            texts.push_back(statement.text);
        }
    }
    return texts;
}

void CapturedLog::clear()
{
    const std::scoped_lock guard(collected().lock);
    collected().statements.clear();
}

int CapturedLog::force_lock_calls() const
{
    const std::scoped_lock guard(collected().lock);
    return collected().forceLockCalls;
}

} // namespace qx::test
