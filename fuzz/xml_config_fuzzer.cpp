/// Any bytes as an XML configuration: it is read, or refused with a place.
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "platform/transport/source/error.h"
#include "platform/transport/source/xml_config.h"

using qx::transport::Configuration;
using qx::transport::TransportError;

namespace {

void read(std::string_view xml, std::string_view application)
{
    try {
        Configuration::from_text(xml, application, "xml").context("main");
    } catch (const TransportError& e) {
        if (!std::string_view(e.what()).starts_with("xml:")) {
            __builtin_trap();
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string_view xml(reinterpret_cast<const char*>(data), size); // bytes as characters
    read(xml, "");
    read(xml, "pricing");
    return 0;
}
