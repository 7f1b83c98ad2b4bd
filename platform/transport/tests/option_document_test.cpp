/// The table of options in the documentation is the catalogue, word for word.
#include <fstream>
#include <string>

#include <gtest/gtest.h>

#include "platform/transport/source/options.h"

namespace qx::transport {
namespace {

std::string shown(std::string_view value)
{
    return value.empty() ? "(empty)" : '`' + std::string(value) + '`';
}

std::string table_of_options()
{
    std::string table =
        "| type | option | accepted | unit | default | meaning |\n| --- | --- | --- | --- | --- | --- |\n";
    for (const OptionSpec& spec : option_catalogue()) {
        table += "| " + std::string(scope_name(spec.scope)) + " | `" + std::string(spec.name) + "` | " +
                 accepted_values(spec) + " | " + std::string(spec.unit) + " | " + shown(spec.fallback) + " | " +
                 std::string(spec.about) + " |\n";
    }
    return table;
}

std::string documented_table()
{
    std::ifstream file(QX_OPTION_DOCUMENT);
    std::string table;
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with("| type | option |") || (!table.empty() && line.starts_with('|'))) {
            table += line + '\n';
        } else if (!table.empty()) {
            break;
        }
    }
    return table;
}

TEST(OptionDocument, GivenCatalogue_WhenComparedWithTheDocument_ThenTheyAgree)
{
    EXPECT_EQ(documented_table(), table_of_options()) << "The table in the document is to read:\n"
                                                      << table_of_options();
}

} // namespace
} // namespace qx::transport
