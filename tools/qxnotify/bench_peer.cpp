#include "qxnotify/bench_peer.h"

#include <cerrno>
#include <csignal>
#include <system_error>
#include <utility>

#include <nlohmann/json.hpp>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include "qxnotify/output.h"

namespace qx::tool {

namespace {

constexpr double ending_seconds = 5;

void check(int error, const char* call)
{
    if (error != 0) {
        throw std::system_error(error, std::generic_category(), call);
    }
}

std::array<int, 2> open_sockets()
{
    std::array<int, 2> ends{};
    check(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) == 0 ? 0 : errno, "socketpair");
    return ends;
}

pid_t spawn(const std::string& domain_tag, int socket)
{
    std::array<std::string, 4> words{"qxnotify", "bench", "--listen-in", domain_tag};
    std::array<char*, 5> argv{words[0].data(), words[1].data(), words[2].data(), words[3].data(), nullptr};
    posix_spawn_file_actions_t actions{};
    check(::posix_spawn_file_actions_init(&actions), "posix_spawn_file_actions_init");
    ::posix_spawn_file_actions_adddup2(&actions, socket, STDIN_FILENO);
    ::posix_spawn_file_actions_adddup2(&actions, socket, STDOUT_FILENO);
    pid_t pid = -1;
    const int error = ::posix_spawn(&pid, "/proc/self/exe", &actions, nullptr, argv.data(), environ);
    ::posix_spawn_file_actions_destroy(&actions);
    check(error, "posix_spawn");
    return pid;
}

std::string how_it_ended(int status)
{
    return WIFSIGNALED(status) ? "was killed by signal " + std::to_string(WTERMSIG(status))
                               : "ended with exit code " + std::to_string(WEXITSTATUS(status));
}

} // namespace

BenchPeer::BenchPeer(const std::string& domain_tag)
    : BenchPeer(domain_tag, open_sockets())
{
}

BenchPeer::BenchPeer(const std::string& domain_tag, const std::array<int, 2>& sockets)
    : m_socket(sockets[0])
    , m_lines(m_socket.get())
{
    const Descriptor theirs(sockets[1]); // closed here, so that their end shows
    m_pid = spawn(domain_tag, theirs.get());
}

BenchPeer::~BenchPeer()
{
    if (m_pid == -1) {
        return;
    }
    ::shutdown(m_socket.get(), SHUT_WR);
    ::kill(m_pid, SIGTERM); // it may be busy with what it was told last
    if (!comes_to_its_end()) {
        ::kill(m_pid, SIGKILL);
    }
    ::waitpid(m_pid, nullptr, 0);
}

/// Its socket closes when it ends and not before.
bool BenchPeer::comes_to_its_end() noexcept
{
    try {
        const Deadline deadline = deadline_in(ending_seconds);
        while (wait_for(m_socket.get(), deadline)) {
            if (!m_lines.collect()) {
                return true;
            }
        }
    } catch (const std::exception&) { // killed then, which always ends it
    }
    return false;
}

void BenchPeer::tell(std::string_view line)
{
    if (write_all(m_socket.get(), line) != Written::yes) {
        throw PeerEnded(reap());
    }
}

bool BenchPeer::wait(StopSignals& stop, Deadline deadline)
{
    const Woken woken = wait_for(m_socket.get(), stop, deadline);
    if (woken == Woken::timed_out) {
        return false;
    }
    const bool open = woken == Woken::ready && m_lines.collect();
    if (stop.received() != 0) { // a terminal sends it to both processes
        throw Interrupted("stopped by " + signal_name(stop.received()));
    }
    if (!open) {
        throw PeerEnded(reap());
    }
    while (const auto line = m_lines.next()) {
        understand(*line);
    }
    return true;
}

void BenchPeer::understand(const std::string& line)
{
    const auto object = nlohmann::json::parse(line);
    if (object.contains("received")) {
        m_received = object.at("received");
        m_faulty = object.at("faulty");
    } else {
        m_word = line;
    }
}

std::optional<std::string> BenchPeer::take_word()
{
    return std::exchange(m_word, std::nullopt);
}

void BenchPeer::forget_counts()
{
    m_received = 0;
    m_faulty = false;
}

std::string BenchPeer::reap()
{
    int status = 0;
    ::kill(m_pid, SIGKILL); // it closed its end: what is left of it is of no use
    ::waitpid(std::exchange(m_pid, -1), &status, 0);
    return "the listening process " + how_it_ended(status);
}

} // namespace qx::tool
