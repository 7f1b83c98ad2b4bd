#include "platform/log_backend/tests/child.h"

#include <array>
#include <cerrno>
#include <future>
#include <sstream>
#include <string_view>
#include <system_error>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include "platform/log_backend/tests/temporary_folder.h"

namespace qx::test {

namespace {

struct Pipe {
    Pipe()
    {
        if (pipe2(ends.data(), O_CLOEXEC) != 0) {
            throw std::system_error(errno, std::generic_category(), "pipe2");
        }
    }
    ~Pipe()
    {
        close(ends[0]);
        closeWriter();
    }
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;

    void closeWriter()
    {
        if (ends[1] >= 0) {
            close(ends[1]);
            ends[1] = -1;
        }
    }

    std::string readAll() const
    {
        std::string all;
        std::array<char, 65'536> chunk{};
        for (ssize_t n = 0; (n = read(ends[0], chunk.data(), chunk.size())) > 0;) {
            all.append(chunk.data(), static_cast<std::size_t>(n));
        }
        return all;
    }

    std::array<int, 2> ends{};
};

std::vector<std::string> childEnvironment(const std::vector<std::string>& added)
{
    std::vector<std::string> all = added;
    for (char** entry = environ; *entry != nullptr; ++entry) {
        if (!std::string_view(*entry).starts_with("QX_LOG_")) {
            all.emplace_back(*entry);
        }
    }
    return all;
}

std::vector<char*> pointersTo(std::vector<std::string>& texts)
{
    std::vector<char*> pointers;
    for (auto& text : texts) {
        pointers.push_back(text.data());
    }
    pointers.push_back(nullptr);
    return pointers;
}

/// What a child's standard streams are to be.
class StreamActions {
public:
    StreamActions() { posix_spawn_file_actions_init(&m_actions); }
    ~StreamActions() { posix_spawn_file_actions_destroy(&m_actions); }
    StreamActions(const StreamActions&) = delete;
    StreamActions& operator=(const StreamActions&) = delete;

    void connect(int stream, int descriptor) { posix_spawn_file_actions_adddup2(&m_actions, descriptor, stream); }
    void open(int stream, const std::string& path)
    {
        posix_spawn_file_actions_addopen(&m_actions, stream, path.c_str(), O_WRONLY, 0);
    }
    const posix_spawn_file_actions_t* get() const { return &m_actions; }

private:
    posix_spawn_file_actions_t m_actions{};
};

pid_t spawnLogChild(std::vector<std::string> arguments, std::vector<std::string> environment,
                    const StreamActions& actions)
{
    pid_t child = 0;
    const int error = posix_spawn(&child, LOG_CHILD, actions.get(), nullptr, pointersTo(arguments).data(),
                                  pointersTo(environment).data());
    if (error != 0) {
        throw std::system_error(error, std::generic_category(), LOG_CHILD);
    }
    return child;
}

int exitCodeOf(pid_t child)
{
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

} // namespace

ChildResult runLogChild(const std::string& scenario, const std::vector<std::string>& environment,
                        const std::string& redirectError)
{
    Pipe out;
    Pipe err;
    StreamActions actions;
    actions.connect(STDOUT_FILENO, out.ends[1]);
    actions.connect(STDERR_FILENO, err.ends[1]);
    if (!redirectError.empty()) {
        actions.open(STDERR_FILENO, redirectError);
    }
    const pid_t child = spawnLogChild({"log_child", scenario}, childEnvironment(environment), actions);
    out.closeWriter();
    err.closeWriter();
    auto outText = std::async(std::launch::async, [&out] { return out.readAll(); });
    const std::string errText = err.readAll();
    return {exitCodeOf(child), linesOf(outText.get()), linesOf(errText)};
}

std::vector<std::string> linesOf(const std::string& text)
{
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

std::vector<std::string> linesOfFile(const std::filesystem::path& path)
{
    return linesOf(contents(path));
}

} // namespace qx::test
