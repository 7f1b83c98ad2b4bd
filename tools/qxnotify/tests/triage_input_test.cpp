#include "qxnotify/triage_input.h"

#include <csignal>
#include <functional>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "pipe.h"
#include "qxnotify/output.h"
#include "qxnotify/triage_exit.h"

namespace qx::tool {
namespace {

const InputLimits limits{std::size_t{1} << 20U, "; check it"};

std::string refusal(const std::function<void()>& read)
{
    try {
        read();
    } catch (const TriageSetupError& e) {
        return e.what();
    }
    return "accepted";
}

/// A path that nobody else has, and nothing there afterwards.
class OwnPath {
public:
    OwnPath()
        : m_path(testing::TempDir() + "triage_input_" + std::to_string(::getpid()))
    {
        ::unlink(m_path.c_str());
    }
    ~OwnPath() { ::unlink(m_path.c_str()); }
    OwnPath(const OwnPath&) = delete;
    OwnPath& operator=(const OwnPath&) = delete;
    const std::string& text() const { return m_path; }
    void write(std::string_view bytes) const
    {
        const Descriptor file(::open(m_path.c_str(), O_CREAT | O_TRUNC | O_WRONLY | O_CLOEXEC, 0600));
        EXPECT_EQ(write_all(file.get(), bytes), Written::yes);
    }

private:
    std::string m_path;
};

TEST(TriageInput, GivenFileOfTheLargestSize_WhenRead_ThenEveryByte)
{
    StopSignals stop;
    const OwnPath path;
    const std::string bytes(limits.bytes_max, '\0');
    path.write(bytes);
    EXPECT_EQ(read_file(path.text(), limits, stop), bytes);
}

TEST(TriageInput, GivenOneByteMore_WhenRead_ThenRefused)
{
    StopSignals stop;
    const OwnPath path;
    path.write(std::string(limits.bytes_max + 1, 'x'));
    EXPECT_EQ(refusal([&] { read_file(path.text(), limits, stop); }), path.text() + ": more than 1 MiB; check it");
}

TEST(TriageInput, GivenEmptyFile_WhenRead_ThenNothing)
{
    StopSignals stop;
    EXPECT_EQ(read_file("/dev/null", limits, stop), "");
}

TEST(TriageInput, GivenDirectory_WhenRead_ThenItSaysSo)
{
    StopSignals stop;
    EXPECT_EQ(refusal([&] { read_file("/", limits, stop); }), "/: Is a directory; check it");
}

TEST(TriageInput, GivenPathWithControlCharacters_WhenRefused_ThenTheyAreEscaped)
{
    StopSignals stop;
    EXPECT_EQ(refusal([&] { read_file("/nowhere/a\nb", limits, stop); }),
              "/nowhere/a\\nb: No such file or directory; check it");
}

TEST(TriageInput, GivenPipeThatNobodyWritesTo_WhenASignalComes_ThenItEnds)
{
    StopSignals stop;
    const OwnPath path;
    ASSERT_EQ(::mkfifo(path.text().c_str(), 0600), 0);
    ::kill(::getpid(), SIGTERM);
    EXPECT_EQ(refusal([&] { read_file(path.text(), limits, stop); }), path.text() + ": ended by SIGTERM; check it");
}

} // namespace
} // namespace qx::tool
