#include "security_plugins.h"

#include <dlfcn.h>
#include <unistd.h>

#include <array>
#include <string>

#include "error.h"

namespace qx::transport {
namespace {

struct Plugin {
    const char* service;
    const char* file;
    const char* function; ///< the suffix of its first and last function
};
constexpr std::array plugins{Plugin{"auth", "libdds_security_auth.so", "authentication"},
                             Plugin{"crypto", "libdds_security_crypto.so", "crypto"},
                             Plugin{"access", "libdds_security_ac.so", "access_control"}};

/// Where the engine was loaded from.
std::string engine_folder()
{
    Dl_info place{};
    void* const symbol = dlsym(RTLD_DEFAULT, "dds_create_participant");
    if (symbol == nullptr || dladdr(symbol, &place) == 0 || place.dli_fname == nullptr) {
        return ".";
    }
    const std::string library = place.dli_fname;
    return library.substr(0, library.rfind('/'));
}

bool readable(const std::string& path)
{
    return access(path.c_str(), R_OK) == 0;
}

std::string plugin_folder()
{
    const std::string beside = engine_folder();
    for (const std::string& folder : {beside + "/libddsc0debian", beside}) {
        if (readable(folder + "/" + plugins.front().file)) {
            return folder;
        }
    }
    throw TransportError(LBM_EOS, "the engine's security plug-ins are neither in " + beside + " nor in " + beside +
                                      "/libddsc0debian");
}

} // namespace

void name_security_plugins(dds_qos_t* participant)
{
    const std::string folder = plugin_folder();
    const auto set = [&](const Plugin& plugin, const char* what, const std::string& value) {
        const std::string name = std::string{"dds.sec."} + plugin.service + ".library." + what;
        dds_qset_prop(participant, name.c_str(), value.c_str());
    };
    for (const Plugin& plugin : plugins) {
        set(plugin, "path", folder + "/" + plugin.file);
        set(plugin, "init", std::string{"init_"} + plugin.function);
        set(plugin, "finalize", std::string{"finalize_"} + plugin.function);
    }
}

} // namespace qx::transport
