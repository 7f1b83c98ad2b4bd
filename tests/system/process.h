/// A child process whose output a test reads while it runs.
#pragma once

#include <array>
#include <chrono>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include <sys/types.h>

namespace qx::system_test {

/// Generous: it only bounds how long a failing test takes. Nothing is expected to be this slow.
inline constexpr std::chrono::seconds patience{40};

using Environment = std::map<std::string, std::string>;

/// How a process ended: an exit code, or the signal that killed it.
struct Outcome {
    int exit_code = -1;
    int signal = 0;
    bool operator==(const Outcome&) const = default;
};
std::ostream& operator<<(std::ostream& out, const Outcome& outcome);

constexpr Outcome exited(int code)
{
    return {code, 0};
}
constexpr Outcome killed_by(int signal)
{
    return {-1, signal};
}

/// Started by the constructor, killed by the destructor if it still runs.
/// Threads   one at a time. Output is collected whenever one of the waiting functions runs.
class Process {
public:
    /// The child has the test's environment with `changes` on top and `input_path` as its standard input.
    Process(const std::vector<std::string>& arguments, const Environment& changes,
            const std::string& input_path = "/dev/null");
    ~Process();
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;

    /// Collects output until the condition holds; false when it does not within the deadline or the child's output
    /// ends before.
    bool until(const std::function<bool()>& condition);
    bool until_error_has(const std::string& text);
    bool until_output_lines(std::size_t count);

    pid_t pid() const { return m_pid; }
    void send_signal(int signal) const;
    /// Nobody reads its standard output any more.
    void close_output();
    /// Collects the rest of the output and how it ended; kills it when it does not end by itself.
    Outcome wait(std::chrono::seconds at_most = patience);

    const std::string& output() const { return m_text[0]; }
    const std::string& error() const { return m_text[1]; }
    std::vector<std::string> output_lines() const;

private:
    bool collect(std::chrono::steady_clock::time_point deadline);

    pid_t m_pid = -1;
    std::array<int, 2> m_fds{-1, -1}; ///< reading ends of standard output and standard error
    std::array<std::string, 2> m_text;
};

} // namespace qx::system_test
