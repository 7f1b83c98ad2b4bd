#include "qxnotify/publish_input.h"

#include <csignal>
#include <filesystem>
#include <fstream>
#include <system_error>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "pipe.h"
#include "qxnotify/publish_dry_run.h"
#include "qxnotify/publish_line.h"

namespace qx::tool {
namespace {

using testing::ElementsAre;

/// What a reader makes of the bytes of a pipe, one text a call.
std::vector<std::string> lines_of(std::string_view bytes, std::size_t bytes_max = line_bytes_max)
{
    StopSignals stop;
    Pipe pipe;
    EXPECT_TRUE(pipe.put(bytes));
    pipe.close_writer();
    LineReader reader(pipe.reader(), stop, bytes_max);
    std::vector<std::string> lines;
    std::string line;
    for (ReadResult result = reader.next(line); result != ReadResult::end; result = reader.next(line)) {
        lines.push_back(result == ReadResult::too_long ? "(too long)" : line);
    }
    return lines;
}

class TemporaryFile {
public:
    explicit TemporaryFile(const std::string& content)
        : m_path(std::filesystem::temp_directory_path() /
                 ("qxnotify_input_test." + std::to_string(::getpid()) + "." + std::to_string(s_count++)))
    {
        std::ofstream(m_path) << content;
    }
    ~TemporaryFile() { std::filesystem::remove(m_path); }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;
    const std::string& path() const { return m_path; }

private:
    static inline int s_count = 0;
    std::string m_path;
};

TEST(LineReader, GivenNothing_WhenRead_ThenNoLine)
{
    EXPECT_THAT(lines_of(""), ElementsAre());
}

TEST(LineReader, GivenLines_WhenRead_ThenWithoutTheirLineFeed)
{
    EXPECT_THAT(lines_of("a\n\nb\n"), ElementsAre("a", "", "b"));
}

TEST(LineReader, GivenLastLineWithoutLineFeed_WhenRead_ThenItIsALine)
{
    EXPECT_THAT(lines_of("a\nb"), ElementsAre("a", "b"));
}

TEST(LineReader, GivenLineOfTheLimit_WhenRead_ThenItIsWhole)
{
    EXPECT_THAT(lines_of("abcd\ne", 4), ElementsAre("abcd", "e"));
}

TEST(LineReader, GivenLineBeyondTheLimit_WhenRead_ThenItIsLeftOutAndTheNextOneComes)
{
    EXPECT_THAT(lines_of("abcde\nf\nghijk", 4), ElementsAre("(too long)", "f", "(too long)"));
}

TEST(LineReader, GivenLineInTwoWrites_WhenRead_ThenItIsWhole)
{
    StopSignals stop;
    Pipe pipe;
    LineReader reader(pipe.reader(), stop);
    ASSERT_TRUE(pipe.put("ab\nc"));
    std::string line;
    EXPECT_EQ(reader.next(line), ReadResult::line);
    ASSERT_TRUE(pipe.put("d\n"));
    EXPECT_EQ(reader.next(line), ReadResult::line);
    EXPECT_EQ(line, "cd");
    EXPECT_EQ(reader.bytes_read(), 6U);
}

TEST(LineReader, GivenSilentPipe_WhenASignalComes_ThenStopped)
{
    StopSignals stop;
    Pipe pipe;
    LineReader reader(pipe.reader(), stop);
    ::kill(::getpid(), SIGTERM);
    std::string line;
    EXPECT_EQ(reader.next(line), ReadResult::stopped);
}

TEST(Files, GivenTwoFiles_WhenRead_ThenPlacesNameFileAndLine)
{
    StopSignals stop;
    const TemporaryFile first("a\nb\n");
    const TemporaryFile second("c");
    const auto input = open_files({first.path(), second.path()}, stop);
    std::string line;
    std::vector<std::string> seen;
    while (input->next(line) == ReadResult::line) {
        seen.push_back(line + " " + input->place());
    }
    EXPECT_THAT(seen, ElementsAre("a " + first.path() + ":1", "b " + first.path() + ":2", "c " + second.path() + ":1"));
}

TEST(Files, GivenRegularFile_WhenReadToItsEnd_ThenTheFractionIsOne)
{
    StopSignals stop;
    const TemporaryFile file("a\n");
    const auto input = open_files({file.path()}, stop);
    std::string line;
    EXPECT_FALSE(input->fraction().has_value());
    ASSERT_EQ(input->next(line), ReadResult::line);
    EXPECT_EQ(input->fraction(), 1.0);
}

TEST(Files, GivenMissingFile_WhenRead_ThenTheFailureNamesIt)
{
    StopSignals stop;
    const auto input = open_files({"/nowhere/at all"}, stop);
    std::string line;
    try {
        input->next(line);
        FAIL() << "nothing was thrown";
    } catch (const std::system_error& e) {
        EXPECT_STREQ(e.what(), "/nowhere/at all: No such file or directory");
    }
}

TEST(Files, GivenFolder_WhenRead_ThenItFails)
{
    StopSignals stop;
    const auto input = open_files({std::filesystem::temp_directory_path()}, stop);
    std::string line;
    EXPECT_THROW(input->next(line), std::system_error);
}

TEST(Generator, GivenCount_WhenRead_ThenSoManyLinesAndEachIsANotification)
{
    const auto input = open_generator({50, 3, sample::RecordSize::small}, {42, 7});
    std::string line;
    int lines = 0;
    for (; input->next(line) == ReadResult::line; ++lines) {
        EXPECT_TRUE(std::holds_alternative<Notification>(parse_line(line, {}))) << line;
    }
    EXPECT_EQ(lines, 50);
    EXPECT_EQ(input->fraction(), 1.0);
    EXPECT_EQ(input->place(), "generated record 50");
}

TEST(DryRun, GivenGeneratedLines_WhenWrittenAndReadAgain_ThenTheNotificationsAreTheSame)
{
    const auto input = open_generator({50, 3, sample::RecordSize::typical}, {42, 7});
    std::string written;
    DryRunSender sender([&](std::string_view line) { return written = line, Written::yes; });
    for (std::string line; input->next(line) == ReadResult::line;) {
        const auto sent = std::get<Notification>(parse_line(line, {}));
        ASSERT_EQ(sender.send(sent.market, Fate::product, sent.payload), SendResult::sent);
        const auto again = std::get<Notification>(parse_line(written, {}));
        EXPECT_EQ(again.market, sent.market);
        EXPECT_EQ(again.payload, sent.payload);
    }
}

TEST(DryRun, GivenAnyOtherPayload_WhenWrittenAndReadAgain_ThenItIsTheSame)
{
    for (const std::string payload : {"", "{", R"({"market":1,"et":"x"})", R"({"et":"x")", " {}"}) {
        std::string written;
        DryRunSender sender([&](std::string_view line) { return written = line, Written::yes; });
        sender.send(9, Fate::fatal, payload);
        EXPECT_EQ(std::get<Notification>(parse_line(written, {})).payload, payload);
    }
}

TEST(DryRun, GivenClosedOutput_WhenWritten_ThenItStops)
{
    DryRunSender sender([](std::string_view) { return Written::closed; });
    EXPECT_EQ(sender.send(9, Fate::product, "{}"), SendResult::closed);
}

TEST(DryRun, GivenFailedOutput_WhenWritten_ThenItThrows)
{
    DryRunSender sender([](std::string_view) { return Written::failed; });
    EXPECT_THROW(sender.send(9, Fate::product, "{}"), std::system_error);
}

} // namespace
} // namespace qx::tool
