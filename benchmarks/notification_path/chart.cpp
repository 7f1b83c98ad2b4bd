#include "chart.h"

#include <algorithm>
#include <cmath>
#include <sstream>

namespace qx::benchmark {
namespace {

constexpr int row_height = 22;
constexpr int label_width = 150;
constexpr int bars_width = 480;
constexpr int value_width = 90;

double longest(const std::vector<Bars>& groups)
{
    double most = 1;
    for (const Bars& group : groups) {
        for (const auto& [label, value] : group.bars) {
            most = std::max(most, value);
        }
    }
    return most;
}

void text(std::ostream& out, int x, int y, const char* style, const std::string& what)
{
    out << "  <text x=\"" << x << "\" y=\"" << y << "\" " << style << ">" << what << "</text>\n";
}

void bar(std::ostream& out, int y, const std::string& label, double value, double scale)
{
    const auto width = std::max(1L, std::lround(value * scale));
    text(out, label_width - 8, y + 15, "text-anchor=\"end\"", label);
    out << "  <rect x=\"" << label_width << "\" y=\"" << y + 3 << "\" width=\"" << width << "\" height=\""
        << row_height - 6 << "\" fill=\"#4878a8\"/>\n";
    text(out, label_width + static_cast<int>(width) + 6, y + 15, "", std::to_string(std::lround(value)));
}

} // namespace

std::string svg_chart(const std::string& unit, const std::vector<Bars>& groups)
{
    const double scale = bars_width / longest(groups);
    std::ostringstream body;
    int y = 4;
    text(body, label_width, y + 15, "fill=\"#666\"", unit);
    for (const Bars& group : groups) {
        y += row_height + 6;
        text(body, label_width, y + 15, "font-weight=\"bold\"", group.title);
        for (const auto& [label, value] : group.bars) {
            y += row_height;
            bar(body, y, label, value, scale);
        }
    }
    const int width = label_width + bars_width + value_width;
    return "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" + std::to_string(width) + "\" height=\"" +
           std::to_string(y + row_height + 8) + "\" font-family=\"sans-serif\" font-size=\"13\">\n" + body.str() +
           "</svg>\n";
}

} // namespace qx::benchmark
