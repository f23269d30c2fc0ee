// sxm-service in-process: the simulated SiriusXM backend on a loopback port. start() and stop()
// belong to the owning thread; every other member is safe from any thread while the server runs.
#pragma once

#include "sxmservice/Catalog.h"
#include "sxmservice/Faults.h"
#include "sxmservice/Options.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace sxm::service {

/// The plaintext audio that the most recent tune was given from its start position, as a client
/// that decrypts every segment and skips to the start position plays it.
struct TunedPlaintext
{
    std::string kind; ///< "live", "episode" or "xtra"
    std::string id;
    int bitrate = -1;               ///< the bitrate index of the audio requests; -1: none yet
    std::int64_t fromSegment = 0;   ///< the tune's startSegment
    std::int64_t toSegment = 0;     ///< the last segment served; fromSegment - 1 when none was
    std::int64_t startOffsetMs = 0; ///< the tune's startOffsetMs, cut from the first segment
    std::string plaintext;
};

class Server
{
public:
    /// Builds the catalog and loads the audio; throws std::invalid_argument for bad options.
    explicit Server(Options options = {});
    ~Server(); ///< stops the server
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    /// Binds and starts serving on a thread pool; port 0 picks a free port. Only loopback hosts
    /// ("127.0.0.1", "::1", "localhost") are accepted. Returns the bound port; throws
    /// std::runtime_error if the server already runs or the port cannot be bound.
    std::uint16_t start(const std::string& host = "127.0.0.1", std::uint16_t port = 0);
    /// Stops serving and waits for the serving thread; harmless when not running.
    void stop();
    bool running() const;

    /// "http://127.0.0.1:PORT" while running, empty otherwise.
    std::string url() const;
    /// The address the client library's configuration URL must hold: url() + "/config".
    std::string configUrl() const;

    const Options& options() const;
    const Catalog& catalog() const;
    FaultState& faults();

    // The admin actions, also reachable over HTTP under /admin (docs/service-api.md).
    /// Ends every running playback with code 37; returns how many ended.
    int endPlayback();
    /// Changes `user`'s favorites as another device would and tells the user's sessions.
    void changeFavoritesElsewhere(const std::string& user);
    /// Adds a recently played item for `user` as another device would and tells the sessions.
    void changeRecentsElsewhere(const std::string& user);
    /// Uses up the hourly skip budget of every session.
    void exhaustSkips();
    /// Expires every session at once.
    void expireSessions();
    /// Faults back to the start-up settings, accounts' data back to their defaults, skip
    /// budgets refilled. Sessions stay signed in.
    void reset();

    /// The requests answered on `endpoint` (an endpoint name such as "cuts") since the last
    /// take, oldest first, each as "METHOD target" and, when the request had one, a space and its
    /// body. Taking empties them. The service keeps the last 1000 per endpoint.
    std::vector<std::string> takeRequests(const std::string& endpoint);

    /// The plaintext of the most recent tune of any session: the segments from its startSegment
    /// through the last one served to that playback on the audio endpoint, at the bitrate index
    /// of its latest audio request, with the start of the first one cut as the client library
    /// does (whole ADTS frames while the time dropped is below startOffsetMs). Nothing before
    /// the first tune.
    std::optional<TunedPlaintext> tunedPlaintext() const;

private:
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};

} // namespace sxm::service
