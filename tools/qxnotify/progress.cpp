#include "qxnotify/progress.h"

#include <algorithm>
#include <cstddef>

#include <unistd.h>

#include "qxnotify/output.h"

namespace qx::tool {

namespace {

constexpr std::size_t bar_width = 30;
constexpr std::chrono::milliseconds redraw_interval{100};

std::string bar(double fraction)
{
    const double clamped = std::clamp(fraction, 0.0, 1.0);
    const auto filled = static_cast<std::size_t>(clamped * static_cast<double>(bar_width));
    std::string percent = std::to_string(static_cast<int>(clamped * 100));
    percent.insert(0, 3 - std::min<std::size_t>(percent.size(), 3), ' ');
    return "[" + std::string(filled, '#') + std::string(bar_width - filled, '.') + "] " + percent + " %  ";
}

} // namespace

std::string render_progress(const ProgressState& state)
{
    return (state.fraction ? bar(*state.fraction) : std::string{}) + std::to_string(state.sent) + " sent, " +
           std::to_string(state.refused) + " refused";
}

void Progress::show(const ProgressState& state)
{
    if (is_due()) {
        draw(render_progress(state));
    }
}

void Progress::show(const std::string& line)
{
    if (is_due()) {
        draw(line);
    }
}

bool Progress::is_due() const
{
    return m_enabled && std::chrono::steady_clock::now() >= m_next;
}

void Progress::draw(const std::string& line)
{
    write_all(STDERR_FILENO, "\r\x1b[K" + line);
    m_drawn = true;
    m_next = std::chrono::steady_clock::now() + redraw_interval;
}

void Progress::erase()
{
    if (m_drawn) {
        write_all(STDERR_FILENO, "\r\x1b[K");
        m_drawn = false;
    }
}

} // namespace qx::tool
