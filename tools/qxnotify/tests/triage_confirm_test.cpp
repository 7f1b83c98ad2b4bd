#include "qxnotify/triage_confirm.h"

#include <csignal>

#include <gtest/gtest.h>
#include <unistd.h>

#include "pipe.h"

namespace qx::tool {
namespace {

bool answer(std::string_view text)
{
    StopSignals stop;
    Pipe pipe;
    EXPECT_TRUE(pipe.is_open() && (text.empty() || pipe.put(text)));
    pipe.close_writer();
    return ask("really?", pipe.reader(), stop);
}

TEST(Confirmation, GivenYesInAnyForm_WhenRead_ThenYes)
{
    for (const char* text : {"y", "Y", "yes", " YES \r\n"}) {
        EXPECT_TRUE(is_yes(text)) << text;
    }
}

TEST(Confirmation, GivenAnythingElse_WhenRead_ThenNo)
{
    for (const char* text : {"", " ", "n", "no", "yes please", "yy", "\n"}) {
        EXPECT_FALSE(is_yes(text)) << text;
    }
}

TEST(Confirmation, GivenLine_WhenAsked_ThenItDecides)
{
    EXPECT_TRUE(answer("yes\n"));
    EXPECT_FALSE(answer("no\n"));
    EXPECT_FALSE(answer("\nyes\n"));
}

TEST(Confirmation, GivenInputThatEndsBeforeTheLine_WhenAsked_ThenNo)
{
    EXPECT_FALSE(answer(""));
    EXPECT_FALSE(answer("y"));
}

TEST(Confirmation, GivenEndlessLine_WhenAsked_ThenNo)
{
    EXPECT_FALSE(answer(std::string(1'000, ' ') + "yes\n"));
}

TEST(Confirmation, GivenSignal_WhenAsked_ThenNo)
{
    StopSignals stop;
    Pipe pipe;
    ASSERT_TRUE(pipe.put("yes\n"));
    ::kill(::getpid(), SIGINT);
    EXPECT_FALSE(ask("really?", pipe.reader(), stop));
}

} // namespace
} // namespace qx::tool
