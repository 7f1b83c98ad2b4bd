/// A program of the tests' own, started and ended by the test.
#pragma once

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include <sys/types.h>

#include "context_fixture.h"

namespace test {

/// Speaks line by line with the child's standard input and output. The destructor kills what still runs.
class ChildProcess {
public:
    explicit ChildProcess(const std::vector<std::string>& arguments);
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    /// Sends a line and waits for the answer. Throws std::runtime_error unless it is "ok".
    void tell(const std::string& line);
    void say(const std::string& line); ///< the answer is for `expect_ok`
    void expect_ok();

    pid_t pid() const noexcept { return pid_; }
    void signal(int number) const;

    /// Stops the child and waits until it stands still.
    void stop() const;

    /// Closes the child's input and waits for its end; gives the wait status.
    int finish();

private:
    struct Close {
        void operator()(std::FILE* file) const { std::fclose(file); }
    };

    pid_t pid_ = -1;
    std::unique_ptr<std::FILE, Close> input_;
    std::unique_ptr<std::FILE, Close> output_;
};

/// The sending process of peer.cpp in this process's domain, ready.
std::unique_ptr<ChildProcess> start_peer(int lease_ms, const OptionList& options = {});

} // namespace test
