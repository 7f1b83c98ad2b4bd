/// When the warnings of an unsecured network and of faults on purpose come. Nothing here touches the network.
#include <algorithm>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/transport/source/context_warnings.h"
#include "platform/transport/source/network_interface.h"
#include "platform/transport/source/security.h"

namespace qx::transport {
namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;

Options on(const std::string& interface)
{
    Options options{Scope::context};
    options.set_text("interface", interface);
    return options;
}

Options secured(Options options)
{
    const SecurityFiles files{options};
    for (const NamedFile& file : files.all()) {
        options.set_text(file.option, "/some/file");
    }
    return options;
}

TEST(Exposure, GivenLoopback_WhenAsked_ThenNotExposed)
{
    EXPECT_FALSE(is_exposed(Options{Scope::context}));
    EXPECT_FALSE(is_exposed(on("lo")));
    EXPECT_FALSE(is_exposed(on("127.0.0.1")));
    EXPECT_FALSE(is_exposed(on("127.1.2.3")));
}

TEST(Exposure, GivenAnotherInterface_WhenThereIsNoSecurity_ThenExposed)
{
    EXPECT_TRUE(is_exposed(on("no-such-if")));
    EXPECT_TRUE(is_exposed(on("192.0.2.1")));
}

TEST(Exposure, GivenAnotherInterface_WhenThereIsSecurity_ThenNotExposed)
{
    EXPECT_FALSE(is_exposed(secured(on("no-such-if"))));
}

std::string given(ContextWarnings& warnings, const Options& options)
{
    ::testing::internal::CaptureStderr();
    warnings.give(options);
    return ::testing::internal::GetCapturedStderr();
}

TEST(Exposure, GivenExposedContexts_WhenWarned_ThenOnceInOneLineThatSaysWhatToDo)
{
    ContextWarnings warnings;
    EXPECT_THAT(given(warnings, on("lo")), IsEmpty());
    EXPECT_THAT(given(warnings, secured(on("192.0.2.1"))), IsEmpty());
    const std::string warning = given(warnings, on("192.0.2.1"));
    EXPECT_EQ(warning, exposure_warning("192.0.2.1") + "\n");
    EXPECT_EQ(std::count(warning.begin(), warning.end(), '\n'), 1);
    EXPECT_THAT(warning, HasSubstr("interface 192.0.2.1 without security"));
    EXPECT_THAT(warning, HasSubstr("set the security_* options"));
    EXPECT_THAT(given(warnings, on("192.0.2.1")), IsEmpty());
}

TEST(FaultWarning, GivenNoFaults_WhenAContextIsMade_ThenNothingIsSaid)
{
    ContextWarnings warnings;
    Options options = on("lo");
    options.set_text("fault_seed", "7");
    EXPECT_THAT(given(warnings, options), IsEmpty());
}

TEST(FaultWarning, GivenAnyFault_WhenContextsAreMade_ThenItIsNamedOnceInOneLine)
{
    for (const std::string fault :
         {"fault_transmit_loss_permille", "fault_drop_permille", "fault_double_permille", "fault_swap_permille"}) {
        ContextWarnings warnings;
        Options options = on("lo");
        options.set_text(fault, "3");
        const std::string warning = given(warnings, options);
        EXPECT_THAT(warning, HasSubstr("lbm: warning: faults are made on purpose (" + fault + " 3)"));
        EXPECT_EQ(std::count(warning.begin(), warning.end(), '\n'), 1);
        EXPECT_THAT(given(warnings, options), IsEmpty());
    }
}

TEST(FaultWarning, GivenSeveralFaults_WhenAsked_ThenAllAreNamed)
{
    Options options = on("lo");
    options.set_text("fault_drop_permille", "20");
    options.set_text("fault_swap_permille", "5");
    EXPECT_THAT(fault_warning(options), HasSubstr("(fault_drop_permille 20, fault_swap_permille 5)"));
}

TEST(NetworkInterface, GivenLoopback_WhenAskedForItsAddress_ThenByNameAndByAddressTheSame)
{
    EXPECT_EQ(ipv4_of_interface("lo"), 0x7f000001U);
    EXPECT_EQ(ipv4_of_interface("127.0.0.1"), 0x7f000001U);
    EXPECT_EQ(ipv4_of_interface("no-such-if"), 0U);
}

} // namespace
} // namespace qx::transport
