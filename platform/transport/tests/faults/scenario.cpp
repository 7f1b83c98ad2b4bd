#include "scenario.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string_view>

#include "table.h"

namespace test {
namespace {

std::vector<std::string> command(const std::string& board, const OptionList& options)
{
    std::vector<std::string> line{QX_FAULT_PEER, board};
    for (const auto& [name, value] : options) {
        line.push_back(name + ('=' + value));
    }
    return line;
}

/// "LBMDDS:<address>:<pid>:<context>:<number>[<topic>]"
struct SourceName {
    explicit SourceName(const Heard& heard)
    {
        std::string_view text{heard.source.data()};
        const auto next = [&text] {
            const std::size_t colon = text.find(':');
            const std::string_view field = text.substr(0, colon);
            text.remove_prefix(std::min(text.size(), colon + 1));
            return std::string{field};
        };
        next();
        next();
        pid = std::stoi(next());
        next();
        number = static_cast<std::uint32_t>(std::stoul(std::string{text}));
    }

    pid_t pid;
    std::uint32_t number;
};

void check_numbers(const std::string& who, const Heard& h, std::uint64_t tolerated = 0)
{
    EXPECT_STREQ(h.wrong.data(), "") << who;
    EXPECT_EQ(h.after_end, 0U) << who << ": something came while the source was not there";
    const std::uint64_t said = h.delivered + h.lost;
    const std::uint64_t numbers = h.next - h.first;
    EXPECT_LE(std::max(said, numbers) - std::min(said, numbers), tolerated)
        << who << ": " << h.delivered << " delivered and " << h.lost << " lost are not the numbers from " << h.first
        << " to " << h.next;
}

/// Whether the receiver was there for any of its numbers.
bool was_heard(const Heard& h)
{
    return h.delivered + h.lost > 0;
}

/// What has left a sender is known of. Three things die with one that is killed: a packet that the kernel threw away,
/// which it would have repeated, what it sent to a receiver that was just being found, and what it sent while it was
/// taken for gone.
void check_written(const std::string& who, const Heard& h, const Sent& s, const FaultProcess& sender)
{
    if (was_heard(h) && h.begins == 1 && sender.unrepeated == 0) {
        EXPECT_GE(h.next, s.written) << who << ": what had left its sender, " << sender.name()
                                     << ", was neither delivered nor told as loss, after " << h.delivered
                                     << " delivered from " << h.first << " on";
    }
}

void check_end(const std::string& who, const Heard& h, const Sent& s)
{
    EXPECT_GE(h.begins, 1U) << who;
    EXPECT_EQ(h.begins, h.ends) << who << ": beginnings and ends";
    EXPECT_LE(h.next, s.tried) << who << ": more than was sent";
    if (s.closed && was_heard(h)) {
        EXPECT_EQ(h.next, s.accepted) << who << ": what is missing at the end was not told as loss";
    }
}

/// How much of what was sent nobody can know of any more. A send that the end cut off may have left all the same.
std::uint64_t died_with_sender(const Heard& h, const Sent& s)
{
    return was_heard(h) ? std::max(s.accepted.load(), h.next.load()) - h.next : 0;
}

void enter(Account& sum, const Heard& h, std::uint64_t died)
{
    sum.sent += h.next - h.first + died;
    sum.delivered += h.delivered;
    sum.lost += h.lost;
    sum.losses += h.losses;
    sum.died += died;
    sum.begins += h.begins;
    sum.ends += h.ends;
    sum.after_end += h.after_end;
}

/// The running test's: of several with one body the suite has the name.
std::string scenario_name()
{
    const testing::TestInfo& test = *testing::UnitTest::GetInstance()->current_test_info();
    if (test.value_param() == nullptr) {
        return test.name();
    }
    const std::string suite = test.test_suite_name();
    const std::string name = test.name();
    return suite.substr(suite.find('/') + 1) + name.substr(name.find('/') + 1) + suite.substr(0, suite.find('/'));
}

} // namespace

FaultProcess::FaultProcess(std::string name, const std::string& board, const OptionList& options)
    : name_(std::move(name))
    , board_(map_board(board))
    , child_(command(board, options))
    , pid_(child_.pid())
{
}

void FaultProcess::tell(const std::string& line)
{
    try {
        child_.tell(line);
    } catch (const std::exception& e) {
        throw std::runtime_error(name_ + ": \"" + line + "\": " + e.what());
    }
}

const Heard* FaultProcess::heard(const FaultProcess& sender, std::uint32_t source) const
{
    const std::span<const Heard> all = heard();
    const auto found = std::find_if(all.begin(), all.end(), [&](const Heard& h) {
        const SourceName who{h};
        return who.pid == sender.pid_ && who.number == source;
    });
    return found == all.end() ? nullptr : &*found;
}

Faults::Faults()
    : folder_(std::filesystem::temp_directory_path() / "faults-XXXXXX")
{
    if (mkdtemp(folder_.data()) == nullptr) {
        throw std::runtime_error("no temporary folder");
    }
}

Faults::~Faults()
{
    processes.clear();
    std::error_code ignored;
    std::filesystem::remove_all(folder_, ignored);
}

FaultProcess& Faults::spawn(const OptionList& options)
{
    OptionList all{{"domain_tag", folder_}, {"close_wait_ms", "60000"}};
    all.insert(all.end(), options.begin(), options.end());
    const std::string name = "process " + std::to_string(processes.size());
    return *processes.emplace_back(std::make_unique<FaultProcess>(name, folder_ + '/' + name, all));
}

FaultProcess& Faults::start(const OptionList& options)
{
    FaultProcess& process = spawn(options);
    process.child().expect_ok();
    return process;
}

void Faults::await(const std::string& what, const Condition& condition)
{
    Recorder clock; // waits with a deadline
    if (!clock.wait(condition) && !clock.wait(condition) && !clock.wait(condition)) {
        throw std::runtime_error("it did not come in time that " + what);
    }
}

void Faults::await_progress(const FaultProcess& listener, const FaultProcess& sender, std::uint64_t more)
{
    for (std::uint32_t i = 0; i < sender.board().sources; ++i) {
        const Heard* before = listener.heard(sender, i);
        const std::uint64_t goal = (before != nullptr ? before->delivered.load() : 0) + more;
        await(listener.name() + " hears on of source " + std::to_string(i) + " of " + sender.name(), [&] {
            const Heard* const now = listener.heard(sender, i);
            return now != nullptr && now->delivered >= goal;
        });
    }
}

void Faults::await_data(const FaultProcess& listener, const FaultProcess& sender)
{
    for (std::uint32_t i = 0; i < sender.board().sources; ++i) {
        await(listener.name() + " hears of source " + std::to_string(i) + " of " + sender.name(), [&] {
            const Heard* const now = listener.heard(sender, i);
            return now != nullptr && now->delivered > 0;
        });
    }
}

void Faults::await_ends(const FaultProcess& listener, const FaultProcess& sender)
{
    for (std::uint32_t i = 0; i < sender.board().sources; ++i) {
        await(listener.name() + " hears of the end of source " + std::to_string(i) + " of " + sender.name(), [&] {
            const Heard* const now = listener.heard(sender, i);
            return now != nullptr && now->begins > 0 && now->ends == now->begins;
        });
    }
}

void Faults::await_last_words(const FaultProcess& listener, const FaultProcess& sender)
{
    for (std::uint32_t i = 0; i < sender.board().sources; ++i) {
        await(listener.name() + " hears of the last message of source " + std::to_string(i) + " of " + sender.name(),
              [&] {
                  const Heard* const now = listener.heard(sender, i);
                  return now != nullptr && now->next == sender.board().sent.at(i).accepted;
              });
    }
    await_ends(listener, sender);
}

const FaultProcess* Faults::sender_of(const Heard& heard) const
{
    const pid_t pid = SourceName{heard}.pid;
    const auto found = std::find_if(processes.begin(), processes.end(), [&](const auto& p) { return p->pid() == pid; });
    return found == processes.end() ? nullptr : found->get();
}

void Faults::add(Account& sum, const FaultProcess& listener) const
{
    for (const Heard& h : listener.heard()) {
        const std::string who = listener.name() + " of " + h.source.data();
        const FaultProcess* const sender = sender_of(h);
        ASSERT_NE(sender, nullptr) << who << ": nobody's source";
        const Sent& s = sender->board().sent.at(SourceName{h}.number);
        check_numbers(who, h);
        check_end(who, h, s);
        if (!sender->excused.contains(&listener)) {
            check_written(who, h, s, *sender);
        }
        enter(sum, h, died_with_sender(h, s));
    }
}

Account Faults::balance(const std::vector<FaultProcess*>& listeners)
{
    Account sum;
    sum.scenario = scenario_name();
    sum.processes = processes.size();
    for (const auto& process : processes) {
        sum.sources += process->board().sources;
    }
    for (const FaultProcess* const listener : listeners) {
        add(sum, *listener);
    }
    EXPECT_EQ(sum.delivered + sum.lost + sum.died, sum.sent);
    print_later(sum);
    return sum;
}

void Faults::check_unfinished(const FaultProcess& listener)
{
    for (const Heard& h : listener.heard()) {
        check_numbers(listener.name() + " of " + h.source.data(), h, 1); // its last entry may be half made
    }
}

testing::AssertionResult heard_from_the_start(const FaultProcess& listener, const FaultProcess& sender)
{
    for (std::uint32_t i = 0; i < sender.board().sources; ++i) {
        const Heard* const h = listener.heard(sender, i);
        if (h == nullptr || h->first != 0) {
            return testing::AssertionFailure() << "source " << i << " was heard from "
                                               << (h == nullptr ? "no number" : std::to_string(h->first)) << " on";
        }
    }
    return testing::AssertionSuccess();
}

} // namespace test
