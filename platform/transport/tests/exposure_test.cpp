/// When the warning of an unsecured network comes. Nothing here touches the network.
#include <algorithm>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/transport/source/exposure.h"
#include "platform/transport/source/network_interface.h"
#include "platform/transport/source/security.h"

namespace qx::transport {
namespace {

using ::testing::EndsWith;
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

TEST(Exposure, GivenExposedContexts_WhenWarned_ThenOnceInOneLineThatSaysWhatToDo)
{
    ::testing::internal::CaptureStderr();
    warn_if_exposed(on("lo"));
    warn_if_exposed(secured(on("192.0.2.1")));
    EXPECT_THAT(::testing::internal::GetCapturedStderr(), IsEmpty());
    ::testing::internal::CaptureStderr();
    warn_if_exposed(on("192.0.2.1"));
    warn_if_exposed(on("192.0.2.1"));
    const std::string warning = ::testing::internal::GetCapturedStderr();
    EXPECT_EQ(warning, exposure_warning("192.0.2.1") + "\n");
    EXPECT_EQ(std::count(warning.begin(), warning.end(), '\n'), 1);
    EXPECT_THAT(warning, HasSubstr("interface 192.0.2.1 without security"));
    EXPECT_THAT(warning, HasSubstr("set the security_* options"));
}

TEST(NetworkInterface, GivenLoopback_WhenAskedForItsAddress_ThenByNameAndByAddressTheSame)
{
    EXPECT_EQ(ipv4_of_interface("lo"), 0x7f000001U);
    EXPECT_EQ(ipv4_of_interface("127.0.0.1"), 0x7f000001U);
    EXPECT_EQ(ipv4_of_interface("no-such-if"), 0U);
}

} // namespace
} // namespace qx::transport
