#include "platform/log_backend/source/line_writer.h"

#include <array>
#include <chrono>
#include <csignal>
#include <string>
#include <system_error>
#include <thread>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <pthread.h>
#include <unistd.h>

#include "platform/log_backend/tests/file_size_limit.h"
#include "platform/log_backend/tests/temporary_folder.h"

namespace {

using qx::logging::backend::LineWriter;
using qx::test::contents;
using qx::test::FileSizeLimit;
using qx::test::TemporaryFolder;

struct Descriptor {
    explicit Descriptor(int opened)
        : number(opened)
    {
    }
    ~Descriptor() { reset(); }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    void reset()
    {
        if (number >= 0) {
            close(number);
        }
        number = -1;
    }
    int number;
};

std::array<int, 2> pipeEnds(int flags)
{
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC | flags) != 0) {
        throw std::system_error(errno, std::generic_category(), "pipe2");
    }
    return ends;
}

struct Pipe {
    explicit Pipe(int flags = 0)
        : Pipe(pipeEnds(flags))
    {
    }
    explicit Pipe(std::array<int, 2> ends)
        : read(ends[0])
        , write(ends[1])
    {
    }
    Descriptor read;
    Descriptor write;
};

int errorOf(int descriptor, std::string_view line)
{
    try {
        LineWriter(descriptor).write(line);
        return 0;
    } catch (const std::system_error& failure) {
        return failure.code().value();
    }
}

bool isPending(int signal)
{
    sigset_t pending{};
    sigpending(&pending);
    return sigismember(&pending, signal) == 1;
}

bool isBlocked(int signal)
{
    sigset_t mask{};
    pthread_sigmask(SIG_SETMASK, nullptr, &mask);
    return sigismember(&mask, signal) == 1;
}

bool isFull(int descriptor)
{
    pollfd asked{descriptor, POLLOUT, 0};
    return poll(&asked, 1, 0) == 0;
}

TEST(LineWriter, GivenALineThatBrokeOff_WhenTheNextIsWritten_ThenItBeginsOnALineOfItsOwn)
{
    const TemporaryFolder folder;
    const Descriptor file(open((folder / "log").c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600));
    LineWriter writer(file.number);
    {
        const FileSizeLimit limit(10);
        EXPECT_THROW(writer.write("0123456789abc\n"), std::system_error);
    }
    writer.write("next\n");
    writer.write("last\n");
    EXPECT_EQ(contents(folder / "log"), "0123456789\nnext\nlast\n");
}

TEST(LineWriter, GivenALineThatFailedWhole_WhenTheNextIsWritten_ThenNoEmptyLineStandsBetween)
{
    const TemporaryFolder folder;
    const Descriptor file(open((folder / "log").c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600));
    LineWriter writer(file.number);
    writer.write("first\n");
    {
        const FileSizeLimit limit(6);
        EXPECT_THROW(writer.write("lost\n"), std::system_error);
    }
    writer.write("next\n");
    EXPECT_EQ(contents(folder / "log"), "first\nnext\n");
}

TEST(LineWriter, GivenAPipeThatNobodyReads_WhenWritten_ThenItIsAnErrorAndNoSignalRemains)
{
    Pipe pipe;
    pipe.read.reset();
    EXPECT_EQ(errorOf(pipe.write.number, "line\n"), EPIPE);
    EXPECT_FALSE(isPending(SIGPIPE));
    EXPECT_FALSE(isBlocked(SIGPIPE));
    EXPECT_FALSE(isBlocked(SIGXFSZ));
}

TEST(LineWriter, GivenASignalThatWasPendingBefore_WhenAWriteRaisesIt_ThenItIsStillPending)
{
    sigset_t pipeSignal{};
    sigemptyset(&pipeSignal);
    sigaddset(&pipeSignal, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &pipeSignal, nullptr);
    pthread_kill(pthread_self(), SIGPIPE);

    Pipe pipe;
    pipe.read.reset();
    EXPECT_EQ(errorOf(pipe.write.number, "line\n"), EPIPE);
    EXPECT_TRUE(isPending(SIGPIPE));
    EXPECT_TRUE(isBlocked(SIGPIPE));

    const timespec noWait{};
    sigtimedwait(&pipeSignal, nullptr, &noWait);
    pthread_sigmask(SIG_UNBLOCK, &pipeSignal, nullptr);
}

TEST(LineWriter, GivenANonBlockingPipeAndALateReader_WhenALongLineIsWritten_ThenNothingIsLost)
{
    Pipe pipe(O_NONBLOCK);
    const std::string line = std::string(1'000'000, 'x') + '\n';
    const int writeEnd = pipe.write.number; // the writer closes it, so only its number is shared
    pipe.write.number = -1;
    std::jthread writing([&line, writeEnd] {
        Descriptor writer(writeEnd);
        EXPECT_EQ(errorOf(writer.number, line), 0);
    });
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (!isFull(writeEnd) && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::yield();
    }
    EXPECT_TRUE(isFull(writeEnd)); // from here on the writer can only wait

    std::string received;
    std::array<char, 4096> chunk{};
    pollfd readable{pipe.read.number, POLLIN, 0};
    while (poll(&readable, 1, 30'000) == 1) {
        const ssize_t n = read(pipe.read.number, chunk.data(), chunk.size());
        if (n <= 0) {
            break;
        }
        received.append(chunk.data(), static_cast<std::size_t>(n));
    }
    EXPECT_EQ(received, line);
}

} // namespace
