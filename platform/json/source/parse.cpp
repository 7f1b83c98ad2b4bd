#include "document.h"
#include "surrogates.h"

#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

// The reader is compiled into a namespace of our own: it is set up differently here than in a program that uses the
// same library, and the linker would keep only one of the two.
#define RAPIDJSON_NAMESPACE qx_rapidjson
#define RAPIDJSON_NAMESPACE_BEGIN namespace qx_rapidjson {
#define RAPIDJSON_NAMESPACE_END }
// Numbers keep their text, so none is too big: the reader goes on reading its digits. The value that it computes on the
// side is never used; its exponent may wrap around, for which this file is compiled with -fwrapv.
#define RAPIDJSON_PARSE_ERROR(code, offset)                                                                            \
    do {                                                                                                               \
        if ((code) != kParseErrorNumberTooBig) {                                                                       \
            RAPIDJSON_PARSE_ERROR_NORETURN(code, offset);                                                              \
            RAPIDJSON_PARSE_ERROR_EARLY_RETURN_VOID;                                                                   \
        }                                                                                                              \
    } while (false)
// The reader's SIMD paths stay off: they let control characters from 0x1A to 0x1F through.
#include <rapidjson/reader.h>

namespace libjson {

namespace detail {

/// Receives the reader's events. Values wait in `m_pending`, as plain data, until the end of their container is seen,
/// and then become nodes, side by side, in the document.
class DocumentBuilder : public qx_rapidjson::BaseReaderHandler<qx_rapidjson::UTF8<>, DocumentBuilder> {
public:
    explicit DocumentBuilder(Document& document)
        : m_document(document)
    {
        m_pending.reserve(64);
    }

    // The reader calls these by its own names.
    bool Null() { return add(JSON_NULL, "null"); }
    bool Bool(bool value) { return value ? add(JSON_BOOL, "true") : add(JSON_BOOL, "false"); }
    bool RawNumber(const char* text, unsigned size, bool) { return add(JSON_NUMBER, {text, size}); }
    bool String(const char* text, unsigned size, bool) { return add(JSON_STRING, {text, size}); }
    bool Key(const char* text, unsigned size, bool)
    {
        m_name = {text, size};
        return true;
    }
    bool StartObject() { return open(JSON_NODE); }
    bool StartArray() { return open(JSON_ARRAY); }
    bool EndObject(unsigned members) { return close(members); }
    bool EndArray(unsigned elements) { return close(elements); }

    JSONNode root() const
    {
        JSONNode node;
        fill(node, m_pending.front());
        return JSONNode(std::as_const(node)); // a copy owns
    }

private:
    struct Value {
        std::string_view name;
        std::string_view text;
        const JSONNode* children;
        std::uint32_t child_count;
        char type;
    };

    bool add(char type, std::string_view text)
    {
        m_pending.push_back({m_name, text, nullptr, 0, type});
        m_name = {};
        return true;
    }

    bool open(char type) { return ++m_depth <= depth_max && add(type, ""); }

    bool close(unsigned count)
    {
        --m_depth;
        const auto children = m_pending.end() - count;
        Value& container = *(children - 1);
        container.children = store({children, m_pending.end()});
        container.child_count = count;
        m_pending.erase(children, m_pending.end());
        return true;
    }

    const JSONNode* store(std::span<const Value> values)
    {
        JSONNode* const nodes = m_document.make_nodes(values.size());
        for (std::size_t i = 0; i < values.size(); ++i) {
            fill(nodes[i], values[i]);
        }
        return nodes;
    }

    void fill(JSONNode& node, const Value& value) const
    {
        node.m_document = &m_document;
        node.m_type = value.type;
        node.m_name = value.name.data();
        node.m_nameSize = static_cast<std::uint32_t>(value.name.size());
        node.m_text = value.text.data();
        node.m_textSize = static_cast<std::uint32_t>(value.text.size());
        node.m_children = value.children;
        node.m_childCount = value.child_count;
    }

    Document& m_document;
    std::vector<Value> m_pending;
    std::string_view m_name;
    std::size_t m_depth = 0;
};

} // namespace detail

namespace {

[[noreturn]] void fail(std::string_view expected, std::size_t offset)
{
    throw std::invalid_argument("libjson::parse: expected " + std::string(expected) + " at byte " +
                                std::to_string(offset));
}

constexpr std::size_t bytes_per_mebibyte = 1024UL * 1024UL;

std::string expectation(qx_rapidjson::ParseErrorCode code)
{
    using namespace qx_rapidjson; // NOLINT(google-build-using-namespace): the codes of one switch
    switch (code) {
    case kParseErrorDocumentRootNotSingular:
        return "the end of the text";
    case kParseErrorObjectMissName:
        return "a member name in double quotes";
    case kParseErrorObjectMissColon:
        return "':'";
    case kParseErrorObjectMissCommaOrCurlyBracket:
        return "',' or '}'";
    case kParseErrorArrayMissCommaOrSquareBracket:
        return "',' or ']'";
    case kParseErrorStringUnicodeEscapeInvalidHex:
        return "four hexadecimal digits in the escape";
    case kParseErrorStringEscapeInvalid:
        return "a known escape and no bare control character";
    case kParseErrorStringMissQuotationMark:
        return "the rest of a string";
    case kParseErrorNumberMissFraction:
        return "a digit behind the decimal point";
    case kParseErrorNumberMissExponent:
        return "a digit in the exponent";
    case kParseErrorTermination:
        return "no more than " + std::to_string(depth_max) + " levels";
    default:
        return "a value";
    }
}

void read(detail::Document& document, detail::DocumentBuilder& builder, std::size_t bytes)
{
    using namespace qx_rapidjson; // NOLINT(google-build-using-namespace): the flags
    // Not iterative, which is slower: the builder bounds the recursion.
    constexpr unsigned flags = kParseInsituFlag | kParseNumbersAsStringsFlag;
    InsituStringStream stream(document.text().data());
    Reader reader;
    if (const ParseResult result = reader.Parse<flags>(stream, builder); result.IsError()) {
        const bool past_bracket = result.Code() == kParseErrorTermination; // which the builder has refused
        fail(expectation(result.Code()), result.Offset() - (past_bracket ? 1 : 0));
    }
    // The reader takes a NUL byte for the end of the text.
    if (stream.Tell() != bytes) {
        fail("the end of the text", stream.Tell());
    }
}

} // namespace

JSONNode parse(std::string_view json)
{
    if (json.size() > text_bytes_max) {
        fail("the end of the text, which may have " + std::to_string(text_bytes_max / bytes_per_mebibyte) + " MiB,",
             text_bytes_max);
    }
    auto document = std::make_unique<detail::Document>(json);
    detail::replace_lone_surrogates(document->text());
    detail::DocumentBuilder builder(*document);
    read(*document, builder, json.size());
    JSONNode root = builder.root();
    static_cast<void>(document.release()); // from here on the owning nodes keep it
    return root;
}

} // namespace libjson
