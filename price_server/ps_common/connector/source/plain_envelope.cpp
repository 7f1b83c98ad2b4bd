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

#include "plain_json.h"

#include <algorithm>
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

bool TakeKeyAndColon(plain_json::Cursor& cursor, std::string_view& key)
{
    cursor.SkipBlanks();
    if (!cursor.TakeKey(key)) {
        return false;
    }
    cursor.SkipBlanks();
    return cursor.Take(':');
}

bool TakeScalar(plain_json::Cursor& cursor, std::string* out)
{
    if (cursor.Take('"')) {
        return out != nullptr ? cursor.TakeString(*out) : cursor.SkipString();
    }
    const char* const begin = cursor.At();
    if (!cursor.TakeWord("true") && !cursor.TakeWord("false") && !cursor.TakeWord("null") && !cursor.TakeNumber()) {
        return false;
    }
    if (out != nullptr) {
        out->assign(begin, cursor.At());
    }
    return true;
}

/// Any value that is no container, and the blanks around it: its text, unless `out` is null.
bool TakeValue(plain_json::Cursor& cursor, std::string* out)
{
    cursor.SkipBlanks();
    const bool taken = TakeScalar(cursor, out);
    cursor.SkipBlanks();
    return taken;
}

using Texts = std::array<std::optional<std::string>, keys.size()>;

/// Its text, where it is the first of that name and one that matters.
bool TakeMember(plain_json::Cursor& cursor, Texts& texts)
{
    std::string_view key;
    if (!TakeKeyAndColon(cursor, key)) {
        return false;
    }
    const std::size_t index = IndexOf(key);
    return TakeValue(cursor, index < keys.size() && !texts[index] ? &texts[index].emplace() : nullptr);
}

bool TakeEnd(plain_json::Cursor& cursor)
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
    plain_json::Cursor cursor(payload);
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
