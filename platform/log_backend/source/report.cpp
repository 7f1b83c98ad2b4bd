#include "report.h"

#include <atomic>
#include <cstdio>
#include <exception>
#include <string>

#include "escape.h"

namespace qx::logging::backend {

namespace {

void writeLine(std::string_view introduction, std::string_view what) noexcept
{
    try {
        std::string line = "qx log: ";
        line += introduction;
        appendEscapedText(line, what);
        line += '\n';
        // One write, so that the line stays whole.
        static_cast<void>(std::fwrite(line.data(), 1, line.size(), stderr));
    } catch (const std::exception&) {
        return; // no memory for the words: nobody is left to tell
    }
}

} // namespace

void report(std::string_view what) noexcept
{
    writeLine("", what);
}

void reportLoss(std::string_view why) noexcept
{
    static std::atomic_flag reported = ATOMIC_FLAG_INIT;
    if (reported.test_and_set()) {
        return;
    }
    writeLine("trouble writing log lines, reported this once: ", why);
}

} // namespace qx::logging::backend
