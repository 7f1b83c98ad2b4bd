/// When a file makes way for a new one, to the byte.
#include "platform/log_backend/source/line_sinks.h"

#include <filesystem>
#include <fstream>
#include <string>

#include <gtest/gtest.h>

#include "platform/log_backend/tests/file_size_limit.h"
#include "platform/log_backend/tests/temporary_folder.h"

namespace {

using qx::logging::backend::RotatingFileSink;
using qx::test::contents;
using qx::test::FileSizeLimit;
using qx::test::TemporaryFolder;

constexpr std::size_t bytesMax = 20;

void write(RotatingFileSink& sink, std::string_view line)
{
    sink.log(spdlog::details::log_msg({}, spdlog::level::info, spdlog::string_view_t(line.data(), line.size())));
}

TEST(RotatingFile, GivenALineThatJustFits_WhenWritten_ThenTheFileStays)
{
    const TemporaryFolder folder;
    RotatingFileSink sink((folder / "log").string(), bytesMax, 2);
    write(sink, "123456789\n");
    write(sink, "abcdefghi\n");
    EXPECT_EQ(contents(folder / "log"), "123456789\nabcdefghi\n");
    write(sink, "\n");
    EXPECT_EQ(contents(folder / "log"), "\n");
    EXPECT_EQ(contents(folder / "log.1"), "123456789\nabcdefghi\n");
}

TEST(RotatingFile, GivenBytesOfAnEarlierRun_WhenALineWouldPassTheLimit_ThenTheyCounted)
{
    const TemporaryFolder folder;
    std::ofstream(folder / "log") << "fifteen bytes..";
    RotatingFileSink sink((folder / "log").string(), bytesMax, 2);
    write(sink, "123456\n");
    EXPECT_EQ(contents(folder / "log"), "123456\n");
    EXPECT_EQ(contents(folder / "log.1"), "fifteen bytes..");
}

TEST(RotatingFile, GivenALineLongerThanTheLimit_WhenWritten_ThenItIsWholeInAFileOfItsOwn)
{
    const TemporaryFolder folder;
    RotatingFileSink sink((folder / "log").string(), bytesMax, 3);
    const std::string longLine = std::string(2 * bytesMax, 'x') + '\n';
    write(sink, "before\n");
    write(sink, longLine);
    write(sink, "after\n");
    EXPECT_EQ(contents(folder / "log.2"), "before\n");
    EXPECT_EQ(contents(folder / "log.1"), longLine);
    EXPECT_EQ(contents(folder / "log"), "after\n");
}

TEST(RotatingFile, GivenOneFileAndALineThatBrokeOff_WhenItStartsAnew_ThenItBeginsWithTheNextLine)
{
    const TemporaryFolder folder;
    RotatingFileSink sink((folder / "log").string(), bytesMax, 1);
    write(sink, "1234567\n");
    {
        const FileSizeLimit limit(10);
        EXPECT_THROW(write(sink, "abcdefg\n"), std::exception);
    }
    write(sink, "12345678901234\n");
    EXPECT_EQ(contents(folder / "log"), "12345678901234\n");
}

} // namespace
