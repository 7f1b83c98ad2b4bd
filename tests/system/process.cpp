#include "process.h"

#include <algorithm>
#include <csignal>
#include <ostream>
#include <sstream>
#include <stdexcept>
#include <system_error>

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace qx::system_test {

namespace {

using Clock = std::chrono::steady_clock;

void check(int error, const char* call)
{
    if (error != 0) {
        throw std::system_error(error, std::generic_category(), call);
    }
}

std::vector<std::string> merged_environment(Environment merged)
{
    for (char** entry = environ; *entry != nullptr; ++entry) {
        const std::string text = *entry;
        const auto equals = text.find('=');
        merged.try_emplace(text.substr(0, equals), text.substr(equals + 1));
    }
    std::vector<std::string> entries;
    entries.reserve(merged.size());
    for (const auto& [name, value] : merged) {
        entries.push_back(name);
        entries.back().append("=").append(value);
    }
    return entries;
}

std::vector<char*> pointers(std::vector<std::string>& texts)
{
    std::vector<char*> result;
    result.reserve(texts.size() + 1);
    for (std::string& text : texts) {
        result.push_back(text.data());
    }
    result.push_back(nullptr);
    return result;
}

/// What the child's first three descriptors are to be.
class FileActions {
public:
    FileActions() { check(::posix_spawn_file_actions_init(&m_actions), "posix_spawn_file_actions_init"); }
    ~FileActions() { ::posix_spawn_file_actions_destroy(&m_actions); }
    FileActions(const FileActions&) = delete;
    FileActions& operator=(const FileActions&) = delete;
    void open(int fd, const std::string& path)
    {
        check(::posix_spawn_file_actions_addopen(&m_actions, fd, path.c_str(), O_RDONLY, 0), path.c_str());
    }
    void duplicate(int from, int to) { check(::posix_spawn_file_actions_adddup2(&m_actions, from, to), "adddup2"); }
    const posix_spawn_file_actions_t* get() const { return &m_actions; }

private:
    posix_spawn_file_actions_t m_actions{};
};

void close_once(int& fd)
{
    if (fd != -1) {
        ::close(fd);
        fd = -1;
    }
}

} // namespace

std::ostream& operator<<(std::ostream& out, const Outcome& outcome)
{
    if (outcome.signal != 0) {
        return out << "killed by signal " << outcome.signal;
    }
    return out << "exit code " << outcome.exit_code;
}

Process::Process(const std::vector<std::string>& arguments, const Environment& changes, const std::string& input_path)
{
    FileActions actions;
    actions.open(STDIN_FILENO, input_path);
    std::array<int, 2> writers{-1, -1};
    for (std::size_t i = 0; i < 2; ++i) {
        std::array<int, 2> ends{};
        check(::pipe2(ends.data(), O_CLOEXEC) == 0 ? 0 : errno, "pipe2");
        m_fds[i] = ends[0];
        writers[i] = ends[1];
        actions.duplicate(ends[1], static_cast<int>(i) + 1);
    }
    std::vector<std::string> words = arguments;
    std::vector<std::string> environment = merged_environment(changes);
    const int error = ::posix_spawn(&m_pid, words[0].c_str(), actions.get(), nullptr, pointers(words).data(),
                                    pointers(environment).data());
    close_once(writers[0]);
    close_once(writers[1]);
    check(error, words[0].c_str());
}

Process::~Process()
{
    if (m_pid != -1) {
        send_signal(SIGKILL);
        ::waitpid(m_pid, nullptr, 0);
    }
    close_once(m_fds[0]);
    close_once(m_fds[1]);
}

/// One step: waits for output and takes what is there. False when the deadline has passed or both pipes have ended.
bool Process::collect(Clock::time_point deadline)
{
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
    std::array<pollfd, 2> fds{{{m_fds[0], POLLIN, 0}, {m_fds[1], POLLIN, 0}}};
    const bool open = m_fds[0] != -1 || m_fds[1] != -1;
    if (left <= 0 || !open || ::poll(fds.data(), fds.size(), static_cast<int>(left)) <= 0) {
        return false;
    }
    for (std::size_t i = 0; i < fds.size(); ++i) {
        std::array<char, 65'536> buffer{};
        const ssize_t count = fds[i].revents != 0 ? ::read(m_fds[i], buffer.data(), buffer.size()) : -1;
        if (count > 0) {
            m_text[i].append(buffer.data(), static_cast<std::size_t>(count));
        } else if (count == 0) {
            close_once(m_fds[i]);
        }
    }
    return true;
}

bool Process::until(const std::function<bool()>& condition)
{
    const auto deadline = Clock::now() + patience;
    bool holds = condition();
    while (!holds && collect(deadline)) {
        holds = condition();
    }
    return holds;
}

bool Process::until_error_has(const std::string& text)
{
    return until([&] { return error().find(text) != std::string::npos; });
}

bool Process::until_output_lines(std::size_t count)
{
    return until([&] { return static_cast<std::size_t>(std::count(output().begin(), output().end(), '\n')) >= count; });
}

void Process::send_signal(int signal) const
{
    ::kill(m_pid, signal);
}

void Process::close_output()
{
    close_once(m_fds[0]);
}

Outcome Process::wait(std::chrono::seconds at_most)
{
    const auto deadline = Clock::now() + at_most;
    while (collect(deadline)) {
    }
    if (m_fds[0] != -1 || m_fds[1] != -1) {
        send_signal(SIGKILL); // it kept its output open beyond the deadline
    }
    int status = 0;
    ::waitpid(m_pid, &status, 0);
    m_pid = -1;
    return WIFSIGNALED(status) ? killed_by(WTERMSIG(status)) : exited(WEXITSTATUS(status));
}

std::vector<std::string> Process::output_lines() const
{
    std::vector<std::string> lines;
    std::istringstream stream(output());
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

} // namespace qx::system_test
