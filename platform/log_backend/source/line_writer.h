/// Writes whole lines to a file descriptor.
#pragma once

#include <string_view>

namespace qx::logging::backend {

class LineWriter {
public:
    /// Borrows the descriptor.
    explicit LineWriter(int descriptor)
        : m_descriptor(descriptor)
    {
    }

    /// Writes `line`, which ends in a line feed. In the usual case that is one write(2), so lines of several processes
    /// stay whole as well. Throws std::system_error when the line could not be written; the next one then still
    /// begins on a line of its own. No signal comes of a failure: a closed pipe is an error like any other.
    void write(std::string_view line);

private:
    void writeAll(std::string_view bytes);

    int m_descriptor;
    bool m_torn = false; ///< the last line broke off before its line feed
};

} // namespace qx::logging::backend
