/// What is refused of security files before the engine sees them. The error names option, file and what is wrong.
#include <filesystem>
#include <fstream>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/transport/source/security.h"
#include "platform/transport/tests/support/certificates.h"
#include "platform/transport/tests/transport_error_of.h"

namespace qx::transport {
namespace {

using ::testing::AllOf;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::StartsWith;

class SecurityFilesTest : public ::testing::Test {
protected:
    SecurityFilesTest()
    {
        for (const auto& [name, value] : certificates.options("price-server")) {
            options.set_text(name, value);
        }
    }

    Refusal refusal() const
    {
        return refusal_of([&] { SecurityFiles{options}.check(); });
    }
    /// Puts a file into the place of the option's own and expects what is wrong with it.
    void expect_refused(const std::string& option, const std::string& file, const std::string& what)
    {
        const std::string before = options.get_text(option);
        options.set_text(option, file);
        EXPECT_EQ(refusal().code, LBM_EINVAL);
        EXPECT_THAT(refusal().text, AllOf(StartsWith("option \"" + option + "\", " + file + ": "), HasSubstr(what)));
        options.set_text(option, before);
    }
    std::string write(const std::string& name, const std::string& content) const
    {
        std::ofstream{certificates.path(name)} << content;
        return certificates.path(name);
    }
    std::string content(const std::string& name) const
    {
        std::ifstream file{certificates.path(name)};
        return {std::istreambuf_iterator<char>{file}, {}};
    }

    static constexpr std::array option_names{"security_identity_ca", "security_identity_certificate",
                                             "security_private_key", "security_permissions_ca",
                                             "security_governance",  "security_permissions"};
    test::Certificates certificates;
    Options options{Scope::context};
};

TEST_F(SecurityFilesTest, GivenAWholeSet_WhenChecked_ThenAccepted)
{
    EXPECT_TRUE(SecurityFiles{options}.given());
    EXPECT_EQ(refusal().text, "accepted");
}

TEST_F(SecurityFilesTest, GivenNone_WhenMade_ThenThereIsNoSecurity)
{
    EXPECT_FALSE(SecurityFiles{Options{Scope::context}}.given());
}

TEST_F(SecurityFilesTest, GivenAllButOne_WhenMade_ThenTheMissingOneIsNamed)
{
    for (const char* const missing : option_names) {
        Options partial = options;
        partial.set_text(missing, "");
        const Refusal refused = refusal_of([&] { const SecurityFiles files{partial}; });
        EXPECT_EQ(refused.code, LBM_EINVAL);
        EXPECT_THAT(refused.text, AllOf(StartsWith(std::string{"option \""} + missing + "\" is not set"),
                                        EndsWith("security needs all six files")));
    }
}

TEST_F(SecurityFilesTest, GivenFilesThatCannotBeRead_WhenChecked_ThenEachIsNamedWithTheReason)
{
    const std::string empty = write("empty", "");
    const std::string large = write("large", std::string((1U << 20U) + 1, 'x'));
    for (const char* const option : option_names) {
        expect_refused(option, certificates.path("none"), "No such file or directory");
        expect_refused(option, std::filesystem::temp_directory_path(), "Is a directory");
        expect_refused(option, empty, "is empty");
        expect_refused(option, large, "has more than 1 MiB");
    }
}

TEST_F(SecurityFilesTest, GivenFilesOfAnotherKind_WhenChecked_ThenEachIsNamed)
{
    const std::string nonsense = write("nonsense", "nonsense");
    expect_refused("security_identity_ca", nonsense, "is no certificate in PEM form");
    expect_refused("security_identity_certificate", nonsense, "is no certificate in PEM form");
    expect_refused("security_private_key", nonsense, "is no private key in PEM form without a password");
    expect_refused("security_permissions_ca", nonsense, "is no certificate in PEM form");
    expect_refused("security_governance", nonsense, "is no document signed as S/MIME");
    expect_refused("security_permissions", nonsense, "is no document signed as S/MIME");
    expect_refused("security_private_key", certificates.path("price-server.cert.pem"), "is no private key");
}

TEST_F(SecurityFilesTest, GivenAnExpiredCertificate_WhenChecked_ThenItIsCalledThat)
{
    expect_refused("security_identity_certificate", certificates.path("expired.cert.pem"), "certificate has expired");
}

TEST_F(SecurityFilesTest, GivenAnotherIdentitysKey_WhenChecked_ThenItDoesNotBelongToTheCertificate)
{
    expect_refused("security_private_key", certificates.path("operations.key.pem"),
                   "does not belong to the certificate " + certificates.path("price-server.cert.pem"));
}

TEST_F(SecurityFilesTest, GivenWhatAnotherAuthoritySigned_WhenChecked_ThenRefused)
{
    const test::Certificates other;
    expect_refused("security_identity_certificate", other.path("price-server.cert.pem"), "local issuer certificate");
    expect_refused("security_governance", other.path("governance.p7s"),
                   "is not as " + certificates.path("permissions-authority.cert.pem") + " signed it");
    expect_refused("security_permissions", other.path("permissions.p7s"), "signed it");
}

TEST_F(SecurityFilesTest, GivenTheAuthorityOfIdentities_WhenItIsToSignPermissionsToo_ThenRefused)
{
    const std::string what = "certifies identities, too, and each of them could sign permissions";
    expect_refused("security_permissions_ca", certificates.path("identity-authority.cert.pem"), what);
    expect_refused("security_permissions_ca", write("copy", content("identity-authority.cert.pem")), what);
}

TEST_F(SecurityFilesTest, GivenAChangedDocument_WhenChecked_ThenItsSignatureFails)
{
    std::string changed = content("permissions.p7s");
    changed.replace(changed.find("t:TRIAGE"), 8, "t:TRIAGX");
    expect_refused("security_permissions", write("changed.p7s", changed), "signature failure");
}

} // namespace
} // namespace qx::transport
