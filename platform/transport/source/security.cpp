#include "security.h"

#include <openssl/crypto.h>

#include <algorithm>

#include "engine_words.h"
#include "security_plugins.h"

namespace qx::transport {
namespace {

NamedFile named(const Options& options, const char* option, const char* property)
{
    return {option, property, options.get_text(option)};
}

/// The engine's threads use the library for as long as they run, and a process may exit while they do: they must not
/// find it cleaned up.
void keep_crypto_to_the_end()
{
    OPENSSL_init_crypto(OPENSSL_INIT_NO_ATEXIT, nullptr);
}

} // namespace

SecurityFiles::SecurityFiles(const Options& options)
    : files_{named(options, "security_identity_ca", "dds.sec.auth.identity_ca"),
             named(options, "security_identity_certificate", "dds.sec.auth.identity_certificate"),
             named(options, "security_private_key", "dds.sec.auth.private_key"),
             named(options, "security_permissions_ca", "dds.sec.access.permissions_ca"),
             named(options, "security_governance", "dds.sec.access.governance"),
             named(options, "security_permissions", "dds.sec.access.permissions")}
{
    const auto is_set = [](const NamedFile& file) { return !file.path.empty(); };
    const auto* const set = std::ranges::find_if(files_, is_set);
    const auto* const missing = std::ranges::find_if_not(files_, is_set);
    if (set != files_.end() && missing != files_.end()) {
        throw TransportError(LBM_EINVAL, std::string{"option \""} + missing->option + "\" is not set, but \"" +
                                             set->option + "\" is: security needs all six files");
    }
}

DdsQos security_qos(const SecurityFiles& security)
{
    DdsQos qos{dds_create_qos()};
    name_security_plugins(qos.get());
    for (const NamedFile& file : security.all()) {
        dds_qset_prop(qos.get(), file.property, ("file:" + file.path).c_str());
    }
    return qos;
}

DdsEntity make_participant(dds_domainid_t domain, const SecurityFiles& security)
{
    if (!security.given()) {
        return {dds_create_participant(domain, nullptr, nullptr), "dds_create_participant"};
    }
    keep_crypto_to_the_end();
    security.check();
    const DdsQos qos = security_qos(security);
    EngineWords words;
    const dds_entity_t created = dds_create_participant(domain, qos.get(), nullptr);
    if (created < 0) {
        throw TransportError(LBM_EINVAL, std::string{"the engine refuses \""} + security.permissions().option + "\", " +
                                             security.permissions().path + ", or \"" + security.governance().option +
                                             "\", " + security.governance().path + ": " + words.take());
    }
    return {created, "dds_create_participant"};
}

} // namespace qx::transport
