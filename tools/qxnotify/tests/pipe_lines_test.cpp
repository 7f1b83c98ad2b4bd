#include "qxnotify/pipe_lines.h"

#include <system_error>

#include <gtest/gtest.h>

#include "pipe.h"

namespace qx::tool {
namespace {

TEST(PipeLines, GivenPartsOfLines_WhenCollected_ThenOnlyWholeLinesComeOut)
{
    Pipe pipe;
    ASSERT_TRUE(pipe.is_open());
    PipeLines lines(pipe.reader());
    ASSERT_TRUE(pipe.put("one\ntw"));
    EXPECT_TRUE(lines.collect());
    EXPECT_EQ(lines.next(), "one");
    EXPECT_EQ(lines.next(), std::nullopt);
    ASSERT_TRUE(pipe.put("o\n\nthree"));
    EXPECT_TRUE(lines.collect());
    EXPECT_EQ(lines.next(), "two");
    EXPECT_EQ(lines.next(), "");
    EXPECT_EQ(lines.next(), std::nullopt);
    pipe.close_writer();
    EXPECT_FALSE(lines.collect());
    EXPECT_EQ(lines.next(), std::nullopt);
}

TEST(PipeLines, GivenNoPipe_WhenCollected_ThenItThrows)
{
    EXPECT_THROW(PipeLines(-1).collect(), std::system_error);
}

} // namespace
} // namespace qx::tool
