#include "table.h"

#include <array>
#include <cstdlib>
#include <iomanip>
#include <iostream>
#include <string_view>
#include <utility>
#include <vector>

namespace test {
namespace {

constexpr int name_width = 38;
constexpr std::size_t columns = 10;
constexpr std::array<std::string_view, columns> headings{
    "processes", "sources", "sent", "delivered", "lost", "loss events", "died with sender", "BOS", "EOS", "after EOS"};

std::array<std::uint64_t, columns> numbers(const Account& a)
{
    return {a.processes, a.sources, a.sent, a.delivered, a.lost, a.losses, a.died, a.begins, a.ends, a.after_end};
}

void print_text(const std::vector<Account>& accounts)
{
    std::cout << "| " << std::left << std::setw(name_width) << "scenario" << std::right;
    for (const std::string_view heading : headings) {
        std::cout << " | " << heading;
    }
    std::cout << " |\n| ---";
    for (std::size_t i = 0; i < columns; ++i) {
        std::cout << " | ---:";
    }
    std::cout << " |\n";
    for (const Account& account : accounts) {
        std::cout << "| " << std::left << std::setw(name_width) << account.scenario << std::right;
        const auto values = numbers(account);
        for (std::size_t i = 0; i < columns; ++i) {
            std::cout << " | " << std::setw(static_cast<int>(headings[i].size())) << values[i];
        }
        std::cout << " |\n";
    }
}

void print_json(const std::vector<Account>& accounts)
{
    for (const Account& account : accounts) {
        std::cout << R"({"scenario":")" << account.scenario << '"';
        const auto values = numbers(account);
        for (std::size_t i = 0; i < columns; ++i) {
            std::cout << R"(,")" << headings[i] << R"(":)" << values[i];
        }
        std::cout << "}\n";
    }
}

class Table : public testing::Environment {
public:
    void TearDown() override
    {
        const char* const format = std::getenv("QX_FAULT_TABLE");
        if (format != nullptr && std::string_view{format} == "json") {
            print_json(accounts);
        } else {
            print_text(accounts);
        }
        std::cout << std::flush;
    }

    std::vector<Account> accounts;
};

/// Google Test owns it.
Table& table = *static_cast<Table*>(testing::AddGlobalTestEnvironment(new Table));

} // namespace

void print_later(const Account& account)
{
    table.accounts.push_back(account);
}

} // namespace test
