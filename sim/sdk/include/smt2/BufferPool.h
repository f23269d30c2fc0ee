// Reusable byte buffers for outgoing sends, so that steady streaming does not allocate.
// Thread contract: BufferPool is safe from any thread; a PooledBuffer has one owner at a time
// and may be released on any thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

namespace smt2 {

namespace detail {
class BufferStore;
}

// One buffer taken from a pool; its memory goes back to the pool when it is destroyed. It keeps
// the pool's store alive, so it may outlive the BufferPool object itself.
class PooledBuffer
{
public:
    PooledBuffer() noexcept;
    PooledBuffer(PooledBuffer&&) noexcept;
    PooledBuffer& operator=(PooledBuffer&&) noexcept;
    PooledBuffer(const PooledBuffer&) = delete;
    PooledBuffer& operator=(const PooledBuffer&) = delete;
    ~PooledBuffer();

    std::uint8_t* data() noexcept { return m_memory.get(); }
    const std::uint8_t* data() const noexcept { return m_memory.get(); }
    std::size_t size() const noexcept { return m_size; }
    std::size_t capacity() const noexcept { return m_capacity; }

private:
    friend class detail::BufferStore;
    PooledBuffer(std::shared_ptr<detail::BufferStore> store, std::unique_ptr<std::uint8_t[]> memory,
                 std::size_t capacity, std::size_t size) noexcept;
    void giveBack() noexcept;

    std::shared_ptr<detail::BufferStore> m_store;
    std::unique_ptr<std::uint8_t[]> m_memory;
    std::size_t m_capacity = 0;
    std::size_t m_size = 0;
};

// Memory in use is bounded by the sends a caller keeps in flight (one, for a paced sender); the
// memory kept idle for reuse is bounded by maxIdleBytes.
class BufferPool
{
public:
    static constexpr std::size_t kDefaultMaxIdleBytes = 1024 * 1024;

    explicit BufferPool(std::size_t maxIdleBytes = kDefaultMaxIdleBytes);
    ~BufferPool();
    BufferPool(const BufferPool&) = delete;
    BufferPool& operator=(const BufferPool&) = delete;

    // A buffer of exactly size bytes (uninitialised), reusing idle memory when some fits; an
    // empty buffer, without memory, for size 0.
    PooledBuffer acquire(std::size_t size);

    std::size_t idleBytes() const;
    std::size_t idleBuffers() const;
    // How many buffers the pool has had to allocate so far.
    std::uint64_t allocations() const;

private:
    // A sender keeps the store, not the pool, so buffers it still holds stay valid.
    friend class AudioSender;
    std::shared_ptr<detail::BufferStore> m_store;
};

} // namespace smt2
