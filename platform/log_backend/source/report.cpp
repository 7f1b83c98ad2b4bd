#include "report.h"

#include <atomic>
#include <exception>
#include <string>

#include <unistd.h>

#include "escape.h"
#include "line_writer.h"

namespace qx::logging::backend {

namespace {

void writeLine(std::string_view introduction, std::string_view what) noexcept
{
    try {
        std::string line = "qx log: ";
        line += introduction;
        appendEscapedText(line, what);
        line += '\n';
        LineWriter(STDERR_FILENO).write(line);
    } catch (const std::exception&) {
        return; // no memory for the words, or nowhere to write them: nobody is left to tell
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
