#include "last_words.h"

#include <unistd.h>

#include <exception>
#include <string>
#include <string_view>

namespace qx::transport {
namespace {

constexpr std::size_t what_bytes_max = 1'024;

void append_quoted(std::string& line, std::string_view text)
{
    constexpr std::string_view digits = "0123456789abcdef";
    line += '"';
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte >= 0x20 && byte != 0x7f && c != '"' && c != '\\') {
            line += c;
            continue;
        }
        line += "\\x";
        line += digits[byte >> 4U];
        line += digits[byte & 0xFU];
    }
    line += '"';
}

void write_last_words(const lbm_msg_t& message, std::string_view what)
{
    std::string line = "lbm: exception left a callback: topic=";
    append_quoted(line, message.topic_name);
    line += " sequence_number=" + std::to_string(message.sequence_number) + " what=";
    append_quoted(line, what.substr(0, what_bytes_max));
    line += '\n';
    // One write, so that lines of other threads do not get in between. Nothing is left to do if it fails.
    [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, line.data(), line.size());
}

} // namespace

void call_or_die(lbm_rcv_cb_proc proc, lbm_rcv_t* rcv, lbm_msg_t& message, void* clientd) noexcept
{
    // Terminating inside the handler keeps the exception current; rethrown, it may be gone when the optimiser has
    // turned the way out into a plain call of std::terminate.
    try {
        proc(rcv, &message, clientd);
    } catch (const std::exception& e) {
        write_last_words(message, e.what());
        std::terminate();
    } catch (...) {
        write_last_words(message, "not a std::exception");
        std::terminate();
    }
}

} // namespace qx::transport
