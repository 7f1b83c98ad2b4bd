#include "child_process.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <stdexcept>

#include "context_fixture.h"

namespace test {
namespace {

std::array<int, 2> make_pipe()
{
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) {
        throw std::runtime_error("pipe2 failed");
    }
    return ends;
}

} // namespace

ChildProcess::ChildProcess(const std::vector<std::string>& arguments)
{
    std::vector<char*> argv;
    for (const std::string& argument : arguments) {
        argv.push_back(const_cast<char*>(argument.c_str()));
    }
    argv.push_back(nullptr);
    const auto to_child = make_pipe();
    const auto from_child = make_pipe();
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, to_child[0], STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, from_child[1], STDOUT_FILENO);
    const int rc = posix_spawn(&pid_, argv.front(), &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    close(to_child[0]);
    close(from_child[1]);
    input_.reset(fdopen(to_child[1], "w"));
    output_.reset(fdopen(from_child[0], "r"));
    if (rc != 0) {
        throw std::runtime_error("cannot start " + arguments.front());
    }
}

ChildProcess::~ChildProcess()
{
    if (pid_ > 0) {
        kill(pid_, SIGKILL);
        waitpid(pid_, nullptr, 0);
    }
}

void ChildProcess::tell(const std::string& line)
{
    say(line);
    expect_ok();
}

void ChildProcess::say(const std::string& line)
{
    std::fprintf(input_.get(), "%s\n", line.c_str());
    std::fflush(input_.get());
}

void ChildProcess::expect_ok()
{
    std::array<char, 256> answer{};
    if (std::fgets(answer.data(), static_cast<int>(answer.size()), output_.get()) == nullptr ||
        std::string{answer.data()} != "ok\n") {
        throw std::runtime_error(std::string{"the child answered: "} + answer.data());
    }
}

void ChildProcess::signal(int number) const
{
    kill(pid_, number);
}

void ChildProcess::stop() const
{
    signal(SIGSTOP);
    waitpid(pid_, nullptr, WUNTRACED);
}

int ChildProcess::finish()
{
    input_.reset();
    int status = 0;
    waitpid(pid_, &status, 0);
    pid_ = -1;
    return status;
}

std::unique_ptr<ChildProcess> start_peer(int lease_ms, const OptionList& options)
{
    std::vector<std::string> arguments{QX_PEER, "domain_tag=" + domain_tag(), "lease_ms=" + std::to_string(lease_ms)};
    for (const auto& [name, value] : options) {
        arguments.push_back(std::string{name} + "=" + value);
    }
    auto peer = std::make_unique<ChildProcess>(arguments);
    peer->expect_ok();
    return peer;
}

} // namespace test
