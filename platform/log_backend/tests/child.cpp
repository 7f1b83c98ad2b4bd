#include "platform/log_backend/tests/child.h"

#include <array>
#include <cerrno>
#include <fstream>
#include <future>
#include <iterator>
#include <sstream>
#include <stdexcept>
#include <string_view>
#include <system_error>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

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

pid_t spawnLogChild(std::vector<std::string> arguments, std::vector<std::string> environment,
                    const posix_spawn_file_actions_t& actions)
{
    pid_t child = 0;
    const int error =
        posix_spawn(&child, LOG_CHILD, &actions, nullptr, pointersTo(arguments).data(), pointersTo(environment).data());
    if (error != 0) {
        throw std::system_error(error, std::generic_category(), LOG_CHILD);
    }
    return child;
}

} // namespace

ChildResult runLogChild(const std::string& scenario, const std::vector<std::string>& environment,
                        const std::string& redirectError)
{
    Pipe out;
    Pipe err;
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, out.ends[1], STDOUT_FILENO);
    if (redirectError.empty()) {
        posix_spawn_file_actions_adddup2(&actions, err.ends[1], STDERR_FILENO);
    } else {
        posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, redirectError.c_str(), O_WRONLY, 0);
    }
    const pid_t child = spawnLogChild({"log_child", scenario}, childEnvironment(environment), actions);
    posix_spawn_file_actions_destroy(&actions);
    out.closeWriter();
    err.closeWriter();

    auto outText = std::async(std::launch::async, [&out] { return out.readAll(); });
    const std::string errText = err.readAll();
    int status = 0;
    waitpid(child, &status, 0);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, linesOf(outText.get()), linesOf(errText)};
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
    std::ifstream stream(path, std::ios::binary);
    return linesOf({std::istreambuf_iterator<char>(stream), {}});
}

TemporaryFolder::TemporaryFolder()
{
    std::string name = std::filesystem::temp_directory_path() / "qx_log_XXXXXX";
    if (mkdtemp(name.data()) == nullptr) {
        throw std::system_error(errno, std::generic_category(), "mkdtemp");
    }
    m_path = name;
}

TemporaryFolder::~TemporaryFolder()
{
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
}

} // namespace qx::test
