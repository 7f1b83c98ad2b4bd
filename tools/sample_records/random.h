/// Random numbers that are the same for a seed on every machine: the standard fixes the engine's numbers but not what
/// its distributions make of them, so the arithmetic from engine to value is ours.
#pragma once

#include <cstddef>
#include <cstdint>
#include <random>
#include <span>

namespace qx::sample {

class Random {
public:
    explicit Random(std::uint64_t seed)
        : m_engine(seed)
    {
    }

    std::uint64_t bits() { return m_engine(); }

    /// A number in [0, limit); `limit` is not 0. The bias of the remainder is below limit / 2^64.
    std::uint64_t below(std::uint64_t limit) { return m_engine() % limit; }

    /// A number in [low, high], both ends included.
    std::uint64_t between(std::uint64_t low, std::uint64_t high) { return low + below(high - low + 1); }

    bool chance(unsigned percent) { return below(100) < percent; }

    /// One of the choices, of which there is at least one.
    template <class T, std::size_t Extent>
    const T& pick(std::span<const T, Extent> choices)
    {
        return choices[static_cast<std::size_t>(below(choices.size()))];
    }
    template <class T, std::size_t N>
    const T& pick(const T (&choices)[N])
    {
        return pick(std::span<const T, N>(choices));
    }

private:
    std::mt19937_64 m_engine;
};

/// Seeds for the members of a series that share one seed: neighbours come out unrelated (the finaliser of splitmix64).
constexpr std::uint64_t series_seed(std::uint64_t seed, std::uint64_t index)
{
    std::uint64_t z = seed + (index + 1) * 0x9E3779B97F4A7C15ULL;
    z = (z ^ (z >> 30U)) * 0xBF58476D1CE4E5B9ULL;
    z = (z ^ (z >> 27U)) * 0x94D049BB133111EBULL;
    return z ^ (z >> 31U);
}

} // namespace qx::sample
