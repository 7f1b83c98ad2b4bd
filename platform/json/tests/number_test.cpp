// The readings of a value as integer, floating-point number and truth value.
#include <libjson.h>

#include <clocale>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <string>

#include <gtest/gtest.h>

namespace {

constexpr auto lowest = std::numeric_limits<json_int_t>::min();
constexpr auto highest = std::numeric_limits<json_int_t>::max();

struct AsInt {
    std::string text;
    json_int_t value;
};

class IntegerReading : public testing::TestWithParam<AsInt> {};

TEST_P(IntegerReading, GivenText_WhenReadAsInt_ThenTheValueIsExact)
{
    EXPECT_EQ(libjson::parse(GetParam().text).as_int(), GetParam().value) << GetParam().text;
}

INSTANTIATE_TEST_SUITE_P(Numbers, IntegerReading,
                         testing::Values(AsInt{"0", 0}, AsInt{"-0", 0}, AsInt{"42", 42}, AsInt{"-42", -42},
                                         AsInt{"9007199254740993", 9007199254740993},
                                         AsInt{"-9007199254740993", -9007199254740993},
                                         AsInt{"9223372036854775807", highest}, AsInt{"-9223372036854775807", -highest},
                                         AsInt{"-9223372036854775808", lowest}, AsInt{"9223372036854775808", lowest},
                                         AsInt{"18446744073709551614", -2}, AsInt{"18446744073709551615", -1}));

INSTANTIATE_TEST_SUITE_P(BeyondSixtyFourBits, IntegerReading,
                         testing::Values(AsInt{"18446744073709551616", highest}, AsInt{"-9223372036854775809", lowest},
                                         AsInt{"99999999999999999999999", highest}, AsInt{"1e400", highest},
                                         AsInt{"-1e400", lowest}, AsInt{"1e99999999999999999999", highest},
                                         AsInt{"-1E+99999999999999999999", lowest},
                                         AsInt{"1" + std::string(400, '0'), highest}));

INSTANTIATE_TEST_SUITE_P(
    FractionsAndExponents, IntegerReading,
    testing::Values(AsInt{"1.9", 1}, AsInt{"-1.9", -1}, AsInt{"0.999", 0}, AsInt{"1e3", 1000}, AsInt{"1.5e3", 1500},
                    AsInt{"1.2345e2", 123}, AsInt{"12345e-2", 123}, AsInt{"1e-400", 0}, AsInt{"0e999999999999", 0},
                    AsInt{"0.0e400", 0}, AsInt{"9007199254740993.0", 9007199254740993},
                    AsInt{"1.8446744073709551615e19", -1}, AsInt{"922337203685477580.7e1", highest},
                    AsInt{"0.00000000000000000001e20", 1}, AsInt{"1e18", 1'000'000'000'000'000'000},
                    AsInt{"1e-99999999999999999999", 0}, AsInt{"5E-1", 0}));

INSTANTIATE_TEST_SUITE_P(Strings, IntegerReading,
                         testing::Values(AsInt{R"("123")", 123}, AsInt{R"("12.9")", 12}, AsInt{R"("12abc")", 12},
                                         AsInt{R"(" 42 ")", 42}, AsInt{R"("")", 0}, AsInt{R"(" ")", 0},
                                         AsInt{R"("abc")", 0}, AsInt{R"("-")", 0}, AsInt{R"("-7")", -7},
                                         AsInt{R"("+7")", 7}, AsInt{R"("007")", 7}, AsInt{R"("0x10")", 0},
                                         AsInt{R"("1e")", 1}, AsInt{R"("1e+")", 1}, AsInt{R"("1e3x")", 1000},
                                         AsInt{R"("2.")", 2}, AsInt{R"(".5")", 0}, AsInt{R"("inf")", 0},
                                         AsInt{R"("9007199254740993")", 9007199254740993},
                                         AsInt{R"("18446744073709551615")", -1}, AsInt{R"("true")", 0}));

INSTANTIATE_TEST_SUITE_P(OtherTypes, IntegerReading,
                         testing::Values(AsInt{"true", 1}, AsInt{"false", 0}, AsInt{"null", 0}, AsInt{"[7]", 0},
                                         AsInt{R"({"a":7})", 0}));

struct AsBool {
    std::string text;
    bool value;
};

class TruthReading : public testing::TestWithParam<AsBool> {};

TEST_P(TruthReading, GivenText_WhenReadAsBool_ThenOnlyTrueNonZeroAndTheWordTrueAreTrue)
{
    EXPECT_EQ(libjson::parse(GetParam().text).as_bool(), GetParam().value) << GetParam().text;
}

INSTANTIATE_TEST_SUITE_P(EachType, TruthReading,
                         testing::Values(AsBool{"true", true}, AsBool{"false", false}, AsBool{"null", false},
                                         AsBool{"0", false}, AsBool{"-0.00e5", false}, AsBool{"2", true},
                                         AsBool{"-1", true}, AsBool{"0.5", true}, AsBool{"1e-400", true},
                                         AsBool{R"("true")", true}, AsBool{R"("false")", false},
                                         AsBool{R"("TRUE")", false}, AsBool{R"("1")", false}, AsBool{R"("")", false},
                                         AsBool{"[1]", false}, AsBool{R"({"a":true})", false}));

struct AsFloat {
    std::string text;
    double value;
};

class FloatReading : public testing::TestWithParam<AsFloat> {};

TEST_P(FloatReading, GivenText_WhenReadAsFloat_ThenItIsTheNearestDouble)
{
    EXPECT_EQ(libjson::parse(GetParam().text).as_float(), GetParam().value) << GetParam().text;
}

INSTANTIATE_TEST_SUITE_P(EachType, FloatReading,
                         testing::Values(AsFloat{"1.5", 1.5}, AsFloat{"-2e-3", -0.002}, AsFloat{"0.1", 0.1},
                                         AsFloat{"1e400", HUGE_VAL}, AsFloat{"-1e400", -HUGE_VAL}, AsFloat{"1e-400", 0},
                                         AsFloat{R"(" 1.5x")", 1.5}, AsFloat{R"("0x10")", 0}, AsFloat{R"("inf")", 0},
                                         AsFloat{R"("nan")", 0}, AsFloat{R"("")", 0}, AsFloat{"true", 1},
                                         AsFloat{"false", 0}, AsFloat{"null", 0}, AsFloat{"[1]", 0}));

TEST(Number, GivenTooLongForAnyDouble_WhenParsed_ThenTheTextIsKeptAsWritten)
{
    for (const std::string text : {"1e400", "-1E+99999999999999999999", "1e-99999999999999999999"}) {
        EXPECT_EQ(libjson::parse(text).as_string(), text);
    }
    const std::string digits(5000, '9');
    EXPECT_EQ(libjson::parse("[" + digits + "]").at(0).as_string(), digits);
}

TEST(Number, GivenTooBigNumbersWithBadGrammar_WhenParsed_ThenTheyAreRefused)
{
    for (const std::string text : {"1e400.5", "1e9999e1", "-"}) {
        EXPECT_THROW(libjson::parse(text), std::invalid_argument) << text;
    }
    EXPECT_THROW(libjson::parse(std::string(400, '9') + "."), std::invalid_argument);
    EXPECT_THROW(libjson::parse(std::string(400, '9') + ".5e"), std::invalid_argument);
}

TEST(Number, GivenALocaleWithDecimalComma_WhenRead_ThenThePointIsStillAPoint)
{
    setenv("LOCPATH", QX_TEST_LOCALES, 1); // NOLINT(concurrency-mt-unsafe): one thread
    const std::string before = std::setlocale(LC_NUMERIC, nullptr);
    ASSERT_NE(std::setlocale(LC_NUMERIC, "decimal_comma"), nullptr);
    ASSERT_EQ(std::strtod("1.5", nullptr), 1.0); // the locale does what it is here for
    const JSONNode node = libjson::parse(R"([1.5,"2.5"])");
    EXPECT_EQ(node.at(0).as_float(), 1.5);
    EXPECT_EQ(node.at(1).as_float(), 2.5);
    EXPECT_EQ(node.write(), R"([1.5,"2.5"])");
    std::setlocale(LC_NUMERIC, before.c_str());
}

} // namespace
