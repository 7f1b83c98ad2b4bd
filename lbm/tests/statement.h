/// Matching one captured log statement of the wrapper, all fields at once.
#pragma once

#include <string>

#include <gmock/gmock.h>

#include <lbm/error.h>

#include "tests/doubles/captured_log.h"

namespace lbm::test {

/// A statement as every one of the wrapper is: id 0, key-value text, no source, no handler, the wrapper's fixed file.
inline auto Statement(qx::logging::LogLevel level, int line, const std::string& text, const std::string& source = "")
{
    using qx::test::CapturedStatement;
    using ::testing::Field;
    return ::testing::AllOf(Field("level", &CapturedStatement::level, level), Field("id", &CapturedStatement::id, 0U),
                            Field("decodeType", &CapturedStatement::decodeType, qx::logging::QXLOG_DECODE_AS_KV),
                            Field("source", &CapturedStatement::source, source),
                            Field("file", &CapturedStatement::file, "lbm/include/lbm/lbm_cpp"),
                            Field("line", &CapturedStatement::line, line),
                            Field("text", &CapturedStatement::text, text),
                            Field("handlerName", &CapturedStatement::handlerName, ""));
}

/// Names typed cases after their `kind`, for TYPED_TEST_SUITE.
struct KindNames {
    template <class Case>
    static std::string GetName(int)
    {
        return Case::kind;
    }
};

/// The text of the LbmError that `operation` throws; "no LbmError" when it returns. Others pass through.
template <class Operation>
std::string ThrownText(Operation operation)
{
    try {
        operation();
    } catch (const lbm::LbmError& error) {
        return error.what();
    }
    return "no LbmError";
}

} // namespace lbm::test
