#include "socket_drops.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace test {
namespace {

/// "socket:[<inode>]"
std::set<std::string> sockets(pid_t pid)
{
    std::set<std::string> names;
    for (const auto& file : std::filesystem::directory_iterator{"/proc/" + std::to_string(pid) + "/fd"}) {
        std::error_code closed_meanwhile;
        names.insert(std::filesystem::read_symlink(file, closed_meanwhile).string());
    }
    return names;
}

} // namespace

std::uint64_t packets_dropped(pid_t pid)
{
    constexpr std::size_t inode = 9;
    const std::set<std::string> own = sockets(pid);
    std::ifstream table{"/proc/net/udp"};
    std::string line;
    std::getline(table, line); // headings
    std::uint64_t dropped = 0;
    while (std::getline(table, line)) {
        std::istringstream words{line};
        const std::vector<std::string> fields{std::istream_iterator<std::string>{words}, {}};
        if (fields.size() > inode && own.contains("socket:[" + fields[inode] + ']')) {
            dropped += std::stoull(fields.back());
        }
    }
    return dropped;
}

} // namespace test
