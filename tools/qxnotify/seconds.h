/// Times as people and programs are told them.
#pragma once

#include <cmath>
#include <string>

namespace qx::tool {

/// "3.1"
inline std::string tenths(double seconds)
{
    const auto rounded = std::lround(seconds * 10);
    return std::to_string(rounded / 10) + "." + std::to_string(rounded % 10);
}

inline double milliseconds_exact(double seconds)
{
    return std::round(seconds * 1'000) / 1'000;
}

} // namespace qx::tool
