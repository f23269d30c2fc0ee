#include "smt2/AudioReceiver.h"

#include "ReceiverCore.h"
#include "UnixAddress.h"

namespace smt2 {

namespace {

// Runs f on the core's loop and waits for it; inline when already there. A loop that is being
// destroyed never runs it, which gives the fallback result.
template <class F, class R = std::invoke_result_t<F&>>
R runOnLoop(detail::ReceiverCore& core, F f, R fallback)
{
    auto& loop = core.loop();
    if (loop.isLoopThread())
        return f();
    try {
        return loop.invoke(std::move(f)).get();
    } catch (const cf::future_error&) {
        return fallback;
    }
}

} // namespace

AudioReceiver::AudioReceiver(miscUtils::IOEventLoopThread& loop)
    : m_core(std::make_shared<detail::ReceiverCore>(loop))
{}

AudioReceiver::~AudioReceiver()
{
    m_core->updateCallbacks([](detail::ReceiverCore::Callbacks& c) { c = {}; });
    auto& loop = m_core->loop();
    if (loop.isLoopThread()) {
        // Not inline: this may be a callback of the very connection being closed.
        loop.post([core = m_core] { core->close(); });
        return;
    }
    close();
}

ErrorID AudioReceiver::listen(const std::string& address)
{
    const std::string path = detail::socketPathFromAddress(address);
    return runOnLoop(
        *m_core, [core = m_core, path] { return core->listen(path); }, ErrorID::Cancelled);
}

void AudioReceiver::close()
{
    runOnLoop(
        *m_core,
        [core = m_core] {
            core->close();
            return true;
        },
        false);
}

std::string AudioReceiver::errorString() const
{
    return m_core->errorString();
}

std::string AudioReceiver::socketPath() const
{
    return m_core->socketPath();
}

bool AudioReceiver::hasSender() const
{
    return m_core->hasSender();
}

void AudioReceiver::onSenderConnected(std::function<void()> callback)
{
    m_core->updateCallbacks([&](auto& c) { c.connected = std::move(callback); });
}

void AudioReceiver::onSequenceInfo(
    std::function<void(const std::string& audioType, const miscUtils::VariantHash& params)>
        callback)
{
    m_core->updateCallbacks([&](auto& c) { c.sequenceInfo = std::move(callback); });
}

void AudioReceiver::onAudioFrame(std::function<void(const AudioFrame& frame)> callback)
{
    m_core->updateCallbacks([&](auto& c) { c.audioFrame = std::move(callback); });
}

void AudioReceiver::onFlushRequested(std::function<void(FlushToken token)> callback)
{
    m_core->updateCallbacks([&](auto& c) { c.flushRequested = std::move(callback); });
}

void AudioReceiver::onSenderDisconnected(std::function<void(ErrorID reason)> callback)
{
    m_core->updateCallbacks([&](auto& c) { c.disconnected = std::move(callback); });
}

void AudioReceiver::pauseReading()
{
    // The flag stops delivery at once (also in the middle of a batch of frames); the loop then
    // stops reading the socket.
    m_core->setPaused(true);
    m_core->loop().post([core = m_core] { core->applyPause(); });
}

void AudioReceiver::resumeReading()
{
    m_core->setPaused(false);
    m_core->loop().post([core = m_core] { core->applyPause(); });
}

bool AudioReceiver::isReadingPaused() const
{
    return m_core->paused();
}

std::size_t AudioReceiver::unreadSocketBytes() const
{
    return m_core->unreadSocketBytes();
}

std::size_t AudioReceiver::readAheadBytes() const
{
    return m_core->readAheadBytes();
}

void AudioReceiver::acknowledgeFlush(FlushToken token)
{
    m_core->loop().post([core = m_core, token] { core->acknowledgeFlush(token); });
}

void AudioReceiver::setProtocolVersion(std::uint32_t version)
{
    m_core->setProtocolVersion(version);
}

void AudioReceiver::setHandshakeTimeout(std::chrono::milliseconds timeout)
{
    m_core->setHandshakeTimeout(timeout);
}

} // namespace smt2
