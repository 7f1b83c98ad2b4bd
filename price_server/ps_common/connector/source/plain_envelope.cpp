// What this reader relies on of the full one, Boost.PropertyTree's `read_json`, as a fuzzer holds against it:
// - Blanks are space, tab, line feed and carriage return; behind the document nothing else may stand.
// - Of several members with one name the first counts.
// - Numbers and literals keep their text.
// - In strings, bytes below 0x20 are errors. Of UTF-8 only the number of trailing bytes is checked, not what they mean:
//   C0 80 passes. All of them pass unchanged.
// - The escapes are those of JSON. Each \u outside the surrogates is one character, \u0000 included.
// Whatever is not sure to be right is left to the full reader, so that every failure is its own: a byte order mark,
// surrogates, containers, keys with escapes.
#include "plain_envelope.h"

#include <algorithm>
#include <cstdint>
#include <utility>

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

/// How many bytes follow one that starts a character; -1 if it cannot start one.
int TrailingBytes(char lead)
{
    const auto byte = static_cast<std::uint8_t>(lead);
    if (byte < 0x80) {
        return byte < 0x20 ? -1 : 0;
    }
    if (byte < 0xC0 || byte >= 0xF8) {
        return -1;
    }
    return byte < 0xE0 ? 1 : byte < 0xF0 ? 2 : 3;
}

bool IsTrailing(char c)
{
    return (static_cast<std::uint8_t>(c) & 0xC0U) == 0x80U;
}

/// What stands for itself in a string, one byte a character.
constexpr auto plainBytes = [] {
    std::array<bool, 256> plain{};
    for (std::size_t byte = 0x20; byte < 0x80; ++byte) {
        plain[byte] = byte != '"' && byte != '\\';
    }
    return plain;
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

    /// Of a key, which has no escapes: a view of the payload.
    bool TakeKey(std::string_view& key)
    {
        if (!Take('"')) {
            return false;
        }
        const char* const begin = m_at;
        if (!SkipCharacters() || Peek() != '"') {
            return false;
        }
        key = {begin, m_at};
        ++m_at;
        return true;
    }

    /// Behind the opening quote: the contents, appended.
    bool TakeString(std::string& out)
    {
        const char* const next_quote = std::find(m_at, m_end, '"');
        if (next_quote != m_end && next_quote[-1] == '\\') {
            out.reserve(static_cast<std::size_t>(m_end - m_at)); // a record: it is the rest, mostly
        }
        while (true) {
            const char* const run = m_at;
            if (!SkipCharacters()) {
                return false;
            }
            out.append(run, m_at);
            if (Take('"')) {
                return true;
            }
            if (!Take('\\') || !TakeEscape(out)) {
                return false;
            }
        }
    }

    const char* At() const { return m_at; }

private:
    bool TakeDigits()
    {
        const char* const first = m_at;
        m_at = std::find_if_not(m_at, m_end, IsDigit);
        return m_at != first;
    }

    /// To the next quote or backslash.
    bool SkipCharacters()
    {
        while (true) {
            while (!AtEnd() && plainBytes[static_cast<std::uint8_t>(*m_at)]) {
                ++m_at;
            }
            if (AtEnd()) {
                return false;
            }
            if (*m_at == '"' || *m_at == '\\') {
                return true;
            }
            const int trailing = TrailingBytes(*m_at);
            if (trailing < 0 || m_end - m_at <= trailing || !std::all_of(m_at + 1, m_at + 1 + trailing, IsTrailing)) {
                return false;
            }
            m_at += 1 + trailing;
        }
    }

    bool TakeEscape(std::string& out)
    {
        static constexpr std::string_view escapes = R"("\/bfnrt)";
        static constexpr std::string_view characters = "\"\\/\b\f\n\r\t";
        const char c = Peek();
        if (const std::size_t found = escapes.find(c); found != std::string_view::npos && !AtEnd()) {
            ++m_at;
            out += characters[found];
            return true;
        }
        return Take('u') && TakeCodePoint(out);
    }

    bool TakeCodePoint(std::string& out)
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
        AppendUtf8(out, value);
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

    static void AppendUtf8(std::string& out, unsigned value)
    {
        const auto trailing = [](unsigned bits) { return static_cast<char>(0x80U | (bits & 0x3FU)); };
        if (value < 0x80) {
            out += static_cast<char>(value);
        } else if (value < 0x800) {
            out += static_cast<char>(0xC0U | (value >> 6U));
            out += trailing(value);
        } else {
            out += static_cast<char>(0xE0U | (value >> 12U));
            out += trailing(value >> 6U);
            out += trailing(value);
        }
    }

    const char* m_at;
    const char* m_end;
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
    out.append(begin, cursor.At());
    return true;
}

/// Any value that is no container, and the blanks around it: its text, appended.
bool TakeValue(Cursor& cursor, std::string& out)
{
    cursor.SkipBlanks();
    const bool taken = TakeScalar(cursor, out);
    cursor.SkipBlanks();
    return taken;
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
    std::string ignored;
    Cursor cursor(payload);
    cursor.SkipBlanks();
    if (!cursor.Take('{')) {
        return false;
    }
    do {
        std::string_view key;
        if (!TakeKeyAndColon(cursor, key)) {
            return false;
        }
        const std::size_t index = IndexOf(key);
        const bool wanted = index < keys.size() && !texts[index];
        if (!TakeValue(cursor, wanted ? texts[index].emplace() : ignored)) {
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
