#include "certificates.h"

#include <cstdlib>
#include <filesystem>
#include <stdexcept>

namespace test {

Certificates::Certificates()
    : folder_(std::filesystem::temp_directory_path() / "lbm_certificates_XXXXXX")
{
    if (mkdtemp(folder_.data()) == nullptr) {
        throw std::runtime_error("no temporary folder like " + folder_);
    }
    const std::string command = "'" QX_MAKE_CERTIFICATES "' '" + folder_ + "' >/dev/null";
    if (std::system(command.c_str()) != 0) {
        throw std::runtime_error("no certificates: " + command);
    }
}

Certificates::~Certificates()
{
    std::filesystem::remove_all(folder_);
}

OptionList Certificates::options(const std::string& identity) const
{
    return {
        {"security_identity_ca", path("authority.cert.pem")},
        {"security_identity_certificate", path(identity + ".cert.pem")},
        {"security_private_key", path(identity + ".key.pem")},
        {"security_permissions_ca", path("authority.cert.pem")},
        {"security_governance", path("governance.p7s")},
        {"security_permissions", path("permissions.p7s")},
    };
}

} // namespace test
