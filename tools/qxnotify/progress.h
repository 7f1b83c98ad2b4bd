/// A progress bar on standard error, for people only.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

namespace qx::tool {

struct ProgressState {
    std::optional<double> fraction; ///< 0 to 1; none when the end is not known
    std::uint64_t sent = 0;
    std::uint64_t refused = 0;
};

/// One line without control characters: "[####......]  40 %  12 sent, 1 refused".
std::string render_progress(const ProgressState& state);

/// Draws at most ten times a second, and nothing at all when not enabled. Erases itself.
class Progress {
public:
    explicit Progress(bool enabled)
        : m_enabled(enabled)
    {
    }
    ~Progress() { erase(); }
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    void show(const ProgressState& state);
    /// A line without control characters.
    void show(const std::string& line);
    /// Before other text goes to the same terminal.
    void erase();

private:
    bool is_due() const;
    void draw(const std::string& line);

    bool m_enabled;
    bool m_drawn = false;
    std::chrono::steady_clock::time_point m_next{};
};

} // namespace qx::tool
