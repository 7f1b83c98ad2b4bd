// Documents close to right ones: the converter makes of them what the plainest form of the conversion makes.
#include <algorithm>
#include <array>
#include <optional>
#include <random>
#include <string>
#include <string_view>

#include <google/protobuf/stubs/logging.h>
#include <gtest/gtest.h>

#include "misc/miscutils/tests/convert.h"
#include "misc/miscutils/tests/reference_converter.h"

namespace qx::test {
namespace {

constexpr std::array<std::string_view, 3> seeds{
    R"({"i32":1,"i64":-2,"u32":3,"u64":18446744073709551615,"real":1.5,"single":2e3,"flag":true,"side":"Buy","text":"t",)"
    R"("inner":{"number":4,"inner":{"text":"deep"}},"uuid":"00112233-4455-6677-8899-AABBCCDDEEFF","zigzag":-5,"fixed":6})",
    R"({"i32s":[1,2],"i64s":[-3],"u64s":[4],"reals":[1,2.5],"flags":[true,0],"sides":["Sell",1],"texts":["a","b"],)"
    R"("inners":[{"number":1},{"numbers":[2,3]}]})",
    R"({"side":2,"flag":1,"real":"1.5","i32":"12abc","text":17,"uuid":"{00112233445566778899aabbccddeeff}","none":[1]})"};
constexpr std::array<std::string_view, 31> pieces{"1",
                                                  "-1",
                                                  "0",
                                                  "1e400",
                                                  "-0.0",
                                                  "1e-320",
                                                  "\"0x1p3\"",
                                                  "\" 7\"",
                                                  "\"nan\"",
                                                  "\"nan(1)\"",
                                                  "\"-inf\"",
                                                  "true",
                                                  "false",
                                                  "null",
                                                  "\"\"",
                                                  "{}",
                                                  "[]",
                                                  "[[1]]",
                                                  "[{}]",
                                                  "\"Buy\"",
                                                  "\"buy\"",
                                                  "-1.5",
                                                  "\"i32\"",
                                                  "\"inner\"",
                                                  "\"side\"",
                                                  "\"uuid\"",
                                                  "\"i32s\"",
                                                  "\"Short\"",
                                                  "9223372036854775808",
                                                  "\"00112233-4455-6677-8899-aabbccddeef\"",
                                                  "\"00112233x4455-6677-8899-aabbccddeeff\""};

/// Replaces some values, and now and then a key, by what may or may not fit there.
std::string mutated(std::mt19937& random)
{
    const auto below = [&random](std::size_t limit) { return random() % limit; };
    std::string text(seeds[below(seeds.size())]);
    for (std::size_t changes = below(4); changes > 0; --changes) {
        const std::size_t begin = std::min(text.find_first_of(":,[", below(text.size())), text.size() - 1) + 1;
        const std::size_t end = std::min(text.find_first_of(",]}:", begin), text.size());
        text.replace(begin, end - begin, pieces[below(pieces.size())]);
    }
    return text;
}

std::optional<JSONNode> parsed(const std::string& text)
{
    try {
        return libjson::parse(text);
    } catch (const std::invalid_argument&) {
        return std::nullopt;
    }
}

/// The parameter is the seed. Several cases, so that an instrumented one stays short.
class MutatedDocuments : public testing::TestWithParam<unsigned> {};

TEST_P(MutatedDocuments, GivenManyOfThem_WhenConverted_ThenEachAsThePlainestFormDoes)
{
    auto* const reports = google::protobuf::SetLogHandler(nullptr); // of every shape that does not fit
    std::mt19937 random{20'261'121 + GetParam()};
    std::size_t converted = 0;
    for (int i = 0; i < 2'500; ++i) {
        const std::string text = mutated(random);
        const auto document = parsed(text);
        if (!document) {
            continue;
        }
        ++converted;
        ASSERT_TRUE(is_converted_alike<AllTypes>(*document, strict)) << text;
        ASSERT_TRUE(is_converted_alike<AllTypes>(*document, lenient)) << text;
    }
    google::protobuf::SetLogHandler(reports);
    EXPECT_GT(converted, 1'250U) << "most are to be documents";
}

INSTANTIATE_TEST_SUITE_P(Seeds, MutatedDocuments, testing::Range(0U, 8U));

} // namespace
} // namespace qx::test
