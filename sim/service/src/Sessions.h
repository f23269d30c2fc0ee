// Signed-in sessions, found by the token in their cookie. SessionStore and Session are safe from
// any thread: each guards its own state with its own mutex.
#pragma once

#include "SkipBudget.h"
#include "Streams.h"

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace sxm::service {

struct DeviceIdentity
{
    std::string make;
    std::string model;
    std::string mac;
};

/// Something the client learns by polling the events endpoint.
struct SessionEvent
{
    enum class Type
    {
        Refresh,       ///< a list changed elsewhere: module 1 favorites, 2 recents
        PlaybackEnded, ///< the service ended the playback (code 37)
    };
    Type type = Type::Refresh;
    int module = 0;
    int code = 0;
    std::string message;
};

struct Playback
{
    StreamKind kind = StreamKind::Live;
    std::string id;
    bool ended = false; ///< ended by the service; audio is refused until the next tune
};

class Session
{
public:
    Session(std::string token, std::string user, DeviceIdentity device, int skipsPerHour,
            bool signedInDuringBypass);

    const std::string& token() const { return m_token; }
    const std::string& user() const { return m_user; }
    const DeviceIdentity& device() const { return m_device; }
    bool signedInDuringBypass() const { return m_signedInDuringBypass; }

    void setPlayback(std::optional<Playback> playback);
    std::optional<Playback> playback() const;
    /// Marks a running playback ended and queues the event; false if nothing was playing.
    bool endPlayback(int code, const std::string& message);

    void queueEvent(SessionEvent event);
    std::vector<SessionEvent> takeEvents();

    /// Runs `use` on the skip budget under the session's lock.
    template <typename Use>
    auto withSkips(Use use)
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        return use(m_skips);
    }

private:
    const std::string m_token;
    const std::string m_user;
    const DeviceIdentity m_device;
    const bool m_signedInDuringBypass;

    mutable std::mutex m_mutex; // guards m_playback, m_events, m_skips
    std::optional<Playback> m_playback;
    std::vector<SessionEvent> m_events;
    SkipBudget m_skips;
};

class SessionStore
{
public:
    SessionStore(std::chrono::milliseconds lifetime, int skipsPerHour);

    std::shared_ptr<Session> create(const std::string& user, DeviceIdentity device,
                                    std::int64_t nowMs, bool duringBypass);

    enum class Lookup
    {
        Valid,
        Expired, ///< known, but idle for longer than the lifetime (or expired by the admin)
        Unknown,
    };
    struct Found
    {
        Lookup lookup = Lookup::Unknown;
        std::shared_ptr<Session> session;
    };
    /// Finds a session; a valid one counts as used now (the lifetime runs from the last request).
    Found find(const std::string& token, std::int64_t nowMs);

    void remove(const std::string& token);
    void expireAll();
    /// Valid sessions, optionally of one user.
    std::vector<std::shared_ptr<Session>> sessions(const std::string& user = {}) const;

private:
    struct Entry
    {
        std::shared_ptr<Session> session;
        std::int64_t lastUsedMs = 0;
        bool expired = false;
    };

    const std::int64_t m_lifetimeMs;
    const int m_skipsPerHour;
    mutable std::mutex m_mutex; // guards m_entries
    std::map<std::string, Entry> m_entries;
};

} // namespace sxm::service
