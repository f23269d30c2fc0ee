#pragma once
// Thread contract: safe from any thread; one mutex guards all of it. The receiver's I/O thread
// pushes, the streamer's thread takes, the streamer's commands (on the invoking thread) retire.

#include <QByteArray>
#include <deque>
#include <mutex>
#include <utility>

/// The streamer's queue of received audio, bounded by the play address's queueSizeInBytes.
///
/// Frames are tagged with the sender connection they came on. The queue holds at most its
/// capacity; a frame that does not fit is held aside and the receiver is told to stop reading
/// until it fits, which is the back-pressure that slows the sender down. A connection can be
/// retired (the streamer was stopped while it still sent): its frames are dropped from then on.
class IntakeQueue
{
public:
    /// What the queue went through since the last resetFigures(), for the host's statistics.
    struct Figures
    {
        qint64 maxSize = 0;      ///< the most bytes queued and held aside at once
        qint64 drainedBytes = 0; ///< bytes dropped while draining for an expected flush
    };

    enum class Admission
    {
        Queued,  ///< queued; there is room for more
        Full,    ///< queued or held aside: stop reading until take() made room
        Dropped, ///< the frame's connection is retired, or the queue drains for a flush
    };

    explicit IntakeQueue(qint64 capacity = 1024 * 1024);

    void setCapacity(qint64 bytes);
    qint64 capacity() const;

    /// A sender connected: answers its id (never 0).
    quint64 beginConnection();
    /// The connection that is sending now, 0 when none.
    quint64 currentConnection() const;
    /// The sender's connection ended; answers whether it had sent audio since its last flush.
    bool endConnection(quint64 id);
    /// Drops everything queued and every later frame of the current connection.
    void retireCurrentConnection();

    /// A flush is expected (the host asked the sender's play logic to stop or skip): frames that
    /// do not fit are dropped instead of holding the sender back, so that the flush behind them
    /// in the socket is reached at once. Ends at the flush, at the end of the connection, or
    /// with endDrain().
    void beginDrain();
    void endDrain();
    bool isDraining() const;

    Admission push(quint64 connection, const QByteArray& bytes);
    /// The sender asked for a flush: what it sent before is dropped.
    void flush(quint64 connection);
    void clear();

    /// Up to `bytes` bytes from the front, without taking them.
    QByteArray peek(int bytes) const;
    /// Takes `bytes` bytes from the front (fewer if fewer are queued), then lets held frames in.
    QByteArray take(int bytes);
    /// Bytes queued and held aside.
    qint64 size() const;
    /// Whether the receiver may read: nothing is held aside and the queue is below its capacity.
    bool hasRoom() const;

    Figures figures() const;
    /// Starts new figures (a new playback): the most held is what is held now.
    void resetFigures();

private:
    void admitHeld();
    /// Drops every queued and held byte; the caller holds the mutex.
    void emptyLocked();
    bool hasRoomLocked() const;

    mutable std::mutex m_mutex; ///< guards every member below
    std::deque<QByteArray> m_chunks;
    int m_frontOffset = 0; ///< bytes of m_chunks.front() already taken
    qint64 m_queued = 0;
    std::deque<QByteArray> m_held;
    qint64 m_heldBytes = 0;
    qint64 m_capacity;
    quint64 m_lastConnection = 0;
    quint64 m_connection = 0;
    quint64 m_retired = 0;
    bool m_unflushed = false;
    bool m_draining = false;
    Figures m_figures;
};
