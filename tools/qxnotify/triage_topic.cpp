#include "qxnotify/triage_topic.h"

#include <algorithm>
#include <cctype>

#include "qxnotify/triage_exit.h"

namespace qx::tool {

namespace {

std::string value_of(const std::optional<std::string>& given, const char* variable, const EnvironmentLookup& lookup)
{
    if (given) {
        return *given;
    }
    const char* value = lookup(variable);
    return value != nullptr ? value : "";
}

std::string required(const std::optional<std::string>& given, const char* variable, const char* option,
                     const EnvironmentLookup& lookup)
{
    std::string value = value_of(given, variable, lookup);
    if (value.empty()) {
        throw TriageSetupError(std::string{variable} + " is not set; set it as the responders have it, or give " +
                               option);
    }
    std::transform(value.begin(), value.end(), value.begin(),
                   [](unsigned char byte) { return static_cast<char>(std::toupper(byte)); });
    return value;
}

} // namespace

std::string triage_topic(const TriageTarget& target, const EnvironmentLookup& lookup)
{
    std::string topic = value_of(target.prefix, "LBM_TRIAGE_HANDLER_TOPIC_PREFIX", lookup) + "TRIAGE.ACTION." +
                        required(target.environment, "CHEF_ENVIRONMENT", "--environment", lookup) + ".LBM";
    if (target.whole_environment && !target.data_center) {
        return topic;
    }
    return topic + "." + required(target.data_center, "DATA_CENTER", "--data-center", lookup);
}

} // namespace qx::tool
