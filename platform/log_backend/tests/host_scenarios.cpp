#include "platform/log_backend/tests/host_scenarios.h"

#include <array>
#include <atomic>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>
#include <thread>

#include <fcntl.h>
#include <logger/logger.h>
#include <malloc.h>
#include <pthread.h>
#include <sys/wait.h>
#include <unistd.h>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
/// The sanitizers' heap is their own, and g++ brings no header that declares this.
extern "C" std::size_t __sanitizer_get_current_allocated_bytes(); // NOLINT(bugprone-reserved-identifier): their name
#endif

namespace qx::test {

using namespace qx::logging;

namespace {

void logToNobody(int descriptor)
{
    std::signal(SIGPIPE, SIG_DFL); // whatever this program was started with
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0 || dup2(ends[1], descriptor) < 0) {
        std::exit(2); // NOLINT(concurrency-mt-unsafe): no other thread
    }
    QX_LOG(QXLOG_ERROR) << "still read"; // opens what the environment names
    close(ends[0]);
    close(ends[1]);
    for (int i = 0; i < 3; ++i) {
        QX_LOG(QXLOG_ERROR) << "into the void";
    }
}

} // namespace

void closedError()
{
    logToNobody(STDERR_FILENO);
}

void closedOutput()
{
    logToNobody(STDOUT_FILENO);
}

void forkAndLogInBoth()
{
    QX_LOG(QXLOG_ERROR) << "before the fork";
    const pid_t child = fork();
    if (child == 0) {
        QX_LOG(QXLOG_ERROR) << "in the child";
        std::exit(0); // NOLINT(concurrency-mt-unsafe): with all clean-ups, as a program would
    }
    int status = -1;
    waitpid(child, &status, 0);
    QX_LOG(QXLOG_ERROR) << "in the parent, child's status " << status;
}

void forkWhileThreadsLog()
{
    QX_LOG(QXLOG_ERROR) << "first"; // the back end is there before the first fork
    std::atomic<bool> ended{false};
    std::thread busy([&] {
        while (!ended) {
            QX_LOG(QXLOG_ERROR) << "busy";
        }
    });
    for (int i = 0; i < 50; ++i) {
        const pid_t child = fork();
        if (child == 0) {
            QX_LOG_FULL(QXLOG_ERROR, 0, ConstSourcePtr{}, "f", 1) << "in a child";
            _exit(0);
        }
        waitpid(child, nullptr, 0);
    }
    ended = true;
    busy.join();
}

void showThreads()
{
    // A queue of one line takes the second only when the writing thread, named by then, has taken the first.
    QX_LOG(QXLOG_ERROR) << "first";
    QX_LOG(QXLOG_ERROR) << "second";
    for (const auto& task : std::filesystem::directory_iterator("/proc/self/task")) {
        std::string name;
        std::getline(std::ifstream(task.path() / "comm") >> std::ws, name);
        std::ifstream status(task.path() / "status");
        for (std::string line; std::getline(status, line);) {
            if (line.starts_with("SigBlk:\t")) {
                std::cout << name << ' ' << line.substr(8) << '\n';
            }
        }
    }
}

void fortyHandlerNames()
{
    for (int i = 0; i < 40; ++i) {
        LogMessage(QXLOG_ERROR, 0, QXLOG_DECODE_AS_KV, {}, "f.cpp", 1, "statement", "name" + std::to_string(i));
    }
}

void logInKeyDestructor()
{
    std::thread([] {
        QX_LOG(QXLOG_ERROR) << "first";
        // Made after the back end's own key, hence cleaned up after it.
        pthread_key_t key{};
        pthread_key_create(&key, [](void*) { QX_LOG(QXLOG_ERROR) << "last"; });
        pthread_setspecific(key, &key);
    }).join();
}

std::size_t bytesInUse()
{
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    return __sanitizer_get_current_allocated_bytes();
#else
    const auto info = mallinfo2();
    return info.uordblks + info.hblkhd;
#endif
}

void hundredThreads()
{
    const auto logOnce = [] { std::thread([] { QX_LOG(QXLOG_ERROR) << std::string(100'000, '.'); }).join(); };
    logOnce();
    const std::size_t before = bytesInUse();
    for (int i = 0; i < 100; ++i) {
        logOnce();
    }
    const std::size_t after = bytesInUse();
    std::cout << (after > before ? after - before : 0) << '\n';
}

} // namespace qx::test
