// A read-only view of bytes that a send copies from.
// Thread contract: a plain view; the viewed bytes must stay valid while the view is used.
#pragma once

#include <QByteArray>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace smt2 {

class ByteSpan
{
public:
    constexpr ByteSpan() noexcept = default;
    constexpr ByteSpan(const std::uint8_t* data, std::size_t size) noexcept
        : m_data(data)
        , m_size(size)
    {}
    ByteSpan(const char* data, std::size_t size) noexcept
        : ByteSpan(reinterpret_cast<const std::uint8_t*>(data), size)
    {}
    ByteSpan(const QByteArray& bytes) noexcept // NOLINT: implicit by design
        : ByteSpan(bytes.constData(), static_cast<std::size_t>(bytes.size()))
    {}
    ByteSpan(const std::vector<std::uint8_t>& bytes) noexcept // NOLINT: implicit by design
        : ByteSpan(bytes.data(), bytes.size())
    {}

    constexpr const std::uint8_t* data() const noexcept { return m_data; }
    constexpr std::size_t size() const noexcept { return m_size; }
    constexpr bool empty() const noexcept { return m_size == 0; }
    // The first count bytes (all of them if count is larger).
    constexpr ByteSpan first(std::size_t count) const noexcept
    {
        return ByteSpan(m_data, std::min(count, m_size));
    }

private:
    const std::uint8_t* m_data = nullptr;
    std::size_t m_size = 0;
};

} // namespace smt2
