#include "Sessions.h"

#include "Crypto.h"

namespace sxm::service {
namespace {

constexpr std::size_t kMaxPendingEvents = 100;

// An expired session is remembered this long so that its cookie gets "expired", not "unknown".
constexpr std::int64_t kForgetAfterMs = 24LL * 3600 * 1000;

} // namespace

Session::Session(std::string token, std::string user, DeviceIdentity device, int skipsPerHour,
                 bool signedInDuringBypass)
    : m_token(std::move(token))
    , m_user(std::move(user))
    , m_device(std::move(device))
    , m_signedInDuringBypass(signedInDuringBypass)
    , m_skips(skipsPerHour)
{}

void Session::setPlayback(std::optional<Playback> playback)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_playback = std::move(playback);
}

std::optional<Playback> Session::playback() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_playback;
}

bool Session::endPlayback(int code, const std::string& message)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    if (!m_playback || m_playback->ended) {
        return false;
    }
    m_playback->ended = true;
    SessionEvent event;
    event.type = SessionEvent::Type::PlaybackEnded;
    event.code = code;
    event.message = message;
    m_events.push_back(event);
    return true;
}

void Session::queueEvent(SessionEvent event)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    // A client that never polls must not make the service grow without bound; the oldest
    // events matter least (a later refresh covers an earlier one).
    if (m_events.size() >= kMaxPendingEvents) {
        m_events.erase(m_events.begin());
    }
    m_events.push_back(std::move(event));
}

std::vector<SessionEvent> Session::takeEvents()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    std::vector<SessionEvent> taken;
    taken.swap(m_events);
    return taken;
}

SessionStore::SessionStore(std::chrono::milliseconds lifetime, int skipsPerHour)
    : m_lifetimeMs(lifetime.count())
    , m_skipsPerHour(skipsPerHour)
{}

std::shared_ptr<Session> SessionStore::create(const std::string& user, DeviceIdentity device,
                                              std::int64_t nowMs, bool duringBypass)
{
    auto session = std::make_shared<Session>(randomHex(16), user, std::move(device), m_skipsPerHour,
                                             duringBypass);
    std::lock_guard<std::mutex> lock(m_mutex);
    for (auto it = m_entries.begin(); it != m_entries.end();) {
        it = (nowMs - it->second.lastUsedMs > kForgetAfterMs) ? m_entries.erase(it) : std::next(it);
    }
    m_entries[session->token()] = Entry{session, nowMs, false};
    return session;
}

SessionStore::Found SessionStore::find(const std::string& token, std::int64_t nowMs)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    const auto found = m_entries.find(token);
    if (found == m_entries.end()) {
        return {};
    }
    Entry& entry = found->second;
    if (!entry.expired && nowMs - entry.lastUsedMs >= m_lifetimeMs) {
        entry.expired = true;
    }
    if (entry.expired) {
        return {Lookup::Expired, nullptr};
    }
    entry.lastUsedMs = nowMs;
    return {Lookup::Valid, entry.session};
}

void SessionStore::remove(const std::string& token)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_entries.erase(token);
}

void SessionStore::expireAll()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    for (auto& [token, entry] : m_entries) {
        entry.expired = true;
    }
}

std::vector<std::shared_ptr<Session>> SessionStore::sessions(const std::string& user) const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    std::vector<std::shared_ptr<Session>> out;
    for (const auto& [token, entry] : m_entries) {
        if (!entry.expired && (user.empty() || entry.session->user() == user)) {
            out.push_back(entry.session);
        }
    }
    return out;
}

} // namespace sxm::service
