#include "qxnotify/output.h"

#include <array>
#include <csignal>
#include <string>
#include <thread>

#include <gtest/gtest.h>

#include "pipe.h"
#include "qxnotify/progress.h"

namespace qx::tool {
namespace {

TEST(WriteAll, GivenMoreThanAPipeHolds_WhenWritten_ThenEverythingArrives)
{
    Pipe pipe;
    ASSERT_TRUE(pipe.is_open());
    const std::string text(1'000'000, 'x');
    std::string received;
    std::jthread reader([&] {
        std::array<char, 4'096> buffer{};
        for (ssize_t n = 1; n > 0;) {
            n = ::read(pipe.reader(), buffer.data(), buffer.size());
            received.append(buffer.data(), static_cast<std::size_t>(n > 0 ? n : 0));
        }
    });
    EXPECT_EQ(write_all(pipe.writer(), text), Written::yes);
    pipe.close_writer();
    reader.join();
    EXPECT_EQ(received, text);
}

TEST(WriteAll, GivenPipeThatNobodyReads_WhenWritten_ThenClosed)
{
    std::signal(SIGPIPE, SIG_IGN);
    Pipe pipe;
    ASSERT_TRUE(pipe.is_open());
    pipe.close_reader();
    EXPECT_EQ(write_all(pipe.writer(), "x"), Written::closed);
}

TEST(WriteAll, GivenBadDescriptor_WhenWritten_ThenFailed)
{
    EXPECT_EQ(write_all(-1, "x"), Written::failed);
}

TEST(WriteAll, GivenNothing_WhenWritten_ThenYesWithoutTouchingTheDescriptor)
{
    EXPECT_EQ(write_all(-1, ""), Written::yes);
}

TEST(Progress, GivenUnknownEnd_WhenRendered_ThenThereIsNoBar)
{
    EXPECT_EQ(render_progress({{}, 12, 1}), "12 sent, 1 refused");
}

TEST(Progress, GivenNothingDone_WhenRendered_ThenTheBarIsEmpty)
{
    EXPECT_EQ(render_progress({0.0, 0, 0}), "[..............................]   0 %  0 sent, 0 refused");
}

TEST(Progress, GivenAllDone_WhenRendered_ThenTheBarIsFull)
{
    EXPECT_EQ(render_progress({1.0, 5, 0}), "[##############################] 100 %  5 sent, 0 refused");
}

TEST(Progress, GivenMoreThanAll_WhenRendered_ThenItStaysAtAHundred)
{
    EXPECT_EQ(render_progress({1.5, 5, 0}), render_progress({1.0, 5, 0})); // a file that grew while it was read
}

} // namespace
} // namespace qx::tool
