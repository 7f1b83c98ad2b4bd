#include <cctype>
#include <string>
#include <string_view>

#include "topic_pattern.h"

namespace qx::transport {
namespace {

bool is_metacharacter(char c) noexcept
{
    return std::string_view("^$.[|()?*+{\\").find(c) != std::string_view::npos;
}

/// Whether what follows makes the character before it optional.
bool may_drop_last(char next) noexcept
{
    return next == '?' || next == '*' || next == '{';
}

/// Whether `pattern` uses something that changes how the text around it reads: quoting, control characters written
/// with a letter, comments, inline options, verbs. Groups that only group or look around are harmless.
bool changes_reading(std::string_view pattern)
{
    const auto uses = [&](std::string_view text) { return pattern.find(text) != std::string_view::npos; };
    if (uses("\\Q") || uses("\\E") || uses("\\c") || uses("(*")) {
        return true;
    }
    for (std::size_t at = pattern.find("(?"); at != std::string_view::npos; at = pattern.find("(?", at + 1)) {
        const char kind = at + 2 < pattern.size() ? pattern[at + 2] : '\0';
        if (std::string_view(":=!<>|").find(kind) == std::string_view::npos) {
            return true;
        }
    }
    return false;
}

/// Where the class that opens at `open` ends; npos when it is too intricate to tell.
std::size_t class_end(std::string_view pattern, std::size_t open) noexcept
{
    std::size_t at = open + 1;
    at += at < pattern.size() && pattern[at] == '^';
    at += at < pattern.size() && pattern[at] == ']'; // in first place it stands for itself
    for (; at < pattern.size() && pattern[at] != ']'; ++at) {
        if (pattern[at] == '[') {
            return std::string_view::npos;
        }
        at += pattern[at] == '\\';
    }
    return at < pattern.size() ? at : std::string_view::npos;
}

/// Whether there may be an alternative outside all groups. Says yes when in doubt.
bool has_top_alternative(std::string_view pattern) noexcept
{
    if (pattern.find('|') == std::string_view::npos) {
        return false;
    }
    int depth = 0;
    for (std::size_t at = 0; at < pattern.size(); ++at) {
        const char c = pattern[at];
        if (c == '|' && depth == 0) {
            return true;
        }
        if (c == '[') {
            at = class_end(pattern, at);
            if (at == std::string_view::npos) {
                return true;
            }
        }
        depth += (c == '(') - (c == ')');
        at += c == '\\';
    }
    return depth != 0;
}

} // namespace

std::string TopicPattern::literal_prefix() const
{
    const std::string_view pattern = text_;
    if (changes_reading(pattern) || has_top_alternative(pattern)) {
        return {};
    }
    std::string prefix;
    std::size_t at = pattern.starts_with('^') ? 1 : 0; // says again what anchoring says
    for (; at < pattern.size(); ++at) {
        const bool escaped = pattern[at] == '\\' && at + 1 < pattern.size() &&
                             std::ispunct(static_cast<unsigned char>(pattern[at + 1])) != 0;
        at += escaped;
        if (!escaped && is_metacharacter(pattern[at])) {
            break;
        }
        prefix += pattern[at];
    }
    if (!prefix.empty() && at < pattern.size() && may_drop_last(pattern[at])) {
        prefix.pop_back();
    }
    return prefix;
}

} // namespace qx::transport
