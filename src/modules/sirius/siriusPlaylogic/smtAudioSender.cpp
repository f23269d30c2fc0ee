#include "siriusPlaylogic/smtAudioSender.h"

#include "siriusLogging.h"

#include <audioUtils/AudioTypes.h>
#include <miscUtils/NoTimeValue.h>

namespace sirius {
namespace {

const log4cplus::Logger& logger()
{
    return siriusPlaylogicLogger();
}

/// The host's identifier of the audio thread in its thread diagnostics; it has no effect on
/// scheduling.
constexpr int kIoThreadNumber = 1000;

std::string socketPathOf(const QString& address)
{
    QString path = address;
    if (path.startsWith(QLatin1String("smt2://")))
        path.remove(0, int(qstrlen("smt2://")));
    return path.toStdString();
}

} // namespace

SmtAudioSender::SmtAudioSender(const QString& socketAddress, std::function<qint64()> bufferedBytes)
    : m_bufferedBytes(std::move(bufferedBytes))
    , m_loop(kIoThreadNumber, "siriusPL_io")
    , m_channel(m_loop)
    , m_sender(m_pool)
{
    const std::string address = socketPathOf(socketAddress);
    LOG4CPLUS_INFO(logger(), "Setting socket address: " << address);
    m_channel.setSocketAddress(address);
    m_channel.setSendBufferSize(kSendBufferBytes);
    m_sender.setTransportChannel(m_channel);
    m_sender.onHandshakeFailed([this] {
        LOG4CPLUS_ERROR(logger(), "SMT sender handshake failed");
        m_sender.disconnect();
    });
    m_sender.onStateChange([this](int state) {
        m_state.store(state, std::memory_order_release);
        // Repeated at every connection: the format is forgotten at each disconnect.
        if (state == kConnected)
            m_sender.setAudioSequenceInfo(audioUtils::opaqueAudioType(), miscUtils::VariantHash());
    });
}

SmtAudioSender::~SmtAudioSender()
{
    setListener(Listener());
}

void SmtAudioSender::setListener(Listener listener)
{
    m_loop.invoke([this, listener = std::move(listener)] { m_listener = listener; }).wait();
}

void SmtAudioSender::onLoop(std::function<void()> task)
{
    if (m_loop.isLoopThread())
        task();
    else
        m_loop.post(std::move(task));
}

void SmtAudioSender::notify(std::function<void()> Listener::*which)
{
    if (const std::function<void()>& callback = m_listener.*which)
        callback();
}

void SmtAudioSender::start()
{
    if (state() != 0) {
        LOG4CPLUS_WARN(logger(), "SMT sender already connected!");
        return;
    }
    LOG4CPLUS_DEBUG(logger(), "SMT connecting");
    // A connect that fails at once completes before then() attaches, and its continuation runs
    // here; onLoop keeps the listener on the I/O thread either way.
    m_sender.connect().then([this](const smt2::Future<smt2::ErrorID>& done) {
        const smt2::ErrorID result = done.get();
        onLoop([this, result] {
            if (result == smt2::ErrorID::NoError) {
                LOG4CPLUS_DEBUG(logger(), "SMT connected");
                notify(&Listener::connected);
            } else {
                LOG4CPLUS_WARN(logger(), "SMT not connected, error=" << smt2::toString(result));
            }
        });
    });
}

int SmtAudioSender::write(const QByteArray& data, unsigned bitrate, unsigned* outputDelay)
{
    LOG4CPLUS_DEBUG(logger(), "Data size: " << data.size() << " bitrate: " << bitrate);
    if (state() != kConnected) {
        LOG4CPLUS_DEBUG(logger(), "Not connected");
        return 0;
    }
    int written = 0;
    const bool sendInFlight = m_sendFuture && !m_sendFuture->is_ready();
    if (!data.isEmpty() && !sendInFlight) {
        written = qMin(data.size(), kMaxSendBytes);
        m_sendFuture = m_sender.sendAudioData(miscUtils::NoTimeValue, miscUtils::NoTimeValue,
                                              smt2::ByteSpan(data).first(std::size_t(written)));
    }
    if (outputDelay && bitrate != 0) {
        const qint64 queued = (m_bufferedBytes ? m_bufferedBytes() : 0) + written;
        *outputDelay = unsigned((queued * 8000) / qint64(bitrate));
    }
    LOG4CPLUS_DEBUG(logger(), "written: " << written
                                          << " outputDelay: " << (outputDelay ? *outputDelay : 0u));
    if (written == 0)
        return 0;
    m_sendFuture->then([this](const smt2::Future<smt2::ErrorID>& done) {
        const smt2::ErrorID result = done.get();
        onLoop([this, result] {
            if (result == smt2::ErrorID::Cancelled) {
                LOG4CPLUS_DEBUG(logger(), "Send cancelled: the sender was disconnected");
            } else if (result != smt2::ErrorID::NoError) {
                // No more data is asked for: the stream ends here until the next playback.
                LOG4CPLUS_ERROR(logger(), "Error sending data: " << smt2::toString(result));
            } else if (state() == kConnected) {
                LOG4CPLUS_DEBUG(logger(), "Requesting more audio data");
                notify(&Listener::sent);
            } else {
                LOG4CPLUS_DEBUG(logger(), "Not requesting more audio data, not in connected state");
            }
        });
    });
    return written;
}

bool SmtAudioSender::flushAndDisconnect(std::chrono::milliseconds limit)
{
    LOG4CPLUS_DEBUG(logger(), "Sending flush to SMT2...");
    const smt2::Future<smt2::ErrorID> flush = m_sender.sendFlush();
    const bool acknowledged = flush.wait_for(limit) == std::future_status::ready;
    if (acknowledged) {
        LOG4CPLUS_DEBUG(logger(), "SMT2 flush complete!");
    } else {
        LOG4CPLUS_WARN(logger(), "SMT2 flush not acknowledged within "
                                     << limit.count() << " ms (the streamer is paused or "
                                     << "holds the sender back); disconnecting anyway");
    }
    disconnect();
    return acknowledged;
}

void SmtAudioSender::disconnect()
{
    m_sender.disconnect();
    // The disconnect runs on the I/O thread; waiting for the loop to pass it means the state is
    // back to 0 before the next playback's start() looks at it.
    m_loop.invoke([] {}).wait();
}

} // namespace sirius
