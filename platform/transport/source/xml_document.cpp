#include "xml_document.h"

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <system_error>
#include <utility>

#include "error.h"

namespace qx::transport {
namespace {

[[noreturn]] void refuse_file(const std::string& path, const std::string& reason)
{
    throw TransportError(LBM_ENO_CONFIG, path + ": " + reason);
}

std::string system_reason(int error)
{
    return error != 0 ? std::generic_category().message(error) : "cannot be read";
}

std::string read_file(const std::string& path)
{
    errno = 0;
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        refuse_file(path, system_reason(errno));
    }
    std::string text(xml_bytes_max + 1, '\0');
    file.read(text.data(), static_cast<std::streamsize>(text.size()));
    if (file.bad()) {
        refuse_file(path, system_reason(errno));
    }
    text.resize(static_cast<std::size_t>(file.gcount()));
    if (text.size() > xml_bytes_max) {
        refuse_file(path, "is larger than " + std::to_string(xml_bytes_max) + " bytes");
    }
    return text;
}

} // namespace

XmlDocument XmlDocument::from_file(const std::string& path)
{
    return {read_file(path), path};
}

XmlDocument::XmlDocument(std::string text, std::string label)
    : text_(std::move(text))
    , label_(std::move(label))
{
    // One encoding only: offsets then count the bytes that were read, and lines can be told.
    const auto result = tree_.load_buffer(text_.data(), text_.size(), pugi::parse_default, pugi::encoding_utf8);
    if (!result) {
        throw TransportError(LBM_ENO_CONFIG, place_of(result.offset) + ": " + result.description());
    }
}

pugi::xml_node XmlDocument::root(const char* name) const
{
    const pugi::xml_node root = tree_.document_element();
    if (name != std::string_view(root.name())) {
        refuse(root, "the root element is <" + std::string(root.name()) + ">, not <" + name + '>');
    }
    for (pugi::xml_node next = root.next_sibling(); next; next = next.next_sibling()) {
        if (next.type() == pugi::node_element) {
            refuse(next, "a second root element <" + std::string(next.name()) + '>');
        }
    }
    return root;
}

std::string XmlDocument::attribute(pugi::xml_node element, const char* name) const
{
    const pugi::xml_attribute found = element.attribute(name);
    if (!found) {
        refuse(element, '<' + std::string(element.name()) + "> has no attribute \"" + name + '"');
    }
    return found.value();
}

pugi::xml_node XmlDocument::child(pugi::xml_node element, const char* name) const
{
    const pugi::xml_node found = element.child(name);
    if (!found) {
        refuse(element, '<' + std::string(element.name()) + "> has no <" + name + '>');
    }
    return found;
}

void XmlDocument::refuse(pugi::xml_node element, const std::string& reason) const
{
    throw TransportError(LBM_ENO_CONFIG, place(element) + ": " + reason);
}

std::string XmlDocument::place_of(std::ptrdiff_t offset) const
{
    const auto last = static_cast<std::ptrdiff_t>(text_.size());
    const auto end = text_.begin() + std::clamp(offset, std::ptrdiff_t{0}, last);
    return label_ + ':' + std::to_string(1 + std::count(text_.begin(), end, '\n'));
}

} // namespace qx::transport
