/// The XML configuration: which options the contexts of one application have.
///
///     <um-configuration version="1.0">
///       <applications>
///         <application name="pricing">
///           <contexts>
///             <context name="PriceEnvironmentContext">
///               <options type="context">
///                 <option name="domain_id" default-value="7"/>
///               </options>
///             </context>
///           </contexts>
///         </application>
///       </applications>
///     </um-configuration>
///
/// Errors    TransportError with "file:line: what is wrong": LBM_ENO_CONFIG for a file that cannot be read, is not
///           well-formed or lacks what was asked for, LBM_EINVAL for a value that an option does not accept.
#pragma once

#include <map>
#include <string>
#include <string_view>

#include "options.h"

namespace qx::transport {

class XmlDocument;

/// A context's options and the defaults of what is made on it.
struct ContextSettings {
    Options options{Scope::context};
    std::map<Scope, Options> defaults; ///< of the scopes that the configuration mentions

    /// What was chosen for objects of that scope; nothing chosen when the configuration does not mention it.
    Options defaults_for(Scope scope) const;
};

/// One application of one XML document. Immutable; every value in it was checked when it was read.
class Configuration {
public:
    /// `application` "" selects the application element without a name.
    static Configuration from_file(const std::string& path, std::string_view application);
    /// `label` stands for the file's name in error texts.
    static Configuration from_text(std::string_view xml, std::string_view application, const std::string& label);

    /// The context of that name. The option context_name is the name unless the context element sets the option
    /// itself, be it to "".
    ContextSettings context(std::string_view name) const;

private:
    Configuration(const XmlDocument& document, std::string_view application);

    std::string place_; ///< "file:line" of the application, for error texts
    std::map<std::string, ContextSettings, std::less<>> contexts_;
};

/// A context's settings by the configuration in force: what lbm_config_xml_file or lbm_config_xml_string read last,
/// else the file that LBM_XML_CONFIG_FILENAME names, read afresh each time, else defaults for any name. Threads   safe
/// to call concurrently with itself and with the two functions that change the configuration.
ContextSettings configured_context(std::string_view name);

/// Forgets what was read by a call: the environment decides again, as at the start of the process.
void forget_configuration() noexcept;

} // namespace qx::transport
