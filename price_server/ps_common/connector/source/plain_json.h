/// The scalars of JSON as Boost.PropertyTree's `read_json` takes them. What is relied on, as a fuzzer holds against it:
/// - Blanks are space, tab, line feed and carriage return.
/// - Numbers and literals keep their text.
/// - In strings, bytes below 0x20 are errors.
/// - Of UTF-8 only the number of trailing bytes is checked. All of it passes unchanged, C0 80, too.
/// - The escapes are those of JSON. Each \u outside the surrogates is one character, \u0000 included.
/// Surrogates are not taken, although some of them are right.
#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include <emmintrin.h>

namespace ps_ns::plain_json {

inline bool IsBlank(char c)
{
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

inline bool IsDigit(char c)
{
    return c >= '0' && c <= '9';
}

/// How many bytes follow one that starts a character of several; -1 if it cannot start one.
inline int TrailingBytes(char lead)
{
    const auto byte = static_cast<std::uint8_t>(lead);
    if (byte < 0xC0 || byte >= 0xF8) {
        return -1;
    }
    return byte < 0xE0 ? 1 : byte < 0xF0 ? 2 : 3;
}

inline bool IsTrailing(char c)
{
    return (static_cast<std::uint8_t>(c) & 0xC0U) == 0x80U;
}

/// As many bytes as are looked at together. SSE2 is part of every x86-64, and this is built for no other machine.
inline constexpr std::ptrdiff_t blockBytes = sizeof(__m128i);

/// How many of a block's first bytes stand for themselves in a string, one byte a character: ASCII without controls,
/// quote and backslash.
inline int PlainBytes(const char* block)
{
    const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(block));
    const __m128i quotes = _mm_cmpeq_epi8(bytes, _mm_set1_epi8('"'));
    const __m128i backslashes = _mm_cmpeq_epi8(bytes, _mm_set1_epi8('\\'));
    const __m128i others = _mm_cmplt_epi8(bytes, _mm_set1_epi8(0x20)); // as signed: those above ASCII, too
    const int special = _mm_movemask_epi8(_mm_or_si128(_mm_or_si128(quotes, backslashes), others));
    return std::countr_zero(static_cast<unsigned>(special) | 1U << blockBytes);
}

/// Whether one byte is such a one.
inline bool IsPlain(char c)
{
    const auto byte = static_cast<std::uint8_t>(c);
    return byte >= 0x20 && byte < 0x80 && c != '"' && c != '\\';
}

/// What stands behind a backslash for one character; 0 for what does not.
inline constexpr auto escapes = [] {
    std::array<char, 256> characters{};
    constexpr std::string_view letters = R"("\/bfnrt)";
    for (std::size_t i = 0; i < letters.size(); ++i) {
        characters[static_cast<std::uint8_t>(letters[i])] = "\"\\/\b\f\n\r\t"[i];
    }
    return characters;
}();

/// The text of a string that is wanted, written where it stays.
class KeptText {
public:
    KeptText(std::string& out, std::size_t room)
        : m_out(out)
    {
        m_out.resize(room);
        m_to = m_out.data();
    }

    void Put(char c) { *m_to++ = c; }
    void Put(const char* begin, const char* end) { m_to = std::copy(begin, end, m_to); }
    void Finish() { m_out.resize(static_cast<std::size_t>(m_to - m_out.data())); }

private:
    std::string& m_out;
    char* m_to;
};

/// The text of a string that is not wanted. There may be many, and room for each would make the time quadratic.
struct DroppedText {
    static void Put(char) {}
    static void Put(const char*, const char*) {}
};

/// A place in the payload, which outlives it and the keys that it gives. What takes something is false, and may have
/// moved on, when it is not there.
class Cursor {
public:
    explicit Cursor(std::string_view text)
        : m_at(text.data())
        , m_end(text.data() + text.size())
    {
    }

    bool AtEnd() const { return m_at == m_end; }

    void SkipBlanks()
    {
        while (!AtEnd() && IsBlank(*m_at)) {
            ++m_at;
        }
    }

    bool Take(char c)
    {
        if (AtEnd() || *m_at != c) {
            return false;
        }
        ++m_at;
        return true;
    }

    bool TakeWord(std::string_view word)
    {
        if (!std::string_view(m_at, m_end).starts_with(word)) {
            return false;
        }
        m_at += word.size();
        return true;
    }

    bool TakeNumber()
    {
        Take('-');
        if (!Take('0') && !TakeDigits()) {
            return false;
        }
        if (Take('.') && !TakeDigits()) {
            return false;
        }
        if (!Take('e') && !Take('E')) {
            return true;
        }
        if (!Take('+')) {
            Take('-');
        }
        return TakeDigits();
    }

    /// Of a key, which is plain: a view of the payload.
    bool TakeKey(std::string_view& key)
    {
        if (!Take('"')) {
            return false;
        }
        const char* const begin = m_at;
        SkipPlain();
        key = {begin, m_at};
        return Take('"');
    }

    /// Behind the opening quote: the contents. Where an escape or a character of several bytes is among them, they get
    /// room as if all of the payload that is left were theirs; most have none.
    bool TakeString(std::string& out)
    {
        const char* const begin = m_at;
        SkipPlain();
        out.assign(begin, m_at);
        if (Take('"')) {
            return true;
        }
        m_at = begin;
        KeptText text(out, static_cast<std::size_t>(m_end - m_at)); // no character gets longer
        const bool taken = TakeText(text);
        text.Finish();
        return taken;
    }

    bool SkipString()
    {
        DroppedText text;
        return TakeText(text);
    }

    const char* At() const { return m_at; }

private:
    bool TakeDigits()
    {
        const char* const first = m_at;
        m_at = std::find_if_not(m_at, m_end, IsDigit);
        return m_at != first;
    }

    void SkipPlain()
    {
        while (m_end - m_at >= blockBytes) {
            const std::ptrdiff_t plain = PlainBytes(m_at);
            m_at += plain;
            if (plain < blockBytes) {
                return;
            }
        }
        m_at = std::find_if_not(m_at, m_end, IsPlain);
    }

    template <class Text>
    bool TakeText(Text& text)
    {
        TakePlain(text);
        while (!Take('"')) {
            if (!(Take('\\') ? TakeEscape(text) : TakeCharacter(text))) {
                return false;
            }
            TakePlain(text);
        }
        return true;
    }

    template <class Text>
    void TakePlain(Text& text)
    {
        const char* const run = m_at;
        SkipPlain();
        text.Put(run, m_at);
    }

    /// One of several bytes.
    template <class Text>
    bool TakeCharacter(Text& text)
    {
        const int trailing = AtEnd() ? -1 : TrailingBytes(*m_at);
        if (trailing < 0 || m_end - m_at <= trailing || !std::all_of(m_at + 1, m_at + 1 + trailing, IsTrailing)) {
            return false;
        }
        const char* const lead = m_at;
        m_at += 1 + trailing;
        text.Put(lead, m_at);
        return true;
    }

    template <class Text>
    bool TakeEscape(Text& text)
    {
        if (Take('u')) {
            return TakeCodePoint(text);
        }
        const char character = AtEnd() ? '\0' : escapes[static_cast<std::uint8_t>(*m_at++)];
        if (character == '\0') {
            return false;
        }
        text.Put(character);
        return true;
    }

    template <class Text>
    bool TakeCodePoint(Text& text)
    {
        unsigned value = 0;
        for (int i = 0; i < 4; ++i) {
            const int digit = TakeHexDigit();
            if (digit < 0) {
                return false;
            }
            value = value * 16 + static_cast<unsigned>(digit);
        }
        if (value >= 0xD800 && value <= 0xDFFF) {
            return false;
        }
        PutUtf8(text, value);
        return true;
    }

    int TakeHexDigit()
    {
        if (AtEnd()) {
            return -1;
        }
        const char c = *m_at++;
        if (IsDigit(c)) {
            return c - '0';
        }
        const char lower = static_cast<char>(c | 0x20);
        return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
    }

    template <class Text>
    static void PutUtf8(Text& text, unsigned value)
    {
        const auto trailing = [](unsigned bits) { return static_cast<char>(0x80U | (bits & 0x3FU)); };
        if (value < 0x80) {
            text.Put(static_cast<char>(value));
        } else if (value < 0x800) {
            text.Put(static_cast<char>(0xC0U | (value >> 6U)));
            text.Put(trailing(value));
        } else {
            text.Put(static_cast<char>(0xE0U | (value >> 12U)));
            text.Put(trailing(value >> 6U));
            text.Put(trailing(value));
        }
    }

    const char* m_at;
    const char* m_end;
};

} // namespace ps_ns::plain_json
