// The shared storage behind a BufferPool and its PooledBuffers.
// Thread contract: safe from any thread; one mutex guards the idle list and the counters.
#pragma once

#include "smt2/BufferPool.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

namespace smt2 {

namespace detail {

class BufferStore : public std::enable_shared_from_this<BufferStore>
{
public:
    explicit BufferStore(std::size_t maxIdleBytes)
        : m_maxIdleBytes(maxIdleBytes)
    {}

    PooledBuffer take(std::size_t size)
    {
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            // Best fit: the smallest idle buffer that holds size, so large buffers stay
            // available for large sends.
            auto best = m_idle.end();
            for (auto it = m_idle.begin(); it != m_idle.end(); ++it) {
                if (it->capacity >= size && (best == m_idle.end() || it->capacity < best->capacity))
                    best = it;
            }
            if (best != m_idle.end()) {
                Idle chosen = std::move(*best);
                m_idle.erase(best);
                m_idleBytes -= chosen.capacity;
                return PooledBuffer(shared_from_this(), std::move(chosen.memory), chosen.capacity,
                                    size);
            }
            ++m_allocations;
        }
        const std::size_t capacity = roundUpToPage(size);
        // Not value-initialised: the sender overwrites every byte it sends.
        return PooledBuffer(shared_from_this(),
                            std::unique_ptr<std::uint8_t[]>(new std::uint8_t[capacity]), capacity,
                            size);
    }

    void giveBack(std::unique_ptr<std::uint8_t[]> memory, std::size_t capacity) noexcept
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (m_idleBytes + capacity > m_maxIdleBytes)
            return; // freed when memory goes out of scope
        try {
            m_idle.push_back(Idle{std::move(memory), capacity});
            m_idleBytes += capacity;
        } catch (...) {
            // Out of memory for the bookkeeping: the buffer is simply freed.
        }
    }

    std::size_t idleBytes() const
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_idleBytes;
    }
    std::size_t idleBuffers() const
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_idle.size();
    }
    std::uint64_t allocations() const
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_allocations;
    }

private:
    struct Idle
    {
        std::unique_ptr<std::uint8_t[]> memory;
        std::size_t capacity;
    };

    // Sends of slightly different sizes then share buffers.
    static std::size_t roundUpToPage(std::size_t size)
    {
        constexpr std::size_t kPage = 4096;
        return std::max<std::size_t>(kPage, (size + kPage - 1) / kPage * kPage);
    }

    const std::size_t m_maxIdleBytes;
    mutable std::mutex m_mutex; // guards m_idle, m_idleBytes, m_allocations
    std::vector<Idle> m_idle;
    std::size_t m_idleBytes = 0;
    std::uint64_t m_allocations = 0;
};

} // namespace detail

} // namespace smt2
