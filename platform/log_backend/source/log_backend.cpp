/// The four names that <logger/logger.h> asks a back end for, except for the thread's stream.
#include <cstdlib>
#include <ctime>

#include <logger/logger.h>
#include <spdlog/details/os.h>

#include "backend.h"
#include "config.h"
#include "report.h"

namespace qx::logging {

namespace {

std::int32_t minLevelFromEnvironment()
{
    const auto reading = backend::readMinLevel([](const char* name) { return std::getenv(name); });
    for (const auto& complaint : reading.complaints) {
        backend::report(complaint);
    }
    return reading.value;
}

struct MinLevelSetter {
    MinLevelSetter() { g_minLogLevel = minLevelFromEnvironment(); }
};

LogRecord::Time now()
{
    std::timespec time{};
    clock_gettime(CLOCK_REALTIME, &time);
    return {time.tv_sec, time.tv_nsec};
}

} // namespace

// Right in two steps: a constant before any code runs, and the environment's word before the static objects of the
// other files of this image are made, hence the earliest priority that is not reserved.
constinit std::atomic<std::int32_t> g_minLogLevel{QXLOG_INFO_SEARCH};

namespace {
[[gnu::init_priority(101)]] const MinLevelSetter minLevelSetter;
}

void LogMessage(LogLevel level, unsigned id, DecodeType decodeType, const ConstSourcePtr& source, const char* file,
                int line, const String& text, const String& handlerName)
{
    // Statements end in destructors: what escaped here would end the host program.
    try {
        const LogRecord record{level, id, decodeType, source, file, line, text, now(), spdlog::details::os::thread_id(),
                               {}};
        backend::Backend::instance().write(record, handlerName);
    } catch (const std::exception& failure) {
        backend::reportLoss(failure.what());
    } catch (...) {
        backend::reportLoss("not a std::exception");
    }
}

void ForceLockHandlers()
{
    // Every sink locks itself for exactly one line, so there is nothing left to lock ahead.
}

} // namespace qx::logging
