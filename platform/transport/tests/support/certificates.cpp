#include "certificates.h"

#include <cstdlib>
#include <filesystem>
#include <stdexcept>

namespace test {
namespace {

void run(const std::string& command)
{
    if (std::system(command.c_str()) != 0) {
        throw std::runtime_error("no certificates: " + command);
    }
}

} // namespace

Certificates::Certificates()
    : folder_(std::filesystem::temp_directory_path() / "lbm_certificates_XXXXXX")
{
    if (mkdtemp(folder_.data()) == nullptr) {
        throw std::runtime_error("no temporary folder like " + folder_);
    }
    run("'" QX_MAKE_CERTIFICATES "' '" + folder_ + "' >/dev/null");
}

Certificates::~Certificates()
{
    std::filesystem::remove_all(folder_);
}

OptionList Certificates::options(const std::string& identity) const
{
    return {
        {"security_identity_ca", path("identity-authority.cert.pem")},
        {"security_identity_certificate", path(identity + ".cert.pem")},
        {"security_private_key", path(identity + ".key.pem")},
        {"security_permissions_ca", path("permissions-authority.cert.pem")},
        {"security_governance", path("governance.p7s")},
        {"security_permissions", path("permissions.p7s")},
    };
}

OptionList Certificates::self_permitted(const std::string& identity) const
{
    for (const std::string document : {"governance", "permissions"}) {
        run("cd '" + folder_ + "' && openssl smime -verify -noverify -text -in " + document + ".p7s 2>/dev/null |" +
            "sed s/t:TRIAGE/t:NOTHING/ | openssl smime -sign -text -signer " + identity + ".cert.pem -inkey " +
            identity + ".key.pem -out forged-" + document + ".p7s");
    }
    OptionList forged = options(identity);
    for (auto& [name, file] : forged) {
        const std::string option = name;
        if (option == "security_permissions_ca") {
            file = path("identity-authority.cert.pem");
        } else if (option == "security_governance" || option == "security_permissions") {
            file = path("forged-" + std::filesystem::path(file).filename().string());
        }
    }
    return forged;
}

} // namespace test
