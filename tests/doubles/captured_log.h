/// A log back end for tests: keeps every statement instead of writing it.
///
/// Link `qx::captured_log` and make a `CapturedLog` in the test: from then on, until it is destroyed, the statements of
/// all threads are collected and `g_minLogLevel` is the one asked for. Without a living CapturedLog statements vanish.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <logger/logger.h>

namespace qx::test {

struct CapturedStatement {
    logging::LogLevel level;
    unsigned id;
    logging::DecodeType decodeType;
    std::string source; ///< the source's name, "" when the statement names none
    std::string file;
    int line;
    std::string text;
    std::string handlerName;
    std::size_t threadHash; ///< of the emitting thread's id
};

class CapturedLog {
public:
    explicit CapturedLog(std::int32_t minLevel = logging::QXLOG_DEBUG);
    ~CapturedLog();
    CapturedLog(const CapturedLog&) = delete;
    CapturedLog& operator=(const CapturedLog&) = delete;

    std::vector<CapturedStatement> statements() const;
    std::vector<std::string> texts() const;
    /// The texts of the statements of exactly this level.
    std::vector<std::string> texts(logging::LogLevel level) const;
    void clear();
    /// How often the emission of a statement announced itself to the back end.
    int force_lock_calls() const;

private:
    std::int32_t m_previousLevel;
};

} // namespace qx::test
