/// An XML document that knows the place of everything in it, so that each complaint can name file and line.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include <pugixml.hpp>

namespace qx::transport {

inline constexpr std::size_t xml_bytes_max = std::size_t{16} << 20;

/// Errors    TransportError (LBM_ENO_CONFIG) with "label:line: reason".
/// Lifetime  nodes are valid as long as the document.
class XmlDocument {
public:
    static XmlDocument from_file(const std::string& path);
    XmlDocument(std::string text, std::string label);

    /// The root element, which must have that name and be the only one.
    pugi::xml_node root(const char* name) const;
    std::string attribute(pugi::xml_node element, const char* name) const;
    pugi::xml_node child(pugi::xml_node element, const char* name) const;

    /// "label:line" of an element.
    std::string place(pugi::xml_node element) const { return place_of(element.offset_debug()); }
    [[noreturn]] void refuse(pugi::xml_node element, const std::string& reason) const;

private:
    std::string place_of(std::ptrdiff_t offset) const;

    std::string text_;
    std::string label_;
    pugi::xml_document tree_;
};

} // namespace qx::transport
