// What this reader relies on of the full one, Boost.PropertyTree's `read_json`, as a fuzzer holds against it:
// - Blanks are space, tab, line feed and carriage return; behind the document nothing else may stand.
// - Of several members with one name the first counts.
// - Numbers and literals keep their text.
// - In strings, bytes below 0x20 are errors. Of UTF-8 only the number of trailing bytes is checked, not what they mean:
//   C0 80 passes. All of them pass unchanged.
// - The escapes are those of JSON. Each \u outside the surrogates is one character, \u0000 included.
// Whatever is not sure to be right is left to the full reader, so that every failure is its own: a byte order mark,
// surrogates, containers, keys that are not plain ASCII.
#include "plain_envelope.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <memory>
#include <utility>

#include <emmintrin.h>

namespace ps_ns {
namespace {

constexpr std::array<std::string_view, 4> keys{envelope_key::eventType, envelope_key::dataType, envelope_key::id,
                                               envelope_key::data};

/// Where the key is among those that matter; their number if it is none.
std::size_t IndexOf(std::string_view key)
{
    return static_cast<std::size_t>(std::find(keys.begin(), keys.end(), key) - keys.begin());
}

bool IsBlank(char c)
{
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

bool IsDigit(char c)
{
    return c >= '0' && c <= '9';
}

/// How many bytes follow one that starts a character of several; -1 if it cannot start one.
int TrailingBytes(char lead)
{
    const auto byte = static_cast<std::uint8_t>(lead);
    if (byte < 0xC0 || byte >= 0xF8) {
        return -1;
    }
    return byte < 0xE0 ? 1 : byte < 0xF0 ? 2 : 3;
}

bool IsTrailing(char c)
{
    return (static_cast<std::uint8_t>(c) & 0xC0U) == 0x80U;
}

/// As many bytes as are looked at together. SSE2 is part of every x86-64, and this is built for no other machine.
constexpr std::ptrdiff_t blockBytes = sizeof(__m128i);

/// How many of a block's first bytes stand for themselves in a string, one byte a character: ASCII without controls,
/// quote and backslash.
int PlainBytes(const char* block)
{
    const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(block));
    const __m128i quotes = _mm_cmpeq_epi8(bytes, _mm_set1_epi8('"'));
    const __m128i backslashes = _mm_cmpeq_epi8(bytes, _mm_set1_epi8('\\'));
    const __m128i others = _mm_cmplt_epi8(bytes, _mm_set1_epi8(0x20)); // as signed: those above ASCII, too
    const int special = _mm_movemask_epi8(_mm_or_si128(_mm_or_si128(quotes, backslashes), others));
    return std::countr_zero(static_cast<unsigned>(special) | 1U << blockBytes);
}

/// The same of one byte.
bool IsPlain(char c)
{
    const auto byte = static_cast<std::uint8_t>(c);
    return byte >= 0x20 && byte < 0x80 && c != '"' && c != '\\';
}

/// What stands behind a backslash for one character; 0 for what does not.
constexpr auto escapes = [] {
    std::array<char, 256> characters{};
    constexpr std::string_view letters = R"("\/bfnrt)";
    for (std::size_t i = 0; i < letters.size(); ++i) {
        characters[static_cast<std::uint8_t>(letters[i])] = "\"\\/\b\f\n\r\t"[i];
    }
    return characters;
}();

/// A place in the payload. What takes something is false, and may have moved on, when it is not there.
class Cursor {
public:
    explicit Cursor(std::string_view text)
        : m_at(text.data())
        , m_end(text.data() + text.size())
    {
    }

    bool AtEnd() const { return m_at == m_end; }
    char Peek() const { return AtEnd() ? '\0' : *m_at; }

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

    /// Behind the opening quote: the contents.
    bool TakeString(std::string& out)
    {
        const char* const begin = m_at;
        SkipPlain();
        out.assign(begin, m_at);
        return Take('"') || TakeRest(out);
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

    /// Of a string that is not all plain, what comes behind its plain beginning.
    bool TakeRest(std::string& out)
    {
        if (m_room == nullptr) {
            m_room = std::make_unique_for_overwrite<char[]>(static_cast<std::size_t>(m_end - m_at));
        }
        char* to = m_room.get();
        while (!Take('"')) {
            if (!(Take('\\') ? TakeEscape(to) : TakeCharacter(to))) {
                return false;
            }
            TakePlain(to);
        }
        out.append(m_room.get(), to);
        return true;
    }

    void TakePlain(char*& to)
    {
        const char* const run = m_at;
        SkipPlain();
        to = std::copy(run, m_at, to);
    }

    /// Of several bytes.
    bool TakeCharacter(char*& to)
    {
        const int trailing = AtEnd() ? -1 : TrailingBytes(*m_at);
        if (trailing < 0 || m_end - m_at <= trailing || !std::all_of(m_at + 1, m_at + 1 + trailing, IsTrailing)) {
            return false;
        }
        to = std::copy_n(m_at, 1 + trailing, to);
        m_at += 1 + trailing;
        return true;
    }

    bool TakeEscape(char*& to)
    {
        if (Take('u')) {
            return TakeCodePoint(to);
        }
        const char character = AtEnd() ? '\0' : escapes[static_cast<std::uint8_t>(*m_at++)];
        *to++ = character;
        return character != '\0';
    }

    bool TakeCodePoint(char*& to)
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
        WriteUtf8(to, value);
        return true;
    }

    int TakeHexDigit()
    {
        const char c = Peek();
        m_at += AtEnd() ? 0 : 1;
        if (IsDigit(c)) {
            return c - '0';
        }
        const char lower = static_cast<char>(c | 0x20);
        return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
    }

    static void WriteUtf8(char*& to, unsigned value)
    {
        const auto trailing = [](unsigned bits) { return static_cast<char>(0x80U | (bits & 0x3FU)); };
        if (value < 0x80) {
            *to++ = static_cast<char>(value);
        } else if (value < 0x800) {
            *to++ = static_cast<char>(0xC0U | (value >> 6U));
            *to++ = trailing(value);
        } else {
            *to++ = static_cast<char>(0xE0U | (value >> 12U));
            *to++ = trailing(value >> 6U);
            *to++ = trailing(value);
        }
    }

    const char* m_at;
    const char* m_end;
    /// For the text of one string at a time. No character gets longer, so what was left of the payload when it was made
    /// is enough for every later string; one for each would make the time quadratic.
    std::unique_ptr<char[]> m_room;
};

bool TakeKeyAndColon(Cursor& cursor, std::string_view& key)
{
    cursor.SkipBlanks();
    if (!cursor.TakeKey(key)) {
        return false;
    }
    cursor.SkipBlanks();
    return cursor.Take(':');
}

bool TakeScalar(Cursor& cursor, std::string& out)
{
    if (cursor.Take('"')) {
        return cursor.TakeString(out);
    }
    const char* const begin = cursor.At();
    if (!cursor.TakeWord("true") && !cursor.TakeWord("false") && !cursor.TakeWord("null") && !cursor.TakeNumber()) {
        return false;
    }
    out.assign(begin, cursor.At());
    return true;
}

/// Any value that is no container, and the blanks around it: its text.
bool TakeValue(Cursor& cursor, std::string& out)
{
    cursor.SkipBlanks();
    const bool taken = TakeScalar(cursor, out);
    cursor.SkipBlanks();
    return taken;
}

using Texts = std::array<std::optional<std::string>, keys.size()>;

/// Its text, where it is the first of that name and one that matters.
bool TakeMember(Cursor& cursor, Texts& texts)
{
    std::string_view key;
    if (!TakeKeyAndColon(cursor, key)) {
        return false;
    }
    const std::size_t index = IndexOf(key);
    std::string ignored;
    return TakeValue(cursor, index < keys.size() && !texts[index] ? texts[index].emplace() : ignored);
}

bool TakeEnd(Cursor& cursor)
{
    if (!cursor.Take('}')) {
        return false;
    }
    cursor.SkipBlanks();
    return cursor.AtEnd();
}

} // namespace

bool PlainEnvelope::Read(std::string_view payload)
{
    Texts texts;
    Cursor cursor(payload);
    cursor.SkipBlanks();
    if (!cursor.Take('{')) {
        return false;
    }
    do {
        if (!TakeMember(cursor, texts)) {
            return false;
        }
    } while (cursor.Take(','));
    // The record is not always looked for, so that an envelope may lack it.
    const bool complete =
        std::all_of(texts.begin(), texts.end() - 1, [](const auto& text) { return text.has_value(); });
    if (!TakeEnd(cursor) || !complete) {
        return false;
    }
    m_texts = std::move(texts);
    return true;
}

const std::string* PlainEnvelope::Text(std::string_view key) const
{
    const std::size_t index = IndexOf(key);
    return index < keys.size() && m_texts[index] ? &*m_texts[index] : nullptr;
}

} // namespace ps_ns
