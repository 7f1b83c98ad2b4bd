/// Sets of numbers that are mostly given out and used up in order.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>

namespace qx::transport {

/// A set kept as its runs: what it costs follows from its holes, not from how many numbers it has. Of more than
/// `runs_max` runs the two lowest become one, so that the numbers between them count as its own as well.
/// Threads   not synchronised.
class NumberRuns {
public:
    explicit NumberRuns(std::size_t runs_max)
        : runs_max_(runs_max)
    {
    }

    /// Twice is harmless.
    void insert(std::uint32_t number);
    bool contains(std::uint32_t number) const;

    bool empty() const noexcept { return last_of_.empty(); }
    std::size_t runs() const noexcept { return last_of_.size(); }

private:
    using Runs = std::map<std::uint32_t, std::uint32_t>;

    void join_next(Runs::iterator run);

    std::size_t runs_max_;
    Runs last_of_; ///< by the first number of a run
};

} // namespace qx::transport
