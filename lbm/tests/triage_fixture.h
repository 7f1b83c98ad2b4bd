/// A triage handler of the test's own, on the transport double, with the log captured.
#pragma once

#include <cstdlib>
#include <sstream>
#include <string>

#include <gmock/gmock.h>

#include <lbm/lbm_cpp.h>

#include "lbm/tests/statement.h"
#include "tests/doubles/captured_log.h"
#include "tests/doubles/lbm_double/lbm_double.h"

namespace lbm::test {

inline constexpr const char* envTopic = "TRIAGE.ACTION.DEV.LBM";
inline constexpr const char* envDcTopic = "TRIAGE.ACTION.DEV.LBM.CH";

/// The variables that configure triage, all unset when it is made and when it ends.
class TriageVariables {
public:
    TriageVariables() { UnsetAll(); }
    ~TriageVariables() { UnsetAll(); }
    TriageVariables(const TriageVariables&) = delete;
    TriageVariables& operator=(const TriageVariables&) = delete;

    void Set(const char* name, const std::string& value) { ::setenv(name, value.c_str(), 1); }
    void Unset(const char* name) { ::unsetenv(name); }

private:
    static void UnsetAll()
    {
        for (const char* name : {"DISABLE_LBM_TRIAGE_HANDLER", "CHEF_ENVIRONMENT", "DATA_CENTER",
                                 "TRIAGE_HANDLER_USE_EVENT_QUEUE", "TRIAGE_HANDLER_MAX_RETRIES",
                                 "TRIAGE_HANDLER_TIME_BETWEEN_RETRIES_MS", "LBM_TRIAGE_HANDLER_TOPIC_PREFIX"}) {
            ::unsetenv(name);
        }
    }
};

/// As log lines show handles and objects.
inline std::string PointerText(const void* pointer)
{
    std::ostringstream text;
    text << pointer;
    return text.str();
}

inline std::string HandleText(Context& context)
{
    return PointerText(static_cast<lbm_context_t*>(context));
}

/// What reaches standard output while `action` runs.
template <class Action>
std::string Printed(Action action)
{
    ::testing::internal::CaptureStdout();
    action();
    return ::testing::internal::GetCapturedStdout();
}

/// A statement that people know by its place.
inline auto TriageStatement(qx::logging::LogLevel level, int line, const std::string& text)
{
    return Statement(level, line, text, "lbm_triage_handler");
}

/// A statement of which only level, source and text matter.
inline auto TriageLine(qx::logging::LogLevel level, const std::string& text)
{
    using qx::test::CapturedStatement;
    using ::testing::Field;
    return ::testing::AllOf(Field("level", &CapturedStatement::level, level), Field("id", &CapturedStatement::id, 0U),
                            Field("decodeType", &CapturedStatement::decodeType, qx::logging::QXLOG_DECODE_AS_KV),
                            Field("source", &CapturedStatement::source, "lbm_triage_handler"),
                            Field("text", &CapturedStatement::text, text),
                            Field("handlerName", &CapturedStatement::handlerName, ""));
}

/// The environment DEV in the data centre CH. The process's own handler is off, so that contexts made here are known to
/// a handler only when a test registers them.
class TriageTest : public ::testing::Test {
protected:
    static void SetUpTestSuite()
    {
        ::setenv("DISABLE_LBM_TRIAGE_HANDLER", "1", 1);
        LbmTriageHandler::getInstance();
    }

    explicit TriageTest(std::int32_t minLevel = qx::logging::QXLOG_DEBUG)
        : log(minLevel)
    {
        variables.Set("CHEF_ENVIRONMENT", "dev");
        variables.Set("DATA_CENTER", "ch");
    }

    TriageVariables variables;
    qx::test::LbmDouble transport;
    qx::test::CapturedLog log;
};

} // namespace lbm::test
