/// QX_LOG_FILE and its rotation, QX_LOG_ASYNC, and what happens when lines cannot be written.
#include <filesystem>
#include <string>

#include <gmock/gmock.h>
#include <sys/stat.h>

#include "platform/log_backend/tests/child.h"
#include "platform/log_backend/tests/temporary_folder.h"

namespace {

using qx::test::linesOfFile;
using qx::test::runLogChild;
using qx::test::TemporaryFolder;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;

constexpr std::uintmax_t megabyte = 1024UL * 1024UL;

std::string fileVariable(const std::filesystem::path& path)
{
    return "QX_LOG_FILE=" + path.string();
}

/// That the lines "n=<first>" to "n=<last>" stand there in this order.
void expectNumbered(const std::vector<std::string>& lines, int first, int last)
{
    ASSERT_EQ(lines.size(), static_cast<std::size_t>(last - first + 1));
    for (int n = first; n <= last; ++n) {
        ASSERT_THAT(lines[static_cast<std::size_t>(n - first)], HasSubstr(" n=" + std::to_string(n) + " "));
    }
}

TEST(LogFile, GivenAPath_WhenLogging_ThenLinesGoThereAndNotToStandardError)
{
    const TemporaryFolder folder;
    EXPECT_THAT(runLogChild("chain", {fileVariable(folder / "log")}).err, IsEmpty());
    EXPECT_THAT(linesOfFile(folder / "log"), ElementsAre(EndsWith(" text")));
}

TEST(LogFile, GivenAnEarlierRun_WhenLoggingAgain_ThenLinesAreAppended)
{
    const TemporaryFolder folder;
    runLogChild("chain", {fileVariable(folder / "log")});
    runLogChild("chain", {fileVariable(folder / "log")});
    EXPECT_THAT(linesOfFile(folder / "log"), SizeIs(2));
}

TEST(LogFile, GivenAPath_WhenAStatementNamesAHandler_ThenItGoesToThatSink)
{
    const TemporaryFolder folder;
    const auto result = runLogChild("handlers", {fileVariable(folder / "log")});
    EXPECT_THAT(result.out, ElementsAre(EndsWith("to:stdout")));
    EXPECT_THAT(result.err, ElementsAre(EndsWith("to:stderr"), HasSubstr("no handler is named 'nowhere'")));
    EXPECT_THAT(linesOfFile(folder / "log"),
                ElementsAre(EndsWith("to:"), EndsWith("to:file"), EndsWith("to:nowhere"), EndsWith("to:nowhere")));
}

TEST(LogFile, GivenASizeAndACount_WhenManyLinesAreWritten_ThenTheYoungestAreKeptInWholeLines)
{
    const TemporaryFolder folder;
    const auto path = folder / "log";
    runLogChild("megabytes", {fileVariable(path), "QX_LOG_FILE_SIZE_MB=1", "QX_LOG_FILE_COUNT=3"});

    auto lines = linesOfFile(path.string() + ".2");
    for (const auto& younger : {path.string() + ".1", path.string()}) {
        EXPECT_LE(std::filesystem::file_size(younger), megabyte);
        const auto more = linesOfFile(younger);
        lines.insert(lines.end(), more.begin(), more.end());
    }
    EXPECT_GT(std::filesystem::file_size(path.string() + ".1"), megabyte - 2000);
    EXPECT_FALSE(std::filesystem::exists(path.string() + ".3"));
    expectNumbered(lines, 3500 - static_cast<int>(lines.size()), 3499);
}

TEST(LogFile, GivenACountOfOne_WhenTheFileIsFull_ThenItStartsAnew)
{
    const TemporaryFolder folder;
    runLogChild("megabytes", {fileVariable(folder / "log"), "QX_LOG_FILE_SIZE_MB=1", "QX_LOG_FILE_COUNT=1"});
    const auto lines = linesOfFile(folder / "log");
    expectNumbered(lines, 3500 - static_cast<int>(lines.size()), 3499);
    EXPECT_LE(std::filesystem::file_size(folder / "log"), megabyte);
    EXPECT_FALSE(std::filesystem::exists(folder / "log.1"));
}

TEST(LogFile, GivenASymbolicLink_WhenTheFileIsFull_ThenTheFileItNamesRotates)
{
    const TemporaryFolder folder;
    std::filesystem::create_symlink(folder / "real", folder / "link");
    runLogChild("megabytes", {fileVariable(folder / "link"), "QX_LOG_FILE_SIZE_MB=1"});
    EXPECT_TRUE(std::filesystem::is_symlink(folder / "link"));
    EXPECT_TRUE(std::filesystem::exists(folder / "real.3"));
}

TEST(LogFile, GivenAPathThatCannotBeOpened_WhenLogging_ThenReportedOnceAndLinesGoToStandardError)
{
    const TemporaryFolder folder;
    EXPECT_THAT(runLogChild("chain", {fileVariable(folder / "no" / "log")}).err,
                ElementsAre(StartsWith("qx log: QX_LOG_FILE cannot be opened"), EndsWith(" text")));
}

TEST(LogFile, GivenAFullDisk_WhenLogging_ThenReportedOnceAndTheProgramGoesOn)
{
    const auto result = runLogChild("lines", {"QX_LOG_FILE=/dev/full"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_THAT(result.err, ElementsAre(HasSubstr("reported this once: write: No space left")));
}

TEST(LogFile, GivenRotationThatFails_WhenLogging_ThenReportedOnceAndNoLineIsLost)
{
    const TemporaryFolder folder;
    std::filesystem::create_directories(folder / "log.1"); // a folder cannot be replaced by the full file
    const auto result =
        runLogChild("megabytes", {fileVariable(folder / "log"), "QX_LOG_FILE_SIZE_MB=1", "QX_LOG_FILE_COUNT=2"});
    EXPECT_THAT(result.err, ElementsAre(HasSubstr("reported this once: renaming ")));
    expectNumbered(linesOfFile(folder / "log"), 0, 3499);
}

TEST(LogAsync, GivenTheSmallestQueue_WhenLogging_ThenEveryLineIsWrittenInOrder)
{
    expectNumbered(runLogChild("lines", {"QX_LOG_ASYNC=1"}).err, 0, 49);
}

TEST(LogAsync, GivenAQueueThatHoldsEverything_WhenTheProgramEnds_ThenItIsEmptiedFirst)
{
    expectNumbered(runLogChild("lines", {"QX_LOG_ASYNC=100"}).err, 0, 49);
}

TEST(LogAsync, GivenACallOfExit_WhenLinesAreQueued_ThenTheyAreWrittenFirst)
{
    expectNumbered(runLogChild("exit", {"QX_LOG_ASYNC=100"}).err, 0, 49);
}

TEST(LogAsync, GivenManyThreads_WhenLogging_ThenNoLineIsLostOrMixed)
{
    const auto result = runLogChild("threads", {"QX_LOG_ASYNC=3"});
    EXPECT_THAT(result.err, SizeIs(800));
    EXPECT_THAT(result.err, testing::Each(testing::ContainsRegex(" (a{300}|b{300}|c{300}|d{300}|e{300}|f{300}|g{300}|"
                                                                 "h{300})$")));
}

TEST(LogAsync, GivenAStaticObject_WhenItLogsAfterTheQueueEnded_ThenItsLineComesLast)
{
    EXPECT_THAT(runLogChild("chain", {"LOG_CHILD_STATIC=1", "QX_LOG_ASYNC=10"}).err,
                ElementsAre(EndsWith("made before main"), EndsWith(" text"), EndsWith("destroyed after main")));
}

TEST(LogAsync, GivenAFullDisk_WhenLogging_ThenReportedOnceAndTheProgramGoesOn)
{
    const auto result = runLogChild("lines", {"QX_LOG_FILE=/dev/full", "QX_LOG_ASYNC=10"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_THAT(result.err, ElementsAre(HasSubstr("reported this once: write: No space left")));
}

} // namespace
