#include "document.h"
#include "number.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

JSONNode::JSONNode(const JSONNode& other) noexcept
    : m_name(other.m_name)
    , m_text(other.m_text)
    , m_children(other.m_children)
    , m_document(other.m_document)
    , m_nameSize(other.m_nameSize)
    , m_textSize(other.m_textSize)
    , m_childCount(other.m_childCount)
    , m_type(other.m_type)
    , m_owning(other.m_document != nullptr)
{
    if (m_owning) {
        m_document->retain();
    }
}

JSONNode::JSONNode(JSONNode&& other) noexcept
    : m_name(std::exchange(other.m_name, ""))
    , m_text(std::exchange(other.m_text, "null"))
    , m_children(std::exchange(other.m_children, nullptr))
    , m_document(std::exchange(other.m_document, nullptr))
    , m_nameSize(std::exchange(other.m_nameSize, 0))
    , m_textSize(std::exchange(other.m_textSize, 4))
    , m_childCount(std::exchange(other.m_childCount, 0))
    , m_type(std::exchange(other.m_type, JSON_NULL))
    , m_owning(std::exchange(other.m_owning, false))
{
}

JSONNode& JSONNode::operator=(const JSONNode& other) noexcept
{
    JSONNode copy(other);
    swap(copy);
    return *this;
}

JSONNode& JSONNode::operator=(JSONNode&& other) noexcept
{
    JSONNode taken(std::move(other));
    swap(taken);
    return *this;
}

JSONNode::~JSONNode()
{
    if (m_owning) {
        m_document->release();
    }
}

void JSONNode::swap(JSONNode& other) noexcept
{
    std::swap(m_name, other.m_name);
    std::swap(m_text, other.m_text);
    std::swap(m_children, other.m_children);
    std::swap(m_document, other.m_document);
    std::swap(m_nameSize, other.m_nameSize);
    std::swap(m_textSize, other.m_textSize);
    std::swap(m_childCount, other.m_childCount);
    std::swap(m_type, other.m_type);
    std::swap(m_owning, other.m_owning);
}

JSONNode::const_iterator JSONNode::find(std::string_view name) const noexcept
{
    return std::find_if(begin(), end(), [name](const JSONNode& child) { return child.name_view() == name; });
}

const JSONNode& JSONNode::at(json_index_t index) const
{
    if (index >= m_childCount) {
        throw std::out_of_range("JSONNode::at(" + std::to_string(index) + "): there are " +
                                std::to_string(m_childCount) + " children");
    }
    return m_children[index];
}

const JSONNode& JSONNode::at(std::string_view name) const
{
    const const_iterator found = find(name);
    if (found == end()) {
        throw std::out_of_range("JSONNode::at(" + std::string(name) + "): there is no such child");
    }
    return *found;
}

json_int_t JSONNode::as_int() const noexcept
{
    if (m_type == JSON_NUMBER || m_type == JSON_STRING) {
        return libjson::detail::leading_integer(text_view());
    }
    return as_bool() ? 1 : 0;
}

json_number JSONNode::as_float() const
{
    if (m_type == JSON_NUMBER || m_type == JSON_STRING) {
        return libjson::detail::leading_double(text_view());
    }
    return as_bool() ? 1.0 : 0.0;
}

bool JSONNode::as_bool() const noexcept
{
    if (m_type == JSON_NUMBER) {
        return !libjson::detail::is_zero(text_view());
    }
    return (m_type == JSON_BOOL || m_type == JSON_STRING) && text_view() == "true";
}
