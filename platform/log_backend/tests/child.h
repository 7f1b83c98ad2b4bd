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

/// A folder of its own, removed with everything in it.
class TemporaryFolder {
public:
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    std::filesystem::path operator/(const std::string& name) const { return m_path / name; }

private:
    std::filesystem::path m_path;
};

} // namespace qx::test
