// Seeded, platform-independent pseudo-randomness for the catalog and the schedules. Pure functions
// and a value-type generator: safe from any thread (one Rng per thread).
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace sxm::service {

/// SplitMix64 finaliser: spreads every input bit over the whole word.
std::uint64_t mix64(std::uint64_t value);

/// FNV-1a over the bytes, finalised with mix64: a stable hash for names and identifiers.
std::uint64_t hashText(std::string_view text, std::uint64_t seed = 0);

/// Combines hashes in order, so that (a, b) and (b, a) differ.
std::uint64_t hashCombine(std::uint64_t a, std::uint64_t b);

/// A small generator whose sequence depends only on its seed. std::uniform_int_distribution is
/// avoided on purpose: its output differs between standard libraries, and the catalog must not.
class Rng
{
public:
    explicit Rng(std::uint64_t seed)
        : m_state(seed)
    {}
    std::uint64_t next();
    /// A number in [0, bound); bound must be positive.
    int below(int bound);
    /// A number in [low, high], both included.
    int between(int low, int high);
    /// True with the given chance in percent.
    bool percent(int chance);

private:
    std::uint64_t m_state;
};

/// A GUID-shaped text (8-4-4-4-12 lower-case hex digits) derived from a hash.
std::string guidFromHash(std::uint64_t hash);

} // namespace sxm::service
