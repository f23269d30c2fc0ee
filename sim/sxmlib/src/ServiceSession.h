#pragma once
// Thread contract: safe from any thread. Exchanges are serialised on the session's one
// transport handle, whose cookie engine holds the session cookie: the library thread (operations
// and clock) and the stream thread take turns.
//
// The library's connection to the service: its configuration, sign-in, and JSON requests that
// carry the session cookie. A 401 that says the session is gone moves the status below signed
// in; every JSON answer's bypass status goes to the notifier.

#include "DeviceHooks.h"
#include "HookMutex.h"
#include "HttpExchange.h"
#include "JsonFields.h"
#include "LibraryStatus.h"
#include "Notifier.h"

#include <cstdint>
#include <string>
#include <vector>

namespace sxmlib {

/// What GET /config says.
struct ServiceConfig
{
    std::string apiBase;
    std::string sessionCookie = "SXMSESSION";
    std::int64_t segmentDurationMs = 10000;
    std::int64_t rewindWindowSeconds = 18000;
    int skipsPerHour = 6;
    std::vector<int> bitrates = {32000, 64000, 96000, 256000};
    std::int64_t eventsPollIntervalMs = 5000;
};

struct ServiceReply
{
    enum class Outcome
    {
        Ok,          ///< 2xx with a JSON object
        Unreachable, ///< no (complete) answer
        Refused,     ///< an error status; `message` is the service's text
        Malformed,   ///< 2xx but not a JSON object
        NoSession,   ///< not sent: nobody is signed in
    };
    Outcome outcome = Outcome::Unreachable;
    long status = 0;
    int serviceCode = 0; ///< error.code of a refusal
    std::string message; ///< for everything but Ok: a text for the user
    Json json;           ///< the answer when Ok, the error object's answer when Refused

    bool ok() const { return outcome == Outcome::Ok; }
    /// The service does not know the session (401 not signed in or expired).
    bool sessionGone() const;
};

class ServiceSession
{
public:
    ServiceSession(LibraryStatus& status, Notifier& notifier);

    /// GET /config, then POST login with the device's identity. On success the handle holds the
    /// new session cookie and `account` receives what the service said about the account.
    ServiceReply signIn(Caller caller, const std::string& user, const std::string& password,
                        AccountDetails& account);

    /// An API request (`path` below apiBase, query included). Refused with NoSession without a
    /// request when nobody is signed in.
    ServiceReply get(Caller caller, const std::string& path);
    ServiceReply post(Caller caller, const std::string& path, const Json& body);

    /// A binary download (audio) at a path on the service's host ("/api/v1/..."), with the
    /// session. Error answers are read like a JSON reply into `error` (Ok when the download
    /// succeeded).
    HttpResponse download(Caller caller, const std::string& serverPath, HttpRequest request,
                          ServiceReply& error);

    ServiceConfig config() const;

private:
    ServiceReply exchange(Caller caller, HttpRequest request, bool needsSession);
    ServiceReply interpret(Caller caller, const HttpResponse& response, bool needsSession);
    HttpResponse performLocked(const HttpRequest& request);
    std::string apiUrl(const std::string& path) const;
    /// "http://host:port" of the API base.
    std::string origin() const;

    LibraryStatus& m_status;
    Notifier& m_notifier;
    HttpHandle m_handle;
    HookMutex
        m_exchangeMutex; // serialises exchanges on m_handle (one request per handle at a time)
    mutable HookMutex m_configMutex; // guards m_config
    ServiceConfig m_config;
};

} // namespace sxmlib
