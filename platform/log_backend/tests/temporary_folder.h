#pragma once

#include <filesystem>
#include <string>

namespace qx::test {

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

/// A file's bytes; "" when there is none.
std::string contents(const std::filesystem::path& path);

} // namespace qx::test
