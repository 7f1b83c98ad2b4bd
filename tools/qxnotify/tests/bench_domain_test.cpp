#include "qxnotify/bench_domain.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace qx::tool {
namespace {

using testing::ContainsRegex;
using testing::HasSubstr;

TEST(BenchDomain, GivenContexts_WhenTagged_ThenEachHasTheTagLastAndKeepsItsOptions)
{
    const std::string xml = with_domain_tag(
        R"(<um-configuration version="1.0"><applications><application name="a"><contexts><context name="one">)"
        R"(<options type="context"><option name="domain_tag" default-value="before"/></options></context>)"
        R"(<context name="two"/></contexts></application></applications></um-configuration>)",
        "bench <&> 1");
    EXPECT_THAT(xml, HasSubstr(R"(version="1.0")"));
    EXPECT_THAT(xml, ContainsRegex("before(.|\n)*bench &lt;&amp;> 1(.|\n)*\"two\"(.|\n)*bench &lt;&amp;> 1"));
}

} // namespace
} // namespace qx::tool
