// The public conformance corpus: names that begin with y are JSON, with n are not, with i may be either.
#include <libjson.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <string>

#include <gtest/gtest.h>

#include "platform/json/tests/equal.h"

namespace {

using qx::test::equal;

using Texts = std::map<std::string, std::string>; ///< file name without extension to contents

Texts corpus(char kind)
{
    Texts texts;
    for (const auto& entry : std::filesystem::directory_iterator(JSON_TEST_DATA "/json_test_suite")) {
        const std::string name = entry.path().stem().string();
        if (name.front() == kind) {
            std::ifstream file(entry.path(), std::ios::binary);
            texts[name] = std::string(std::istreambuf_iterator<char>(file), {});
        }
    }
    return texts;
}

bool accepts(const std::string& text)
{
    try {
        libjson::parse(text);
        return true;
    } catch (const std::invalid_argument&) {
        return false;
    }
}

TEST(Corpus, GivenEveryValidText_WhenParsed_ThenItIsAccepted)
{
    const Texts texts = corpus('y');
    EXPECT_EQ(texts.size(), 95U);
    for (const auto& [name, text] : texts) {
        EXPECT_TRUE(accepts(text)) << name;
    }
}

TEST(Corpus, GivenEveryValidContainer_WhenWrittenAndReadAgain_ThenItIsTheSame)
{
    for (const auto& [name, text] : corpus('y')) {
        const JSONNode node = libjson::parse(text);
        if (node.type() == JSON_ARRAY || node.type() == JSON_NODE) {
            EXPECT_TRUE(equal(node, libjson::parse(node.write()))) << name;
            EXPECT_TRUE(equal(node, libjson::parse(node.write_formatted()))) << name;
        }
    }
}

TEST(Corpus, GivenEveryInvalidText_WhenParsed_ThenItIsRefused)
{
    const Texts texts = corpus('n');
    EXPECT_EQ(texts.size(), 188U);
    for (const auto& [name, text] : texts) {
        EXPECT_FALSE(accepts(text)) << name;
    }
}

/// What we do where the format leaves a choice: every number is kept as text, bytes are never checked for UTF-8, a lone
/// surrogate is replaced; a byte order mark and UTF-16 are refused.
const std::map<std::string, bool> chosen{
    {"i_number_double_huge_neg_exp", true},
    {"i_number_huge_exp", true},
    {"i_number_neg_int_huge_exp", true},
    {"i_number_pos_double_huge_exp", true},
    {"i_number_real_neg_overflow", true},
    {"i_number_real_pos_overflow", true},
    {"i_number_real_underflow", true},
    {"i_number_too_big_neg_int", true},
    {"i_number_too_big_pos_int", true},
    {"i_number_very_big_negative_int", true},
    {"i_object_key_lone_2nd_surrogate", true},
    {"i_string_1st_surrogate_but_2nd_missing", true},
    {"i_string_1st_valid_surrogate_2nd_invalid", true},
    {"i_string_UTF-16LE_with_BOM", false},
    {"i_string_UTF-8_invalid_sequence", true},
    {"i_string_UTF8_surrogate_U+D800", true},
    {"i_string_incomplete_surrogate_and_escape_valid", true},
    {"i_string_incomplete_surrogate_pair", true},
    {"i_string_incomplete_surrogates_escape_valid", true},
    {"i_string_invalid_lonely_surrogate", true},
    {"i_string_invalid_surrogate", true},
    {"i_string_invalid_utf-8", true},
    {"i_string_inverted_surrogates_U+1D11E", true},
    {"i_string_iso_latin_1", true},
    {"i_string_lone_second_surrogate", true},
    {"i_string_lone_utf8_continuation_byte", true},
    {"i_string_not_in_unicode_range", true},
    {"i_string_overlong_sequence_2_bytes", true},
    {"i_string_overlong_sequence_6_bytes", true},
    {"i_string_overlong_sequence_6_bytes_null", true},
    {"i_string_truncated-utf-8", true},
    {"i_string_utf16BE_no_BOM", false},
    {"i_string_utf16LE_no_BOM", false},
    {"i_structure_500_nested_arrays", true},
    {"i_structure_UTF-8_BOM_empty_object", false},
};

TEST(Corpus, GivenEveryTextThatIsOurChoice_WhenParsed_ThenWeDoAsDocumented)
{
    const Texts texts = corpus('i');
    EXPECT_EQ(texts.size(), chosen.size());
    for (const auto& [name, text] : texts) {
        ASSERT_TRUE(chosen.contains(name)) << name;
        EXPECT_EQ(accepts(text), chosen.at(name)) << name;
    }
}

} // namespace
