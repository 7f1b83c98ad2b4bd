/// Any bytes as a JSON document: it is refused with an offset inside the text, or read; and what was read survives
/// being written, compact and indented.
#include <cstddef>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string_view>

#include <libjson.h>

namespace {

void require(bool holds)
{
    if (!holds) {
        __builtin_trap();
    }
}

std::optional<JSONNode> parsed(std::string_view text)
{
    try {
        return libjson::parse(text);
    } catch (const std::invalid_argument& e) {
        const std::string_view what = e.what();
        const auto offset = std::stoull(std::string(what.substr(what.rfind(' ') + 1)));
        require(offset <= text.size());
        return std::nullopt;
    }
}

/// Recursion is safe here: `libjson::depth_max` bounds it.
bool same(const JSONNode& a, const JSONNode& b)
{
    if (a.type() != b.type() || a.name() != b.name() || a.as_string() != b.as_string() || a.size() != b.size()) {
        return false;
    }
    for (json_index_t i = 0; i < a.size(); ++i) {
        if (!same(a.at(i), b.at(i))) {
            return false;
        }
    }
    return true;
}

/// The readings of a value agree with each other.
void check_readings(const JSONNode& node)
{
    const json_int_t integer = node.as_int();
    if (node.type() == JSON_NUMBER) {
        require(integer == 0 || node.as_bool());
        require(node.as_float() == 0 || node.as_bool());
    } else if (node.type() == JSON_BOOL) {
        require((integer == 1) == node.as_bool());
    }
    for (const JSONNode& child : node) {
        check_readings(child);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string_view text(reinterpret_cast<const char*>(data), size); // bytes as characters
    const std::optional<JSONNode> node = parsed(text);
    if (!node) {
        return 0;
    }
    check_readings(*node);
    if (node->type() == JSON_ARRAY || node->type() == JSON_NODE) {
        require(same(*node, libjson::parse(node->write())));
        require(same(*node, libjson::parse(node->write_formatted())));
    } else {
        require(node->write().empty());
    }
    return 0;
}
