// Writing a container as text. The walk keeps its own stack, so that no document can exhaust the thread's.
#include <libjson.h>

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace {

constexpr std::size_t indent_width = 4;

void append_escaped(std::string& out, char c)
{
    constexpr std::string_view hex = "0123456789abcdef";
    constexpr std::string_view plain = "\"\\\b\f\n\r\t";
    constexpr std::string_view letters = "\"\\bfnrt";
    out += '\\';
    if (const auto at = plain.find(c); at != std::string_view::npos) {
        out += letters[at];
        return;
    }
    const auto byte = static_cast<unsigned char>(c);
    out += "u00";
    out += hex[byte >> 4U];
    out += hex[byte & 0xFU];
}

void append_string(std::string& out, std::string_view text)
{
    out += '"';
    for (const char c : text) {
        if (static_cast<unsigned char>(c) < 0x20 || c == '"' || c == '\\') {
            append_escaped(out, c);
        } else {
            out += c;
        }
    }
    out += '"';
}

bool is_container(const JSONNode& node)
{
    return node.type() == JSON_ARRAY || node.type() == JSON_NODE;
}

class Writer {
public:
    explicit Writer(bool indented)
        : m_indented(indented)
    {
    }

    std::string write(const JSONNode& root)
    {
        open(root);
        while (!m_open.empty()) {
            if (m_open.back().next == m_open.back().container->end()) {
                close();
            } else {
                append_next_child();
            }
        }
        return std::move(m_out);
    }

private:
    struct Level {
        const JSONNode* container;
        JSONNode::const_iterator next;
    };

    void open(const JSONNode& container)
    {
        m_out += container.type() == JSON_ARRAY ? '[' : '{';
        m_open.push_back({&container, container.begin()});
    }

    void close()
    {
        const JSONNode& container = *m_open.back().container;
        m_open.pop_back();
        if (!container.empty()) {
            break_line();
        }
        m_out += container.type() == JSON_ARRAY ? ']' : '}';
    }

    void append_next_child()
    {
        Level& level = m_open.back();
        const JSONNode& child = *level.next;
        if (level.next != level.container->begin()) {
            m_out += ',';
        }
        ++level.next;
        break_line();
        if (level.container->type() == JSON_NODE) {
            append_string(m_out, child.name());
            m_out += m_indented ? ": " : ":";
        }
        append_value(child);
    }

    void append_value(const JSONNode& node)
    {
        if (is_container(node)) {
            open(node);
        } else if (node.type() == JSON_STRING) {
            append_string(m_out, node.as_string());
        } else {
            m_out += node.as_string();
        }
    }

    void break_line()
    {
        if (m_indented) {
            m_out += '\n';
            m_out.append(m_open.size() * indent_width, ' ');
        }
    }

    bool m_indented;
    std::string m_out;
    std::vector<Level> m_open;
};

} // namespace

json_string JSONNode::write() const
{
    return is_container(*this) ? Writer(false).write(*this) : json_string{};
}

json_string JSONNode::write_formatted() const
{
    return is_container(*this) ? Writer(true).write(*this) : json_string{};
}
