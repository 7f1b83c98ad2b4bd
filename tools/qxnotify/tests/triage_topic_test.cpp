#include "qxnotify/triage_topic.h"

#include <map>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "qxnotify/triage_exit.h"

namespace qx::tool {
namespace {

using testing::HasSubstr;

using Variables = std::map<std::string, std::string>;

std::string topic(const TriageTarget& target, const Variables& variables)
{
    return triage_topic(target, [&](const char* name) -> const char* {
        const auto found = variables.find(name);
        return found != variables.end() ? found->second.c_str() : nullptr;
    });
}

std::string refusal(const TriageTarget& target, const Variables& variables)
{
    try {
        return "accepted as " + topic(target, variables);
    } catch (const TriageSetupError& e) {
        return e.what();
    }
}

TEST(TriageTopic, GivenEnvironmentVariable_WhenMade_ThenItIsInUpperCase)
{
    EXPECT_EQ(topic({}, {{"CHEF_ENVIRONMENT", "prod"}}), "TRIAGE.ACTION.PROD.LBM");
}

TEST(TriageTopic, GivenDataCentreAsked_WhenMade_ThenItIsAppended)
{
    EXPECT_EQ(topic({.whole_environment = false}, {{"CHEF_ENVIRONMENT", "prod"}, {"DATA_CENTER", "ch"}}),
              "TRIAGE.ACTION.PROD.LBM.CH");
}

TEST(TriageTopic, GivenDataCentreOnlyInTheEnvironment_WhenMade_ThenTheWholeEnvironmentIsAsked)
{
    EXPECT_EQ(topic({}, {{"CHEF_ENVIRONMENT", "prod"}, {"DATA_CENTER", "ch"}}), "TRIAGE.ACTION.PROD.LBM");
}

TEST(TriageTopic, GivenPrefix_WhenMade_ThenItStandsBeforeItAsItIs)
{
    EXPECT_EQ(topic({}, {{"CHEF_ENVIRONMENT", "dev"}, {"LBM_TRIAGE_HANDLER_TOPIC_PREFIX", "a."}}),
              "a.TRIAGE.ACTION.DEV.LBM");
}

TEST(TriageTopic, GivenOptions_WhenMade_ThenTheyWinOverTheEnvironment)
{
    const Variables variables{
        {"CHEF_ENVIRONMENT", "prod"}, {"DATA_CENTER", "ch"}, {"LBM_TRIAGE_HANDLER_TOPIC_PREFIX", "a."}};
    EXPECT_EQ(topic({.prefix = "", .environment = "dev", .data_center = "ny"}, variables), "TRIAGE.ACTION.DEV.LBM.NY");
}

TEST(TriageTopic, GivenNoEnvironment_WhenMade_ThenTheErrorSaysWhatToSet)
{
    EXPECT_EQ(refusal({}, {}), "CHEF_ENVIRONMENT is not set; set it as the responders have it, or give --environment");
    EXPECT_THAT(refusal({.environment = ""}, {}), HasSubstr("CHEF_ENVIRONMENT is not set"));
}

TEST(TriageTopic, GivenNoDataCentreButAsked_WhenMade_ThenTheErrorSaysWhatToSet)
{
    EXPECT_THAT(refusal({.whole_environment = false}, {{"CHEF_ENVIRONMENT", "dev"}, {"DATA_CENTER", ""}}),
                HasSubstr("DATA_CENTER is not set"));
}

} // namespace
} // namespace qx::tool
