/// A sending and hearing process of the fault tests: keeps its account on a board that outlives it, does what it is
/// told on standard input, one command a line, and answers each with "ok" or "failed: <reason>".
///
///     fault_peer <board file> <context option>=<value> …
///     listen <pattern> | hold | release     receives; its callback stands still, goes on
///     overflowed                            waits until its queue has
///     open <topic prefix> <count> <source option>=<value> …   sources <prefix>.0, <prefix>.1, …
///     connected                             waits until each source has a receiver
///     send <count>                          so many of each source, in turn
///     push <count>                          the same; fails if it would have to wait
///     flow <count> <milliseconds>           the same again and again, in the background, until
///     halt
///     close                                 deletes the sources
///     delete                                deletes all, the context, too
///
/// It ends when the input does, without deleting anything.
#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <iterator>
#include <mutex>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "../support/context_fixture.h"
#include "board.h"
#include "ledger.h"

namespace {

constexpr std::size_t payload_bytes = 64;
constexpr std::size_t message_bytes_max = 256; ///< with all headers, alone in its frame

/// Of "<name>=<value>"; the list points into the names, which are what becomes of the arguments.
test::OptionList parse_options(std::vector<std::string>& arguments)
{
    test::OptionList options;
    for (std::string& argument : arguments) {
        const std::size_t equals = argument.find('=');
        const std::string value = argument.substr(equals + 1);
        argument.resize(equals);
        options.emplace_back(argument.c_str(), value);
    }
    return options;
}

std::string option(const test::OptionList& options, std::string_view wanted, const char* unless_configured)
{
    for (const auto& [name, value] : options) {
        if (name == wanted) {
            return value;
        }
    }
    return unless_configured;
}

class FaultPeer {
public:
    FaultPeer(const char* board, const test::OptionList& options)
        : board_(test::map_board(board))
        , ledger_(*board_)
        , window_bytes_(std::stoull(option(options, "send_window_bytes", "4194304")))
        , ordered_(option(options, "source_order", "token") == "context")
        , ctx_(test::make_context(options))
    {
    }

    ~FaultPeer() { halt(); }
    FaultPeer(const FaultPeer&) = delete;
    FaultPeer& operator=(const FaultPeer&) = delete;

    void obey(const std::string& line)
    {
        std::istringstream words{line};
        std::string verb;
        words >> verb;
        if (verb == "listen") {
            listen(words);
        } else if (verb == "hold" || verb == "release") {
            hold(verb == "hold");
        } else if (verb == "overflowed") {
            overflowed();
        } else if (verb == "open") {
            open(words);
        } else if (verb == "connected") {
            wait([this] { return board_->connected == sources_.size(); });
        } else if (verb == "send") {
            send(number(words), 0);
        } else if (verb == "push") {
            send(number(words), LBM_SRC_NONBLOCK);
        } else if (verb == "flow") {
            const std::size_t count = number(words);
            flow(count, std::chrono::milliseconds{number(words)});
        } else if (verb == "halt") {
            halt();
        } else if (verb == "close") {
            close();
        } else if (verb == "delete") {
            close();
            receiver_.reset();
            ctx_.reset();
        } else {
            throw std::invalid_argument(line);
        }
    }

private:
    static std::size_t number(std::istringstream& words)
    {
        std::size_t value = 0;
        if (!(words >> value)) {
            throw std::invalid_argument("a number is missing");
        }
        return value;
    }

    template <class Condition>
    static void wait(Condition condition)
    {
        // It waits with a deadline. With every fifth packet lost discovery alone may need one of them.
        const test::Recorder clock;
        const bool soon = clock.wait(condition);
        if (!soon && !clock.wait(condition)) {
            throw std::runtime_error("it did not come in time");
        }
    }

    void listen(std::istringstream& words)
    {
        std::string pattern;
        words >> pattern;
        lbm_wildcard_rcv_t* raw = nullptr;
        test::check(
            lbm_wildcard_rcv_create(&raw, ctx_.get(), pattern.c_str(), nullptr, nullptr, &on_message, this, nullptr));
        receiver_.reset(raw);
    }

    static int on_message(lbm_rcv_t*, lbm_msg_t* msg, void* clientd)
    {
        auto& self = *static_cast<FaultPeer*>(clientd);
        std::unique_lock lock{self.mutex_};
        self.changed_.wait(lock, [&] { return !self.held_; });
        self.ledger_.enter(*msg);
        return 0;
    }

    void hold(bool held)
    {
        {
            const std::lock_guard lock{mutex_};
            held_ = held;
        }
        changed_.notify_all();
    }

    void overflowed()
    {
        lbm_context_stats_t stats{};
        wait([&] {
            test::check(lbm_context_retrieve_stats(ctx_.get(), &stats));
            return stats.messages_overflowed > 0;
        });
    }

    void open(std::istringstream& words)
    {
        std::string prefix;
        words >> prefix;
        const std::size_t count = number(words);
        std::vector<std::string> arguments{std::istream_iterator<std::string>{words}, {}};
        const test::OptionList options = parse_options(arguments);
        for (std::size_t i = 0; i < count; ++i) {
            open_one(prefix + '.' + std::to_string(i), options);
        }
    }

    void open_one(const std::string& name, const test::OptionList& options)
    {
        if (sources_.size() == test::sent_max) {
            throw std::invalid_argument("more sources than the board has room for");
        }
        lbm_topic_t* const topic = test::source_topic(ctx_, name, options);
        lbm_src_t* raw = nullptr;
        test::check(lbm_src_create(&raw, ctx_.get(), topic, &on_source_event, this, nullptr));
        sources_.emplace_back(raw);
        board_->sources = static_cast<std::uint32_t>(sources_.size());
    }

    static int on_source_event(lbm_src_t*, int event, void*, void* clientd)
    {
        auto& self = *static_cast<FaultPeer*>(clientd);
        if (event == LBM_SRC_EVENT_CONNECT) {
            ++self.board_->connected;
        } else {
            --self.board_->connected;
        }
        return 0;
    }

    /// The last round leaves nothing behind in a frame that is being collected.
    void send(std::size_t count, int flags)
    {
        for (std::size_t n = 1; n <= count; ++n) {
            for (std::size_t i = 0; i < sources_.size(); ++i) {
                send_one(sources_[i].get(), board_->sent[i], n == count ? flags | LBM_MSG_FLUSH : flags);
            }
        }
        note_written();
    }

    void send_one(lbm_src_t* source, test::Sent& sent, int flags)
    {
        std::string payload = std::to_string(sent.accepted);
        if (ordered_) {
            payload += ' ' + std::to_string(sent_by_all_++);
        }
        payload.resize(payload_bytes, ' ');
        sent.tried = sent.accepted + 1;
        test::check(lbm_src_send(source, payload.data(), payload.size(), flags));
        sent.accepted = sent.tried.load();
    }

    /// With less sent than the window takes, the engine has had room for everything, and what it takes it sends.
    void note_written()
    {
        std::uint64_t messages = 0;
        for (std::size_t i = 0; i < sources_.size(); ++i) {
            messages += board_->sent[i].accepted;
        }
        for (std::size_t i = 0; messages < window_bytes_ / message_bytes_max && i < sources_.size(); ++i) {
            board_->sent[i].written = board_->sent[i].accepted.load();
        }
    }

    void flow(std::size_t count, std::chrono::milliseconds pause)
    {
        flowing_ = true;
        flow_ = std::thread{[this, count, pause] {
            std::unique_lock lock{flow_mutex_};
            while (flowing_) {
                lock.unlock();
                send(count, 0);
                lock.lock();
                halted_.wait_for(lock, pause, [this] { return !flowing_; });
            }
        }};
    }

    void halt()
    {
        {
            const std::lock_guard lock{flow_mutex_};
            flowing_ = false;
        }
        halted_.notify_all();
        if (flow_.joinable()) {
            flow_.join();
        }
    }

    void close()
    {
        halt();
        sources_.clear();
        for (std::uint32_t i = 0; i < board_->sources; ++i) {
            board_->sent[i].closed = true;
        }
    }

    test::BoardPtr board_;
    test::Ledger ledger_;
    std::mutex mutex_;
    std::condition_variable changed_;
    bool held_ = false;
    const std::uint64_t window_bytes_;
    const bool ordered_; ///< among all sources
    std::uint64_t sent_by_all_ = 0;
    test::ContextHandle ctx_;
    test::WildcardHandle receiver_;
    std::vector<test::SourceHandle> sources_;
    std::mutex flow_mutex_;
    std::condition_variable halted_;
    bool flowing_ = false;
    std::thread flow_;
};

} // namespace

int main(int argc, char** argv)
{
    try {
        std::vector<std::string> arguments(argv + std::min(argc, 2), argv + argc);
        FaultPeer peer{argc > 1 ? argv[1] : "", parse_options(arguments)};
        std::cout << "ok" << std::endl;
        for (std::string line; std::getline(std::cin, line);) {
            peer.obey(line);
            std::cout << "ok" << std::endl;
        }
        std::_Exit(EXIT_SUCCESS); // while the peer is there: nothing is to be cleaned up
    } catch (const std::exception& e) {
        std::cout << "failed: " << e.what() << std::endl;
    }
    std::_Exit(EXIT_FAILURE);
}
