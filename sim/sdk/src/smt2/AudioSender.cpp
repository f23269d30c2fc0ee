#include "smt2/AudioSender.h"

#include "SenderSession.h"

#include <cstring>

namespace smt2 {

namespace {

// IOEventLoopThread tasks are std::function, which must be copyable; a Completion is not.
std::shared_ptr<detail::Completion> shareCompletion(Future<ErrorID>* future)
{
    return std::make_shared<detail::Completion>(detail::Completion::make(future));
}

} // namespace

AudioSender::AudioSender(BufferPool& pool)
    : m_session(std::make_shared<detail::SenderSession>(pool.m_store))
{}

AudioSender::~AudioSender()
{
    m_session->dropCallbacks();
    miscUtils::IOEventLoopThread* loop = m_session->loop();
    if (!loop)
        return;
    auto closed = loop->invoke([session = m_session] { session->disconnect(); });
    // On the loop thread the close runs after the current task; waiting here would deadlock.
    if (!loop->isLoopThread())
        closed.wait();
}

bool AudioSender::setTransportChannel(UnixClientSocketChannel& channel)
{
    return m_session->useTransport(channel.transport());
}

void AudioSender::onHandshakeFailed(std::function<void()> callback)
{
    m_session->setHandshakeFailedCallback(std::move(callback));
}

void AudioSender::onStateChange(std::function<void(int)> callback)
{
    m_session->setStateCallback(std::move(callback));
}

SenderState AudioSender::state() const
{
    return m_session->state();
}

Future<ErrorID> AudioSender::connect()
{
    Future<ErrorID> result;
    auto done = shareCompletion(&result);
    if (!postToSession([done](detail::SenderSession& s) { s.connect(std::move(*done)); }))
        done->complete(ErrorID::NoTransportChannel);
    return result;
}

Future<ErrorID> AudioSender::sendAudioData(std::int64_t pts, std::int64_t dts, ByteSpan data)
{
    Future<ErrorID> result;
    auto done = shareCompletion(&result);
    if (data.size() > wire::kMaxAudioBytes) {
        if (!postToSession(
                [done](detail::SenderSession&) { done->complete(ErrorID::InvalidArgument); }))
            done->complete(ErrorID::InvalidArgument);
        return result;
    }
    // Copied here, on the caller's thread, so that the caller's bytes are free again at once.
    auto body = std::make_shared<PooledBuffer>(m_session->buffers().take(data.size()));
    if (!data.empty())
        std::memcpy(body->data(), data.data(), data.size());
    if (!postToSession([done, body, pts, dts](detail::SenderSession& s) {
            s.sendAudio(pts, dts, std::move(*body), std::move(*done));
        }))
        done->complete(ErrorID::NotConnected);
    return result;
}

Future<ErrorID> AudioSender::sendFlush()
{
    Future<ErrorID> result;
    auto done = shareCompletion(&result);
    if (!postToSession([done](detail::SenderSession& s) { s.sendFlush(std::move(*done)); }))
        done->complete(ErrorID::NotConnected);
    return result;
}

void AudioSender::disconnect()
{
    postToSession([](detail::SenderSession& s) { s.disconnect(); });
}

void AudioSender::setAudioSequenceInfo(const std::string& audioType,
                                       const miscUtils::VariantHash& params)
{
    m_session->setSequenceInfo(audioType, params);
    postToSession([](detail::SenderSession& s) { s.announceSequenceInfo(); });
}

void AudioSender::setProtocolVersion(std::uint32_t version)
{
    m_session->setProtocolVersion(version);
}

void AudioSender::setHandshakeTimeout(std::chrono::milliseconds timeout)
{
    m_session->setHandshakeTimeout(timeout);
}

bool AudioSender::postToSession(std::function<void(detail::SenderSession&)> task)
{
    miscUtils::IOEventLoopThread* loop = m_session->loop();
    if (!loop)
        return false;
    // A stopping loop destroys the task unrun; its Completion then reports Cancelled.
    loop->post([session = m_session, task = std::move(task)] { task(*session); });
    return true;
}

} // namespace smt2
