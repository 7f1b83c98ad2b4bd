#include "qxnotify/bench_domain.h"

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>

#include <pugixml.hpp>

#include "qxnotify/notification_names.h"
#include "qxnotify/transport.h"

namespace qx::tool {

namespace {

struct Configuration {
    std::string xml;
    std::string application;
};

std::string environment(const char* name)
{
    const char* value = std::getenv(name);
    return value != nullptr ? value : "";
}

Configuration defaults()
{
    return {
        std::string{R"(<um-configuration version="1.0"><applications><application name=""><contexts><context name=")"} +
            price_context_name + R"("/></contexts></application></applications></um-configuration>)",
        ""};
}

/// The transport reads the file first: it says best what is wrong with it, and where.
Configuration configured()
{
    const std::string path = environment("LBM_XML_CONFIG_FILENAME");
    if (path.empty()) {
        return defaults();
    }
    const std::string application = environment("LBM_XML_CONFIG_APPNAME");
    check_transport(lbm_config_xml_file(path.c_str(), application.c_str()), "lbm_config_xml_file", path);
    std::ifstream file(path);
    return {std::string(std::istreambuf_iterator<char>(file), {}), application};
}

} // namespace

std::string with_domain_tag(const std::string& xml, const std::string& tag)
{
    pugi::xml_document document;
    document.load_string(xml.c_str());
    for (const pugi::xpath_node context : document.select_nodes("//context")) {
        pugi::xml_node options = context.node().append_child("options"); // of options set twice the last one counts
        options.append_attribute("type") = "context";
        pugi::xml_node option = options.append_child("option");
        option.append_attribute("name") = "domain_tag";
        option.append_attribute("default-value") = tag.c_str();
    }
    std::ostringstream text;
    document.save(text);
    return text.str();
}

void enter_domain(const std::string& tag)
{
    const Configuration configuration = configured();
    check_transport(
        lbm_config_xml_string(with_domain_tag(configuration.xml, tag).c_str(), configuration.application.c_str()),
        "lbm_config_xml_string", configuration.application);
}

} // namespace qx::tool
