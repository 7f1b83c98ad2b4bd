/// Runs the program log_child and keeps what it wrote.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace qx::test {

struct ChildResult {
    int exitCode; ///< -1 when a signal ended it
    std::vector<std::string> out;
    std::vector<std::string> err;
};

/// `environment` ("NAME=value") is added to this process's own, from which all QX_LOG_ variables are taken.
/// `redirectError` names a file that is the child's standard error instead of the captured one.
ChildResult runLogChild(const std::string& scenario, const std::vector<std::string>& environment = {},
                        const std::string& redirectError = {});

std::vector<std::string> linesOf(const std::string& text);
std::vector<std::string> linesOfFile(const std::filesystem::path& path);

} // namespace qx::test
