#include "Determinism.h"

#include <cstdio>

namespace sxm::service {

std::uint64_t mix64(std::uint64_t value)
{
    value += 0x9E3779B97F4A7C15ULL;
    value = (value ^ (value >> 30)) * 0xBF58476D1CE4E5B9ULL;
    value = (value ^ (value >> 27)) * 0x94D049BB133111EBULL;
    return value ^ (value >> 31);
}

std::uint64_t hashText(std::string_view text, std::uint64_t seed)
{
    std::uint64_t hash = 0xCBF29CE484222325ULL ^ mix64(seed);
    for (unsigned char c : text) {
        hash ^= c;
        hash *= 0x100000001B3ULL;
    }
    return mix64(hash);
}

std::uint64_t hashCombine(std::uint64_t a, std::uint64_t b)
{
    return mix64(a * 31 + mix64(b));
}

std::uint64_t Rng::next()
{
    m_state += 0x9E3779B97F4A7C15ULL;
    return mix64(m_state);
}

int Rng::below(int bound)
{
    return bound <= 1 ? 0 : static_cast<int>(next() % static_cast<std::uint64_t>(bound));
}

int Rng::between(int low, int high)
{
    return low + below(high - low + 1);
}

bool Rng::percent(int chance)
{
    return below(100) < chance;
}

std::string guidFromHash(std::uint64_t hash)
{
    const std::uint64_t low = mix64(hash ^ 0xA5A5A5A5A5A5A5A5ULL);
    char text[40];
    std::snprintf(text, sizeof text, "%08x-%04x-%04x-%04x-%012llx",
                  static_cast<unsigned>(hash >> 32), static_cast<unsigned>((hash >> 16) & 0xFFFF),
                  static_cast<unsigned>(hash & 0xFFFF), static_cast<unsigned>(low >> 48),
                  static_cast<unsigned long long>(low & 0xFFFFFFFFFFFFULL));
    return text;
}

} // namespace sxm::service
