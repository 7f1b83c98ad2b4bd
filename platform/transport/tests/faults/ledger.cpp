#include "ledger.h"

#include <charconv>
#include <cstring>
#include <stdexcept>

namespace test {

void Ledger::enter(const lbm_msg_t& msg)
{
    Source& source = find(msg.source);
    if (!source.there && msg.type != LBM_MSG_BOS) {
        ++source.heard.after_end;
    }
    switch (msg.type) {
    case LBM_MSG_BOS:
        return begin(source, msg.sequence_number);
    case LBM_MSG_DATA:
        return data(source, msg);
    case LBM_MSG_UNRECOVERABLE_LOSS:
    case LBM_MSG_UNRECOVERABLE_LOSS_BURST:
        return loss(source, msg);
    case LBM_MSG_EOS:
        return end(source, msg.sequence_number);
    default:
        complain(source, "a message of type " + std::to_string(msg.type), msg.sequence_number);
    }
}

Ledger::Source& Ledger::find(const char* name)
{
    if (const auto known = sources_.find(name); known != sources_.end()) {
        return known->second;
    }
    const std::uint32_t index = board_.heard_count;
    if (index == heard_max) {
        throw std::runtime_error("more sources than the board has room for");
    }
    Heard& heard = board_.heard[index];
    std::strncpy(heard.source.data(), name, heard.source.size() - 1);
    board_.heard_count = index + 1;
    return sources_.emplace(name, Source{heard}).first->second;
}

void Ledger::begin(Source& source, std::uint64_t number)
{
    if (source.there) {
        complain(source, "a second beginning", number);
    }
    if (source.started && number != source.heard.next) {
        complain(source, "a return that does not go on where it ended", number);
    }
    source.there = true;
    ++source.heard.begins;
}

void Ledger::data(Source& source, const lbm_msg_t& msg)
{
    reach(source, msg.sequence_number);
    std::uint64_t number = 0;
    const auto parsed = std::from_chars(msg.data, msg.data + msg.len, number);
    if (parsed.ec != std::errc{} || number != msg.sequence_number) {
        complain(source, "data that is not what was sent under its number", msg.sequence_number);
    }
    check_order(source, msg, {parsed.ptr, msg.data + msg.len});
    ++source.heard.delivered;
    source.heard.next = msg.sequence_number + 1ULL;
}

void Ledger::check_order(Source& source, const lbm_msg_t& msg, std::string_view rest)
{
    rest.remove_prefix(rest.starts_with(' ') ? 1 : 0);
    std::uint64_t number = 0;
    if (std::from_chars(rest.data(), rest.data() + rest.size(), number).ec != std::errc{}) {
        return; // no order is promised
    }
    const std::string name = msg.source;
    std::uint64_t& next = counts_[name.substr(0, name.rfind(':'))];
    if (number < next) {
        complain(source, "what another source of its sender has overtaken", msg.sequence_number);
    }
    next = number + 1;
}

/// How long it is shows in the next number that is heard of.
void Ledger::loss(Source& source, const lbm_msg_t& msg)
{
    reach(source, msg.sequence_number);
    source.pending = msg.type;
    ++source.heard.losses;
}

void Ledger::end(Source& source, std::uint64_t number)
{
    if (source.started) { // else its number is not known
        reach(source, number);
    }
    source.there = false;
    ++source.heard.ends;
}

void Ledger::reach(Source& source, std::uint64_t number)
{
    Heard& heard = source.heard;
    if (!source.started) {
        source.started = true;
        heard.first = number;
        heard.next = number;
        return;
    }
    if (source.pending != 0) {
        const std::uint64_t length = number - heard.next;
        if (number <= heard.next || (length == 1) != (source.pending == LBM_MSG_UNRECOVERABLE_LOSS)) {
            complain(source, "a loss of another length than its kind says", number);
        }
        heard.lost += length;
        heard.next = number;
        source.pending = 0;
    } else if (number != heard.next) {
        complain(source, "a hole or an overlap", number);
    }
}

void Ledger::complain(Source& source, const std::string& what, std::uint64_t number)
{
    if (source.heard.wrong[0] == '\0') {
        const std::string line =
            what + " at " + std::to_string(number) + ", expected " + std::to_string(source.heard.next);
        std::strncpy(source.heard.wrong.data(), line.c_str(), source.heard.wrong.size() - 1);
    }
}

} // namespace test
