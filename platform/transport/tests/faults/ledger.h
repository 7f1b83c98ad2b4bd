/// The receiver's side of the account: holds every source to its life and adds up what was said of it.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>

#include <lbm/lbm.h>

#include "board.h"

namespace test {

/// Payloads begin with the number of the message in text, which is to be its sequence number. Of a sender that promises
/// an order among all its sources a second one follows, which counts the messages of them all.
/// Threads   one at a time.
class Ledger {
public:
    explicit Ledger(Board& board)
        : board_(board)
    {
    }

    void enter(const lbm_msg_t& msg);

private:
    struct Source {
        Heard& heard;
        bool there = false;
        bool started = false; ///< `first` is known
        int pending = 0;      ///< kind of the loss that lasts until the next number is heard of
    };

    Source& find(const char* name);
    static void begin(Source& source, std::uint64_t number);
    void data(Source& source, const lbm_msg_t& msg);
    void check_order(Source& source, const lbm_msg_t& msg, std::string_view rest);
    static void loss(Source& source, const lbm_msg_t& msg);
    static void end(Source& source, std::uint64_t number);
    static void reach(Source& source, std::uint64_t number);
    static void complain(Source& source, const std::string& what, std::uint64_t number);

    Board& board_;
    std::unordered_map<std::string, Source> sources_;
    std::unordered_map<std::string, std::uint64_t> counts_; ///< the next of each sender, at the least
};

} // namespace test
