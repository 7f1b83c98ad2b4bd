// Operations requests in a secured domain: who may send them, and who is not even heard.

#include <cstdlib>
#include <filesystem>
#include <stdexcept>

#include <gmock/gmock.h>

#include "qxnotify_fixture.h"

namespace qx::system_test {
namespace {

using testing::HasSubstr;
using testing::Not;

const std::string naks_topic = "TRIAGE.ACTION.DEV.LBM";

std::string option(const std::string& name, const std::string& value)
{
    return "<option name=\"" + name + "\" default-value=\"" + value + "\"/>";
}

/// The options of one of the identities in a folder that scripts/make-test-certificates.sh has filled.
std::string security_options(const std::string& folder, const std::string& identity)
{
    return option("security_identity_ca", folder + "/identity-authority.cert.pem") +
           option("security_identity_certificate", folder + "/" + identity + ".cert.pem") +
           option("security_private_key", folder + "/" + identity + ".key.pem") +
           option("security_permissions_ca", folder + "/permissions-authority.cert.pem") +
           option("security_governance", folder + "/governance.p7s") +
           option("security_permissions", folder + "/permissions.p7s");
}

/// A run of `qxnotify triage` that is over.
struct Asked {
    pid_t pid;
    Outcome outcome;
    std::string output;
    std::string error;
};

/// As log lines show a process.
std::string source_of(const Asked& asked)
{
    return ":" + std::to_string(asked.pid) + ":";
}

/// A price server, played by a listener, with a certificate, and those who ask it.
class TriageSecurity : public QxNotify {
protected:
    TriageSecurity()
    {
        const std::string command = "'" QX_MAKE_CERTIFICATES "' '" + folder() + "' >/dev/null";
        if (std::system(command.c_str()) != 0) {
            throw std::runtime_error("no certificates: " + command);
        }
        m_server = listen({"42", "--format", "json"}, variables("price-server"));
    }

    std::string folder() const
    {
        return std::filesystem::path(environment().at("LBM_XML_CONFIG_FILENAME")).parent_path();
    }
    /// `identity` "" is none.
    Environment variables(const std::string& identity) const
    {
        const std::string options = option("domain_tag", std::filesystem::path(folder()).filename()) +
                                    (identity.empty() ? "" : security_options(folder(), identity));
        return {{"LBM_XML_CONFIG_FILENAME",
                 write_file("transport-" + identity + ".xml",
                            "<um-configuration version=\"1.0\"><applications><application name=\"system\"><contexts>"
                            "<context name=\"PriceEnvironmentContext\"><options type=\"context\">" +
                                options + "</options></context></contexts></application></applications>" +
                                "</um-configuration>")},
                {"CHEF_ENVIRONMENT", "dev"},
                {"DATA_CENTER", "ch"},
                {"DISABLE_LBM_TRIAGE_HANDLER", ""},
                {"LBM_TRIAGE_HANDLER_TOPIC_PREFIX", ""}};
    }
    /// Orders the server's NAKs off.
    Asked naks_off(const std::string& identity, const std::string& wait_seconds) const
    {
        Environment all = variables(identity);
        all.insert(environment().begin(), environment().end());
        Process run({QXNOTIFY_PROGRAM, "triage", "naks", "off", "--contexts", "price", "--yes", "--expect", "1",
                     "--wait", wait_seconds, "--format", "json"},
                    all);
        const pid_t pid = run.pid();
        const Outcome outcome = run.wait();
        return {pid, outcome, run.output(), run.error()};
    }
    /// Operations ask until they are answered: what others had asked before would have arrived by then.
    Asked operations_answered() const
    {
        const auto deadline = std::chrono::steady_clock::now() + patience;
        Asked asked = naks_off("operations", "5");
        while (asked.outcome != exited(0) && std::chrono::steady_clock::now() < deadline) {
            asked = naks_off("operations", "5");
        }
        return asked;
    }
    Process& server() { return *m_server; }

private:
    std::unique_ptr<Process> m_server;
};

TEST_F(TriageSecurity, GivenOperationsCertificate_WhenItOrdersNaksOff_ThenTheHandlerCarriesItOutAndAnswers)
{
    const Asked asked = operations_answered();
    EXPECT_EQ(asked.outcome, exited(0)) << asked.error;
    EXPECT_EQ(json::parse(asked.output).at("answered"), 1);
    EXPECT_TRUE(server().until_error_has("handling TriageNakKillRequest request=context: PRICE "));
    EXPECT_THAT(server().error() + asked.error, Not(HasSubstr("without security")));
}

TEST_F(TriageSecurity, GivenAnOrdinaryCertificate_WhenItOrdersNaksOff_ThenItIsToldNoAndNothingArrives)
{
    const Asked refused = naks_off("price-server", "5");
    EXPECT_EQ(refused.outcome, exited(3));
    EXPECT_THAT(refused.error, HasSubstr("lbm_src_create(" + naks_topic + "): dds_create_writer: Not Allowed By "));
    EXPECT_EQ(operations_answered().outcome, exited(0));
    ASSERT_TRUE(server().until_error_has("Finished with LBM request"));
    EXPECT_THAT(server().error(), Not(HasSubstr(source_of(refused))));
}

TEST_F(TriageSecurity, GivenNoCertificate_WhenNaksAreOrderedOff_ThenNobodyIsThereAndNothingArrives)
{
    const Asked unheard = naks_off("", "1");
    EXPECT_EQ(unheard.outcome, exited(2)) << unheard.error;
    EXPECT_EQ(json::parse(unheard.output).at("answered"), 0);
    const Asked answered = operations_answered();
    EXPECT_EQ(answered.outcome, exited(0)) << answered.error;
    ASSERT_TRUE(server().until_error_has("Finished with LBM request"));
    EXPECT_THAT(server().error(), HasSubstr(source_of(answered)));
    EXPECT_THAT(server().error(), Not(HasSubstr(source_of(unheard))));
}

} // namespace
} // namespace qx::system_test
