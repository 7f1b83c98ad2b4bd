#include "qxnotify/terminal.h"

#include <unistd.h>

namespace qx::tool {

namespace {

constexpr unsigned char byte_at(std::string_view text, std::size_t i)
{
    return static_cast<unsigned char>(text[i]);
}

/// Length of the sequence that the first byte announces; 0 when no sequence begins with it.
std::size_t announced_length(unsigned char first)
{
    if (first < 0x80) {
        return 1;
    }
    if (first >= 0xC2 && first < 0xE0) {
        return 2;
    }
    if (first >= 0xE0 && first < 0xF0) {
        return 3;
    }
    return first >= 0xF0 && first < 0xF5 ? 4 : 0;
}

/// Length of the printable character at the front of `text`, 0 when there is none.
std::size_t printable_length(std::string_view text)
{
    const unsigned char first = byte_at(text, 0);
    const std::size_t length = announced_length(first);
    if (length == 0 || length > text.size() || first < 0x20 || first == 0x7F || first == '\\') {
        return 0;
    }
    for (std::size_t i = 1; i < length; ++i) {
        if ((byte_at(text, i) & 0xC0U) != 0x80) {
            return 0;
        }
    }
    // U+0080 to U+009F are control characters too; some terminals obey them.
    return first == 0xC2 && byte_at(text, 1) < 0xA0 ? 0 : length;
}

std::string escape(unsigned char byte)
{
    switch (byte) {
    case '\n':
        return "\\n";
    case '\r':
        return "\\r";
    case '\t':
        return "\\t";
    case '\\':
        return "\\\\";
    default:
        constexpr char digits[] = "0123456789abcdef";
        return {'\\', 'x', digits[byte >> 4U], digits[byte & 0xFU]};
    }
}

} // namespace

bool is_terminal(int fd)
{
    return ::isatty(fd) == 1;
}

bool use_colour(ColourChoice choice, bool terminal, const char* no_color)
{
    if (choice != ColourChoice::automatic) {
        return choice == ColourChoice::always;
    }
    return terminal && (no_color == nullptr || *no_color == '\0');
}

std::string escaped(std::string_view text)
{
    std::string out;
    out.reserve(text.size());
    while (!text.empty()) {
        if (const std::size_t length = printable_length(text); length > 0) {
            out += text.substr(0, length);
            text.remove_prefix(length);
        } else {
            out += escape(byte_at(text, 0));
            text.remove_prefix(1);
        }
    }
    return out;
}

std::string quoted(std::string_view text, std::size_t bytes_max)
{
    std::string out = "\"" + escaped(text.substr(0, bytes_max)) + "\"";
    if (text.size() > bytes_max) {
        out += " (the first " + std::to_string(bytes_max) + " of " + std::to_string(text.size()) + " bytes)";
    }
    return out;
}

} // namespace qx::tool
