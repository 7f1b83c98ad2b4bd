#include "child.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <stdexcept>
#include <system_error>

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace qx::benchmark {
namespace {

std::array<int, 2> make_pipe()
{
    std::array<int, 2> ends{};
    if (pipe(ends.data()) != 0) {
        throw std::system_error(errno, std::generic_category(), "pipe");
    }
    return ends;
}

pid_t start(const std::vector<std::string>& arguments, const std::array<int, 2>& in, const std::array<int, 2>& out)
{
    std::vector<char*> argv{const_cast<char*>("transport_benchmark")};
    for (const std::string& argument : arguments) {
        argv.push_back(const_cast<char*>(argument.c_str())); // posix_spawn only reads them
    }
    argv.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, in[0], STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, out[1], STDOUT_FILENO);
    for (const int end : {in[0], in[1], out[0], out[1]}) {
        posix_spawn_file_actions_addclose(&actions, end);
    }
    pid_t pid = -1;
    const int error = posix_spawn(&pid, "/proc/self/exe", &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0) {
        throw std::system_error(error, std::generic_category(), "posix_spawn");
    }
    return pid;
}

} // namespace

Child::Child(const std::vector<std::string>& arguments)
{
    const std::array<int, 2> in = make_pipe();
    const std::array<int, 2> out = make_pipe();
    pid_ = start(arguments, in, out);
    close(in[0]);
    close(out[1]);
    to_.reset(fdopen(in[1], "w"));
    from_.reset(fdopen(out[0], "r"));
}

Child::~Child()
{
    kill(pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
}

void Child::tell(const std::string& line)
{
    std::fputs((line + '\n').c_str(), to_.get());
    std::fflush(to_.get());
}

std::string Child::hear(const std::string& word)
{
    std::array<char, 4096> buffer{};
    if (std::fgets(buffer.data(), static_cast<int>(buffer.size()), from_.get()) == nullptr) {
        throw std::runtime_error("a process ended before it said \"" + word + '"');
    }
    std::string line{buffer.data()};
    line.erase(line.find_last_not_of('\n') + 1);
    if (line.rfind(word, 0) != 0) {
        throw std::runtime_error("expected \"" + word + "\", heard \"" + line + '"');
    }
    return line.substr(std::min(line.size(), word.size() + 1));
}

} // namespace qx::benchmark
