#include "escape.h"

#include <cstddef>

namespace qx::logging::backend {

namespace {

constexpr std::string_view hexDigits = "0123456789abcdef";
constexpr std::string_view replacementCharacter = "\xEF\xBF\xBD"; // U+FFFD

bool isControl(unsigned char c)
{
    return c < 0x20 || c == 0x7F;
}

/// The letter of a control character's short escape, 0 when it has none.
char shortEscape(char c)
{
    switch (c) {
    case '\n':
        return 'n';
    case '\r':
        return 'r';
    case '\t':
        return 't';
    default:
        return 0;
    }
}

/// `prefix` starts the escape of a character that has no short one: \x in text, \u00 in JSON.
void appendControl(std::string& out, char c, std::string_view prefix)
{
    if (const char letter = shortEscape(c); letter != 0) {
        out += '\\';
        out += letter;
        return;
    }
    const auto byte = static_cast<unsigned char>(c);
    out += prefix;
    out += hexDigits[byte >> 4U];
    out += hexDigits[byte & 0xFU];
}

/// What the first byte of a multi-byte UTF-8 sequence says of the sequence: its length, and the range of its second
/// byte, which is what keeps out overlong forms, surrogates and numbers beyond U+10FFFF.
struct Sequence {
    std::size_t length;
    unsigned char secondLow;
    unsigned char secondHigh;
};

Sequence sequenceOf(unsigned char first)
{
    if (first >= 0xC2 && first <= 0xDF) {
        return {2, 0x80, 0xBF};
    }
    if (first >= 0xE0 && first <= 0xEF) {
        return {3, static_cast<unsigned char>(first == 0xE0 ? 0xA0 : 0x80),
                static_cast<unsigned char>(first == 0xED ? 0x9F : 0xBF)};
    }
    if (first >= 0xF0 && first <= 0xF4) {
        return {4, static_cast<unsigned char>(first == 0xF0 ? 0x90 : 0x80),
                static_cast<unsigned char>(first == 0xF4 ? 0x8F : 0xBF)};
    }
    return {0, 0, 0};
}

/// The length of the well-formed multi-byte character that `bytes` begins with, 0 when there is none.
std::size_t multiByteLength(std::string_view bytes)
{
    const auto at = [bytes](std::size_t i) { return static_cast<unsigned char>(bytes[i]); };
    const Sequence sequence = sequenceOf(at(0));
    if (sequence.length == 0 || sequence.length > bytes.size() || at(1) < sequence.secondLow ||
        at(1) > sequence.secondHigh) {
        return 0;
    }
    for (std::size_t i = 2; i < sequence.length; ++i) {
        if ((at(i) & 0xC0U) != 0x80) {
            return 0;
        }
    }
    return sequence.length;
}

void appendJsonAscii(std::string& out, char c)
{
    if (isControl(static_cast<unsigned char>(c))) {
        appendControl(out, c, "\\u00");
        return;
    }
    if (c == '"' || c == '\\') {
        out += '\\';
    }
    out += c;
}

} // namespace

void appendEscapedText(std::string& out, std::string_view bytes)
{
    for (const char c : bytes) {
        if (isControl(static_cast<unsigned char>(c))) {
            appendControl(out, c, "\\x");
        } else if (c == '\\') {
            out += "\\\\";
        } else {
            out += c;
        }
    }
}

void appendJsonString(std::string& out, std::string_view bytes)
{
    out += '"';
    while (!bytes.empty()) {
        if (static_cast<unsigned char>(bytes.front()) < 0x80) {
            appendJsonAscii(out, bytes.front());
            bytes.remove_prefix(1);
            continue;
        }
        const std::size_t length = multiByteLength(bytes);
        out += length != 0 ? bytes.substr(0, length) : replacementCharacter;
        bytes.remove_prefix(length != 0 ? length : 1);
    }
    out += '"';
}

} // namespace qx::logging::backend
