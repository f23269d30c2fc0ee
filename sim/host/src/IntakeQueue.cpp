#include "IntakeQueue.h"

#include <algorithm>

IntakeQueue::IntakeQueue(qint64 capacity)
    : m_capacity(capacity)
{}

void IntakeQueue::setCapacity(qint64 bytes)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_capacity = std::max<qint64>(1, bytes);
    admitHeld();
}

qint64 IntakeQueue::capacity() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_capacity;
}

quint64 IntakeQueue::beginConnection()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_connection = ++m_lastConnection;
    m_unflushed = false;
    return m_connection;
}

quint64 IntakeQueue::currentConnection() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_connection == m_retired ? 0 : m_connection;
}

bool IntakeQueue::endConnection(quint64 id)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    if (id != m_connection)
        return false;
    m_connection = 0;
    m_draining = false;
    return std::exchange(m_unflushed, false);
}

void IntakeQueue::retireCurrentConnection()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_retired = m_connection;
    emptyLocked();
}

void IntakeQueue::beginDrain()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_draining = m_connection != 0;
}

void IntakeQueue::endDrain()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_draining = false;
}

bool IntakeQueue::isDraining() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_draining;
}

IntakeQueue::Admission IntakeQueue::push(quint64 connection, const QByteArray& bytes)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    if (connection == 0 || connection == m_retired)
        return Admission::Dropped;
    if (m_draining && connection == m_connection && !hasRoomLocked()) {
        m_figures.drainedBytes += bytes.size();
        return Admission::Dropped;
    }
    if (bytes.isEmpty())
        return hasRoomLocked() ? Admission::Queued : Admission::Full;
    if (connection == m_connection)
        m_unflushed = true;
    // A frame larger than the whole queue is let into an empty queue, or it could never play.
    const bool fits = m_held.empty() && (m_queued + bytes.size() <= m_capacity || m_queued == 0);
    if (fits) {
        m_chunks.push_back(bytes);
        m_queued += bytes.size();
    } else {
        m_held.push_back(bytes);
        m_heldBytes += bytes.size();
    }
    m_figures.maxSize = std::max(m_figures.maxSize, m_queued + m_heldBytes);
    return hasRoomLocked() ? Admission::Queued : Admission::Full;
}

void IntakeQueue::flush(quint64 connection)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    if (connection == m_connection) {
        m_unflushed = false;
        m_draining = false;
    }
    emptyLocked();
}

void IntakeQueue::clear()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    emptyLocked();
}

void IntakeQueue::emptyLocked()
{
    m_chunks.clear();
    m_held.clear();
    m_frontOffset = 0;
    m_queued = 0;
    m_heldBytes = 0;
}

QByteArray IntakeQueue::peek(int bytes) const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    QByteArray out;
    out.reserve(int(std::min<qint64>(bytes, m_queued)));
    int offset = m_frontOffset;
    for (const QByteArray& chunk : m_chunks) {
        if (out.size() >= bytes)
            break;
        out.append(chunk.constData() + offset, std::min(chunk.size() - offset, bytes - out.size()));
        offset = 0;
    }
    return out;
}

QByteArray IntakeQueue::take(int bytes)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    QByteArray out;
    out.reserve(int(std::min<qint64>(bytes, m_queued)));
    while (out.size() < bytes && !m_chunks.empty()) {
        const QByteArray& chunk = m_chunks.front();
        const int n = std::min(chunk.size() - m_frontOffset, bytes - out.size());
        out.append(chunk.constData() + m_frontOffset, n);
        m_frontOffset += n;
        if (m_frontOffset == chunk.size()) {
            m_chunks.pop_front();
            m_frontOffset = 0;
        }
    }
    m_queued -= out.size();
    admitHeld();
    return out;
}

qint64 IntakeQueue::size() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_queued + m_heldBytes;
}

bool IntakeQueue::hasRoom() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return hasRoomLocked();
}

IntakeQueue::Figures IntakeQueue::figures() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_figures;
}

void IntakeQueue::resetFigures()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_figures = Figures();
    m_figures.maxSize = m_queued + m_heldBytes;
}

bool IntakeQueue::hasRoomLocked() const
{
    return m_held.empty() && m_queued < m_capacity;
}

void IntakeQueue::admitHeld()
{
    while (!m_held.empty() && (m_queued + m_held.front().size() <= m_capacity || m_queued == 0)) {
        m_queued += m_held.front().size();
        m_heldBytes -= m_held.front().size();
        m_chunks.push_back(std::move(m_held.front()));
        m_held.pop_front();
    }
}
