/// JSON documents: `libjson::parse` reads a text, `JSONNode` is the read-only tree that comes of it.
///
/// Shape     Children stand in document order and duplicate member names are kept. The root and the elements of an
///           array have the name "". Texts are byte strings: bytes above 0x7F pass unchanged whether or not they are
///           UTF-8, and `\u0000` becomes a NUL byte.
/// Errors    `parse` reports a bad text itself; nothing is read lazily, so no later call fails because of the text.
/// Stack     `parse` uses less than 256 KiB of it, at the deepest nesting; the reader calls itself for each level.
/// Threads   A document never changes. Any number of threads may read and copy its nodes at the same time; one
///           `JSONNode` object being assigned to needs its own guard, like any other object.
/// Lifetime  A node that was copied keeps its whole document alive. `at`, `find`, `[]`, iteration and views refer into
///           the document: valid as long as any copied node of it lives. Copying costs one atomic increment.
///
/// Only the reading half of the interface exists: documents cannot be built or changed through it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

using json_char = char;
using json_string = std::string;
using json_int_t = std::int64_t;
using json_number = double;
using json_index_t = unsigned int;

inline constexpr char JSON_NULL = '\0';
inline constexpr char JSON_STRING = '\1';
inline constexpr char JSON_NUMBER = '\2';
inline constexpr char JSON_BOOL = '\3';
inline constexpr char JSON_ARRAY = '\4';
inline constexpr char JSON_NODE = '\5'; ///< an object

namespace libjson::detail {
class Document;
class DocumentBuilder;
} // namespace libjson::detail

class JSONNode {
public:
    using const_iterator = const JSONNode*;
    using iterator = const_iterator;

    /// A null that belongs to no document. A moved-from node is one, too.
    JSONNode() noexcept = default;
    JSONNode(const JSONNode& other) noexcept;
    JSONNode(JSONNode&& other) noexcept;
    JSONNode& operator=(const JSONNode& other) noexcept;
    JSONNode& operator=(JSONNode&& other) noexcept;
    ~JSONNode();

    char type() const noexcept { return m_type; }
    json_string name() const { return {m_name, m_nameSize}; }
    /// The same without a copy; a view of the document.
    std::string_view name_view() const noexcept { return {m_name, m_nameSize}; }

    /// The number of children; 0 for everything that is not a container.
    json_index_t size() const noexcept { return m_childCount; }
    bool empty() const noexcept { return m_childCount == 0; }
    const_iterator begin() const noexcept { return m_children; }
    const_iterator end() const noexcept { return m_children + m_childCount; }

    /// The first child of that name, or `end()`. Linear in the number of children.
    const_iterator find(std::string_view name) const noexcept;
    /// The child; throws std::out_of_range when there is none. Of several with one name the first is taken.
    const JSONNode& at(json_index_t index) const;
    const JSONNode& at(std::string_view name) const;
    const JSONNode& operator[](json_index_t index) const { return at(index); }
    const JSONNode& operator[](std::string_view name) const { return at(name); }

    /// A string unescaped; a number exactly as it was written; "true", "false", "null"; "" for a container.
    json_string as_string() const { return {m_text, m_textSize}; }
    /// The same without a copy; a view of the document.
    std::string_view text_view() const noexcept { return {m_text, m_textSize}; }

    /// Exact for every integer of 64 bits, signed or unsigned: above the signed range the result has the bits of the
    /// unsigned value. Beyond 64 bits the result is the nearest signed value. Fractions and exponents are honoured and
    /// truncated toward zero. A string gives its leading number, blanks before it skipped, or 0 when there is none; a
    /// bool gives 0 or 1; everything else 0.
    json_int_t as_int() const noexcept;

    /// The nearest double, infinite when there is none; otherwise as for `as_int`.
    json_number as_float() const;

    /// A bool itself; a number is true unless it is zero; a string is true when it is "true"; everything else false.
    bool as_bool() const noexcept;

    /// The text of a container, compact or indented by four blanks a level; "" for everything else. Numbers keep their
    /// text. Reading the result gives an equal document.
    json_string write() const;
    json_string write_formatted() const;

private:
    friend class libjson::detail::Document;
    friend class libjson::detail::DocumentBuilder;
    void swap(JSONNode& other) noexcept;

    const char* m_name = "";
    const char* m_text = "null"; // the document's text or a literal
    const JSONNode* m_children = nullptr;
    libjson::detail::Document* m_document = nullptr;
    std::uint32_t m_nameSize = 0;
    std::uint32_t m_textSize = 4;
    std::uint32_t m_childCount = 0;
    char m_type = JSON_NULL;
    bool m_owning = false; // a node inside a document does not keep it alive: that would be a cycle
};

namespace libjson {

/// Containers may be nested this deep; every walk of a document can rely on it.
inline constexpr std::size_t depth_max = 512;
/// Bounds what one text can make us allocate while it is read: up to some fifty times its size, some 3 GiB at this
/// limit, for a text of nothing but one-digit numbers. Where peers are not trusted, refuse long texts before this one.
inline constexpr std::size_t text_bytes_max = std::size_t{64} * 1024 * 1024;

/// Reads one document, strictly after RFC 8259; a bare scalar is a document, a blank text is none. `\uXXXX` becomes
/// UTF-8, a surrogate that lacks its partner U+FFFD. The text is copied once and not needed afterwards.
/// Throws std::invalid_argument that says what was expected at which byte offset of the text, also for a text that is
/// deeper or longer than the limits above; std::bad_alloc when there is no memory for its nodes.
JSONNode parse(std::string_view json);

} // namespace libjson
