// The exit codes are public: what the program says of them and what its page says are one text.
#include "qxnotify/exit_codes.h"

#include <algorithm>
#include <fstream>
#include <map>
#include <sstream>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "qxnotify/triage_exit.h"

namespace qx::tool {
namespace {

using testing::SizeIs;

using Meanings = std::map<int, std::string>;

std::string trimmed(const std::string& text)
{
    const auto begin = text.find_first_not_of(' ');
    return begin == std::string::npos ? "" : text.substr(begin, text.find_last_not_of(' ') - begin + 1);
}

/// Lines "  3    meaning"; those that go on with one are indented further.
Meanings meanings_of_help(const std::string& help)
{
    Meanings meanings;
    int code = -1;
    std::istringstream lines(help);
    for (std::string line; std::getline(lines, line);) {
        const std::string text = trimmed(line);
        if (line.starts_with("  ") && line[2] != ' ') {
            code = std::stoi(text);
            meanings[code] = trimmed(text.substr(text.find(' ')));
        } else if (code != -1) {
            meanings[code] += " " + text;
        }
    }
    return meanings;
}

/// The rows "| 3 | meaning |" below that heading and above the next one.
Meanings meanings_of_page(const std::string& heading)
{
    Meanings meanings;
    bool inside = false;
    std::ifstream page(QXNOTIFY_PAGE);
    for (std::string line; std::getline(page, line);) {
        if (line.starts_with("#")) {
            inside = trimmed(line.substr(line.find_first_not_of('#'))) == heading;
        }
        if (inside && line.starts_with("| ") && line.find_first_of("0123456789") == 2) {
            line.erase(std::remove(line.begin(), line.end(), '`'), line.end());
            const auto bar = line.find('|', 1);
            meanings[std::stoi(line.substr(2))] = trimmed(line.substr(bar + 1, line.rfind('|') - bar - 1));
        }
    }
    return meanings;
}

TEST(ExitCodes, GivenThePage_WhenReadBesideTheHelp_ThenTheySayTheSame)
{
    const Meanings meanings = meanings_of_help(exit_code_help());
    EXPECT_THAT(meanings, SizeIs(13));
    EXPECT_EQ(meanings_of_page("Exit codes"), meanings);
}

TEST(ExitCodes, GivenThePage_WhenReadBesideTheHelpOfTriage_ThenTheySayTheSame)
{
    const Meanings meanings = meanings_of_help(triage_exit_help());
    EXPECT_THAT(meanings, SizeIs(4));
    EXPECT_EQ(meanings_of_page("Exit codes of triage"), meanings);
}

} // namespace
} // namespace qx::tool
