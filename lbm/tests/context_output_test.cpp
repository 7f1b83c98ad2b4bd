// The line that every context leaves on standard output, when the output itself is in trouble or the process is.
#include <cstdio>
#include <iostream>
#include <streambuf>
#include <string>

#include <sys/wait.h>
#include <unistd.h>

#include <gmock/gmock.h>

#include <lbm/lbm_cpp.h>

#include "tests/doubles/lbm_double/lbm_double.h"

using qx::test::LbmDouble;
using ::testing::ElementsAre;

namespace {

/// Refuses every byte: as on a full disk.
class FullDisk : public std::streambuf {};

/// Standard output that refuses everything and throws about it.
class ThrowingOutput {
public:
    ThrowingOutput()
        : m_before(std::cout.rdbuf(&m_disk))
    {
        std::cout.exceptions(std::ios::badbit | std::ios::failbit);
    }
    ~ThrowingOutput()
    {
        std::cout.exceptions(std::ios::goodbit);
        std::cout.rdbuf(m_before); // which clears the error state, too
    }
    ThrowingOutput(const ThrowingOutput&) = delete;
    ThrowingOutput& operator=(const ThrowingOutput&) = delete;

private:
    FullDisk m_disk;
    std::streambuf* m_before;
};

std::string ContentOf(std::FILE* file)
{
    std::rewind(file);
    std::string content;
    for (int c = std::fgetc(file); c != EOF; c = std::fgetc(file)) {
        content += static_cast<char>(c);
    }
    return content;
}

/// With its standard output going to `file` through a full buffer, whatever it went to before; ends without flushing.
[[noreturn]] void DestroyContextAndVanish(std::FILE* file)
{
    dup2(fileno(file), STDOUT_FILENO);
    std::setvbuf(stdout, nullptr, _IOFBF, BUFSIZ);
    {
        const lbm::Context context(lbm::ContextAttributes("Prices"));
    }
    _exit(0);
}

} // namespace

TEST(ContextOutput, GivenOutputThatThrows_WhenDestroyed_ThenTheTransportContextIsDeletedAllTheSame)
{
    LbmDouble transport;
    const ThrowingOutput output;
    {
        const lbm::Context context;
    }
    EXPECT_THAT(transport.calls("lbm_context_delete"), ElementsAre("lbm_context_delete(context#1)"));
}

TEST(ContextOutput, GivenProcessThatVanishesAfterwards_WhenDestroyed_ThenTheLineWasFlushed)
{
    const LbmDouble transport;
    std::FILE* file = std::tmpfile();
    ASSERT_NE(file, nullptr);
    std::fflush(stdout); // or the child inherits what is still to be written
    const pid_t child = fork();
    ASSERT_NE(child, -1);
    if (child == 0) {
        DestroyContextAndVanish(file);
    }
    EXPECT_EQ(waitpid(child, nullptr, 0), child);
    EXPECT_THAT(ContentOf(file), ::testing::MatchesRegex("Destroying LBM context=0x[0-9a-f]+ context_name=Prices\n"));
    std::fclose(file);
}
