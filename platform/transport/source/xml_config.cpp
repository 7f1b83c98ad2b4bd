#include "xml_config.h"

#include <cstdlib>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>

#include "error.h"
#include "xml_document.h"

namespace qx::transport {
namespace {

constexpr const char* filename_variable = "LBM_XML_CONFIG_FILENAME";
constexpr const char* application_variable = "LBM_XML_CONFIG_APPNAME";
constexpr std::string_view version_understood = "1.0";

/// Calls `visit` for each child element of that name. What else there is has no effect here, and is said to have none.
template <class Visit>
void for_each_child(pugi::xml_node parent, std::string_view name, Visit&& visit)
{
    for (const pugi::xml_node child : parent.children()) {
        if (child.name() == name) {
            visit(child);
        } else if (child.type() == pugi::node_element) {
            report_unused("element of <" + std::string(parent.name()) + ">", child.name());
        }
    }
}

std::optional<Scope> scope_of(std::string_view type)
{
    for (const Scope scope :
         {Scope::context, Scope::source, Scope::receiver, Scope::wildcard_receiver, Scope::event_queue}) {
        if (scope_name(scope) == type) {
            return scope;
        }
    }
    return std::nullopt;
}

/// Sets an option as far as it is acceptable; the complaint gets the place where it was asked for.
void set_option(const XmlDocument& document, pugi::xml_node element, Options& options, const std::string& name,
                const std::string& value)
{
    try {
        options.set_or_keep(name, value);
    } catch (const TransportError& e) {
        throw TransportError(e.code(), document.place(element) + ": " + e.what());
    }
}

void read_options(const XmlDocument& document, pugi::xml_node element, ContextSettings& settings)
{
    const std::string type = document.attribute(element, "type");
    const auto scope = scope_of(type);
    if (!scope) {
        report_unused("options of type", type);
        return;
    }
    Options& options =
        *scope == Scope::context ? settings.options : settings.defaults.try_emplace(*scope, *scope).first->second;
    for_each_child(element, "option", [&](pugi::xml_node option) {
        set_option(document, option, options, document.attribute(option, "name"),
                   document.attribute(option, "default-value"));
    });
}

ContextSettings read_context(const XmlDocument& document, pugi::xml_node element, const std::string& name)
{
    ContextSettings settings;
    for_each_child(element, "options", [&](pugi::xml_node options) { read_options(document, options, settings); });
    if (!settings.options.is_set("context_name")) {
        set_option(document, element, settings.options, "context_name", name);
    }
    return settings;
}

pugi::xml_node find_application(const XmlDocument& document, std::string_view name)
{
    const pugi::xml_node root = document.root("um-configuration");
    if (const std::string version = document.attribute(root, "version"); version != version_understood) {
        document.refuse(root, "version \"" + version + "\" is not " + std::string(version_understood));
    }
    const pugi::xml_node applications = document.child(root, "applications");
    for (const pugi::xml_node application : applications.children("application")) {
        if (application.attribute("name").value() == name) {
            return application;
        }
    }
    document.refuse(applications, name.empty() ? "there is no application without a name"
                                               : "there is no application \"" + std::string(name) + '"');
}

/// The configuration that was read by a call, if any. Never destroyed: contexts may be made until the process ends.
struct InForce {
    std::mutex lock;
    std::shared_ptr<const Configuration> configuration;
};

InForce& in_force()
{
    static auto& state = *new InForce;
    return state;
}

void put_in_force(std::shared_ptr<const Configuration> configuration) noexcept
{
    const std::lock_guard guard(in_force().lock);
    in_force().configuration.swap(configuration);
}

std::shared_ptr<const Configuration> share(Configuration configuration)
{
    return std::make_shared<const Configuration>(std::move(configuration));
}

std::string environment(const char* variable)
{
    const char* const value = std::getenv(variable);
    return value != nullptr ? value : "";
}

std::shared_ptr<const Configuration> current_configuration()
{
    {
        const std::lock_guard guard(in_force().lock);
        if (in_force().configuration) {
            return in_force().configuration;
        }
    }
    const std::string path = environment(filename_variable);
    if (path.empty()) {
        return nullptr;
    }
    return share(Configuration::from_file(path, environment(application_variable)));
}

std::string text_or_empty(const char* text)
{
    return text != nullptr ? text : "";
}

} // namespace

Options ContextSettings::defaults_for(Scope scope) const
{
    const auto chosen = defaults.find(scope);
    return chosen != defaults.end() ? chosen->second : Options(scope);
}

Configuration Configuration::from_file(const std::string& path, std::string_view application)
{
    return Configuration(XmlDocument::from_file(path), application);
}

Configuration Configuration::from_text(std::string_view xml, std::string_view application, const std::string& label)
{
    return Configuration(XmlDocument(std::string(xml), label), application);
}

Configuration::Configuration(const XmlDocument& document, std::string_view application)
{
    const pugi::xml_node element = find_application(document, application);
    place_ = document.place(element);
    for_each_child(element, "contexts", [&](pugi::xml_node contexts) {
        for_each_child(contexts, "context", [&](pugi::xml_node context) {
            const std::string name = document.attribute(context, "name");
            if (!contexts_.try_emplace(name, read_context(document, context, name)).second) {
                document.refuse(context, "a second context \"" + name + '"');
            }
        });
    });
}

ContextSettings Configuration::context(std::string_view name) const
{
    const auto found = contexts_.find(name);
    if (found == contexts_.end()) {
        throw TransportError(LBM_ENO_CONFIG, place_ + ": the application has no context \"" + std::string(name) + '"');
    }
    return found->second;
}

ContextSettings configured_context(std::string_view name)
{
    if (const auto configuration = current_configuration()) {
        return configuration->context(name);
    }
    ContextSettings settings;
    settings.options.set_text("context_name", name);
    return settings;
}

void forget_configuration() noexcept
{
    put_in_force(nullptr);
}

} // namespace qx::transport

int lbm_config_xml_file(const char* path, const char* application_name)
{
    using namespace qx::transport;
    return guarded(__func__, path, [&] {
        require(path, "path");
        put_in_force(share(Configuration::from_file(path, text_or_empty(application_name))));
    });
}

int lbm_config_xml_string(const char* xml, const char* application_name)
{
    using namespace qx::transport;
    return guarded(__func__, application_name, [&] {
        require(xml, "xml");
        put_in_force(share(Configuration::from_text(xml, text_or_empty(application_name), "xml")));
    });
}
