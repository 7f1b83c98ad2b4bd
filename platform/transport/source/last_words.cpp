#include "last_words.h"

#include <unistd.h>

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

} // namespace

void write_last_words(std::string_view topic, std::uint32_t sequence, std::string_view what) noexcept
{
    std::string line = "lbm: exception left a callback: topic=";
    append_quoted(line, topic);
    line += " sequence_number=" + std::to_string(sequence) + " what=";
    append_quoted(line, what.substr(0, what_bytes_max));
    line += '\n';
    // One write, so that lines of other threads do not get in between. Nothing is left to do if it fails.
    [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, line.data(), line.size());
}

} // namespace qx::transport
