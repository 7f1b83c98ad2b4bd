/// What the fault scenarios share: processes with boards, and the account that is held over them.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <set>
#include <span>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "../support/child_process.h"
#include "../support/context_fixture.h"
#include "board.h"

namespace test {

/// A process of fault_peer.cpp.
class FaultProcess {
public:
    FaultProcess(std::string name, const std::string& board, const OptionList& options);

    void tell(const std::string& line);
    ChildProcess& child() { return child_; }
    Board& board() const { return *board_; }
    const std::string& name() const { return name_; }
    pid_t pid() const { return pid_; }

    /// The sources that it has heard.
    std::span<const Heard> heard() const { return {board_->heard.data(), board_->heard_count}; }

    /// How it heard a source of the sender, whose sources have numbers from 0; null if it did not.
    const Heard* heard(const FaultProcess& sender, std::uint32_t source) const;

    /// Packets that the kernel threw away at its receiver while it was killed: it cannot send them again.
    std::uint64_t unrepeated = 0;
    /// Receivers that cannot be asked for all that had left it when it was killed: what the engine sends to one that is
    /// just being found it may have to repeat.
    std::set<const FaultProcess*> excused;

private:
    std::string name_;
    BoardPtr board_; ///< before the process: it must find a file of the right size
    ChildProcess child_;
    pid_t pid_; ///< also when it is gone
};

/// A line of the table. Sent is counted from the first number that a receiver heard of, for each receiver.
struct Account {
    std::string scenario;
    std::size_t processes = 0;
    std::size_t sources = 0;
    std::uint64_t sent = 0;
    std::uint64_t delivered = 0;
    std::uint64_t lost = 0;
    std::uint64_t losses = 0;
    std::uint64_t died = 0; ///< with a sender that did not close: what had not left it, nobody can know of
    std::uint64_t begins = 0;
    std::uint64_t ends = 0;
    std::uint64_t after_end = 0;
};

class Faults : public testing::Test {
protected:
    using Condition = std::function<bool()>;

    Faults();
    ~Faults() override;

    /// The processes of one scenario meet nobody else's.
    FaultProcess& spawn(const OptionList& options);
    FaultProcess& start(const OptionList& options); ///< and waits until it is ready

    /// Throws std::runtime_error with the text unless it comes true in time, which is longer than elsewhere: dozens of
    /// processes share the machine.
    static void await(const std::string& what, const Condition& condition);
    /// For each source of the sender: at least so many more were delivered than when it was called.
    static void await_progress(const FaultProcess& listener, const FaultProcess& sender, std::uint64_t more = 1);
    /// Some data of each of its sources.
    static void await_data(const FaultProcess& listener, const FaultProcess& sender);
    static void await_ends(const FaultProcess& listener, const FaultProcess& sender);
    /// The same of a sender that has closed, up to the last number: one that was out of hearing has ended before.
    static void await_last_words(const FaultProcess& listener, const FaultProcess& sender);

    /// Holds the account of what they heard, all of which has ended, and adds it to the table. A wrong one fails the
    /// test and says whose.
    Account balance(const std::vector<FaultProcess*>& listeners);

    /// Of a listener that did not live to the end: what it was told until then must add up.
    static void check_unfinished(const FaultProcess& listener);

    std::vector<std::unique_ptr<FaultProcess>> processes;

private:
    void add(Account& sum, const FaultProcess& listener) const;
    const FaultProcess* sender_of(const Heard& heard) const;

    std::string folder_;
};

/// Whether every number from the first was heard of: for receivers that were there before.
testing::AssertionResult heard_from_the_start(const FaultProcess& listener, const FaultProcess& sender);

} // namespace test
