#include "smt2/BufferPool.h"

#include "BufferStore.h"

#include <utility>

namespace smt2 {

PooledBuffer::PooledBuffer() noexcept = default;

PooledBuffer::PooledBuffer(std::shared_ptr<detail::BufferStore> store,
                           std::unique_ptr<std::uint8_t[]> memory, std::size_t capacity,
                           std::size_t size) noexcept
    : m_store(std::move(store))
    , m_memory(std::move(memory))
    , m_capacity(capacity)
    , m_size(size)
{}

PooledBuffer::PooledBuffer(PooledBuffer&& other) noexcept
    : m_store(std::move(other.m_store))
    , m_memory(std::move(other.m_memory))
    , m_capacity(std::exchange(other.m_capacity, 0))
    , m_size(std::exchange(other.m_size, 0))
{}

PooledBuffer& PooledBuffer::operator=(PooledBuffer&& other) noexcept
{
    if (this != &other) {
        giveBack();
        m_store = std::move(other.m_store);
        m_memory = std::move(other.m_memory);
        m_capacity = std::exchange(other.m_capacity, 0);
        m_size = std::exchange(other.m_size, 0);
    }
    return *this;
}

PooledBuffer::~PooledBuffer()
{
    giveBack();
}

void PooledBuffer::giveBack() noexcept
{
    if (m_store && m_memory)
        m_store->giveBack(std::move(m_memory), m_capacity);
    m_store.reset();
    m_memory.reset();
    m_capacity = 0;
    m_size = 0;
}

BufferPool::BufferPool(std::size_t maxIdleBytes)
    : m_store(std::make_shared<detail::BufferStore>(maxIdleBytes))
{}

BufferPool::~BufferPool() = default;

PooledBuffer BufferPool::acquire(std::size_t size)
{
    if (size == 0)
        return PooledBuffer();
    return m_store->take(size);
}

std::size_t BufferPool::idleBytes() const
{
    return m_store->idleBytes();
}

std::size_t BufferPool::idleBuffers() const
{
    return m_store->idleBuffers();
}

std::uint64_t BufferPool::allocations() const
{
    return m_store->allocations();
}

} // namespace smt2
