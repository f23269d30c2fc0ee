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
    : token_(std::move(token))
    , user_(std::move(user))
    , device_(std::move(device))
    , signedInDuringBypass_(signedInDuringBypass)
    , skips_(skipsPerHour)
{}

void Session::setPlayback(std::optional<Playback> playback)
{
    std::lock_guard<std::mutex> lock(mutex_);
    playback_ = std::move(playback);
}

std::optional<Playback> Session::playback() const
{
    std::lock_guard<std::mutex> lock(mutex_);
    return playback_;
}

bool Session::endPlayback(int code, const std::string& message)
{
    std::lock_guard<std::mutex> lock(mutex_);
    if (!playback_ || playback_->ended) {
        return false;
    }
    playback_->ended = true;
    SessionEvent event;
    event.type = SessionEvent::Type::PlaybackEnded;
    event.code = code;
    event.message = message;
    events_.push_back(event);
    return true;
}

void Session::queueEvent(SessionEvent event)
{
    std::lock_guard<std::mutex> lock(mutex_);
    // A client that never polls must not make the service grow without bound; the oldest
    // events matter least (a later refresh covers an earlier one).
    if (events_.size() >= kMaxPendingEvents) {
        events_.erase(events_.begin());
    }
    events_.push_back(std::move(event));
}

std::vector<SessionEvent> Session::takeEvents()
{
    std::lock_guard<std::mutex> lock(mutex_);
    std::vector<SessionEvent> taken;
    taken.swap(events_);
    return taken;
}

SessionStore::SessionStore(std::chrono::milliseconds lifetime, int skipsPerHour)
    : lifetimeMs_(lifetime.count())
    , skipsPerHour_(skipsPerHour)
{}

std::shared_ptr<Session> SessionStore::create(const std::string& user, DeviceIdentity device,
                                              std::int64_t nowMs, bool duringBypass)
{
    auto session = std::make_shared<Session>(randomHex(16), user, std::move(device), skipsPerHour_,
                                             duringBypass);
    std::lock_guard<std::mutex> lock(mutex_);
    for (auto it = entries_.begin(); it != entries_.end();) {
        it = (nowMs - it->second.lastUsedMs > kForgetAfterMs) ? entries_.erase(it) : std::next(it);
    }
    entries_[session->token()] = Entry{session, nowMs, false};
    return session;
}

SessionStore::Found SessionStore::find(const std::string& token, std::int64_t nowMs)
{
    std::lock_guard<std::mutex> lock(mutex_);
    const auto found = entries_.find(token);
    if (found == entries_.end()) {
        return {};
    }
    Entry& entry = found->second;
    if (!entry.expired && nowMs - entry.lastUsedMs >= lifetimeMs_) {
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
    std::lock_guard<std::mutex> lock(mutex_);
    entries_.erase(token);
}

void SessionStore::expireAll()
{
    std::lock_guard<std::mutex> lock(mutex_);
    for (auto& [token, entry] : entries_) {
        entry.expired = true;
    }
}

std::vector<std::shared_ptr<Session>> SessionStore::sessions(const std::string& user) const
{
    std::lock_guard<std::mutex> lock(mutex_);
    std::vector<std::shared_ptr<Session>> out;
    for (const auto& [token, entry] : entries_) {
        if (!entry.expired && (user.empty() || entry.session->user() == user)) {
            out.push_back(entry.session);
        }
    }
    return out;
}

} // namespace sxm::service
