#include "platform/log_backend/source/config.h"

#include <map>
#include <string>

#include <gmock/gmock.h>
#include <logger/logger.h>

#include "platform/log_backend/source/level.h"

namespace {

using namespace qx::logging;
using namespace qx::logging::backend;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

using Variables = std::map<std::string, std::string>;

Lookup lookupIn(const Variables& variables)
{
    return [&variables](const char* name) {
        const auto found = variables.find(name);
        return found != variables.end() ? found->second.c_str() : nullptr;
    };
}

Reading<std::int32_t> level(const std::string& value)
{
    const Variables variables{{"QX_LOG_LEVEL", value}};
    return readMinLevel(lookupIn(variables));
}

Reading<OutputConfig> output(const Variables& variables)
{
    return readOutputConfig(lookupIn(variables));
}

TEST(MinLevel, GivenNoVariable_ThenInfoSearch)
{
    const auto reading = readMinLevel([](const char*) { return nullptr; });
    EXPECT_EQ(reading.value, QXLOG_INFO_SEARCH);
    EXPECT_THAT(reading.complaints, IsEmpty());
}

TEST(MinLevel, GivenAnEmptyValue_ThenItCountsAsNotSet)
{
    EXPECT_EQ(level("").value, QXLOG_INFO_SEARCH);
    EXPECT_THAT(level("").complaints, IsEmpty());
}

TEST(MinLevel, GivenANameInAnyForm_ThenItsNumber)
{
    EXPECT_EQ(level("QXLOG_WARNING").value, QXLOG_WARNING);
    EXPECT_EQ(level("WARNING").value, QXLOG_WARNING);
    EXPECT_EQ(level("warning").value, QXLOG_WARNING);
    EXPECT_EQ(level("qxlog_Warning").value, QXLOG_WARNING);
}

TEST(MinLevel, GivenAnyLevelsOwnName_ThenThatLevel)
{
    for (const std::int32_t each : {QXLOG_DEBUG, QXLOG_INFO, QXLOG_INFO_LOCAL, QXLOG_INFO_SEARCH, QXLOG_WARNING,
                                    QXLOG_ERROR, QXLOG_ALERT, QXLOG_CRITICAL, QXLOG_WALL}) {
        EXPECT_EQ(level(levelName(each)).value, each);
    }
}

TEST(MinLevel, GivenAWholeNumber_ThenThatNumber)
{
    EXPECT_EQ(level("25").value, 25);
    EXPECT_EQ(level("-2147483648").value, INT32_MIN);
    EXPECT_EQ(level("2147483647").value, INT32_MAX);
}

TEST(MinLevel, GivenAnythingElse_ThenDefaultAndOneComplaint)
{
    for (const char* bad : {"2147483648", "20x", " 20", "0x14", "LOUD", "QXLOG_", "QXLOG_20"}) {
        const auto reading = level(bad);
        EXPECT_EQ(reading.value, QXLOG_INFO_SEARCH) << bad;
        EXPECT_THAT(reading.complaints,
                    ElementsAre(AllOf(HasSubstr("QX_LOG_LEVEL"), HasSubstr(bad), HasSubstr("QXLOG_"))));
    }
}

TEST(LevelName, GivenANumberWithoutAName_ThenTheNumberIsShown)
{
    EXPECT_EQ(levelName(25), "LEVEL_25");
    EXPECT_EQ(levelName(-1), "LEVEL_-1");
}

TEST(OutputConfig, GivenNoVariables_ThenTextToStandardErrorAtOnce)
{
    const auto reading = output({});
    EXPECT_EQ(reading.value.format, LineFormat::text);
    EXPECT_EQ(reading.value.timeZone, TimeZone::utc);
    EXPECT_EQ(reading.value.file, "");
    EXPECT_EQ(reading.value.fileBytesMax, 64U << 20U);
    EXPECT_EQ(reading.value.fileCount, 8U);
    EXPECT_EQ(reading.value.queueLines, 0U);
    EXPECT_THAT(reading.complaints, IsEmpty());
}

TEST(OutputConfig, GivenEveryVariable_ThenAllAreTaken)
{
    const auto reading = output({{"QX_LOG_FORMAT", "json"},
                                 {"QX_LOG_TIME", "local"},
                                 {"QX_LOG_FILE", "/var/log/x"},
                                 {"QX_LOG_FILE_SIZE_MB", "3"},
                                 {"QX_LOG_FILE_COUNT", "2"},
                                 {"QX_LOG_ASYNC", "100"}});
    EXPECT_EQ(reading.value.format, LineFormat::json);
    EXPECT_EQ(reading.value.timeZone, TimeZone::local);
    EXPECT_EQ(reading.value.file, "/var/log/x");
    EXPECT_EQ(reading.value.fileBytesMax, 3U << 20U);
    EXPECT_EQ(reading.value.fileCount, 2U);
    EXPECT_EQ(reading.value.queueLines, 100U);
    EXPECT_THAT(reading.complaints, IsEmpty());
}

TEST(OutputConfig, GivenTheEndsOfTheRanges_ThenTheyAreTaken)
{
    EXPECT_EQ(output({{"QX_LOG_FILE_SIZE_MB", "1"}}).value.fileBytesMax, 1U << 20U);
    EXPECT_EQ(output({{"QX_LOG_FILE_SIZE_MB", "4096"}}).value.fileBytesMax, 4096UL << 20U);
    EXPECT_EQ(output({{"QX_LOG_FILE_COUNT", "1"}}).value.fileCount, 1U);
    EXPECT_EQ(output({{"QX_LOG_FILE_COUNT", "1000"}}).value.fileCount, 1000U);
    EXPECT_EQ(output({{"QX_LOG_ASYNC", "1"}}).value.queueLines, 1U);
    EXPECT_EQ(output({{"QX_LOG_ASYNC", "65536"}}).value.queueLines, 65'536U);
}

TEST(OutputConfig, GivenValuesOutsideTheRanges_ThenDefaultsAndAComplaintEach)
{
    for (const char* bad : {"0", "-1", "99999", "1.5", "1 ", "x", "18446744073709551616"}) {
        const auto reading = output({{"QX_LOG_FILE_SIZE_MB", bad}, {"QX_LOG_FILE_COUNT", bad}, {"QX_LOG_ASYNC", bad}});
        EXPECT_EQ(reading.value.fileBytesMax, 64U << 20U);
        EXPECT_EQ(reading.value.fileCount, 8U);
        EXPECT_EQ(reading.value.queueLines, 0U);
        EXPECT_THAT(reading.complaints, ElementsAre(AllOf(HasSubstr("QX_LOG_FILE_SIZE_MB"), HasSubstr("1 to 4096")),
                                                    AllOf(HasSubstr("QX_LOG_FILE_COUNT"), HasSubstr("1 to 1000")),
                                                    AllOf(HasSubstr("QX_LOG_ASYNC"), HasSubstr("1 to 65536"))));
    }
}

TEST(OutputConfig, GivenUnknownWords_ThenDefaultsAndAComplaintEach)
{
    const auto reading = output({{"QX_LOG_FORMAT", "JSON"}, {"QX_LOG_TIME", "gmt"}});
    EXPECT_EQ(reading.value.format, LineFormat::text);
    EXPECT_EQ(reading.value.timeZone, TimeZone::utc);
    EXPECT_THAT(reading.complaints, ElementsAre(AllOf(HasSubstr("QX_LOG_FORMAT='JSON'"), HasSubstr("text or json")),
                                                AllOf(HasSubstr("QX_LOG_TIME='gmt'"), HasSubstr("utc or local"))));
}

} // namespace
