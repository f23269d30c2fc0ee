#pragma once
// Thread contract: a handle is used by one thread at a time (callers serialise on their own
// lock); perform() keeps no state between calls.
//
// One HTTP exchange through the integrator's sirius_HT_* hooks. The library never talks to the
// network itself: it fills the integrator's context record, lets the integrator's transport run
// the request, and reads status, body, headers and cookies back.

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace sxmlib {

/// The transport's handle (a curl easy handle on the device), made by sirius_HT_init and
/// released by sirius_HT_cleanup. Its cookie engine keeps the service's session cookie, so one
/// handle is one session.
class HttpHandle
{
public:
    /// Throws std::runtime_error when the integrator cannot make a handle.
    HttpHandle();
    void* get() const { return m_handle.get(); }

private:
    struct Cleanup
    {
        void operator()(void* handle) const;
    };
    std::unique_ptr<void, Cleanup> m_handle;
};

struct HttpRequest
{
    std::string url;
    bool post = false;
    std::string body; ///< POST only
    int timeoutSeconds = 15;
    int connectTimeoutSeconds = 5;
    /// Body bytes of a successful (2xx) answer as they arrive, instead of collecting them in
    /// HttpResponse::body; an error answer's body is still collected. Returning false aborts
    /// the transfer (the response then reads as failed and aborted).
    /// `soFar` holds the status and headers already received.
    std::function<bool(std::string_view chunk, const struct HttpResponse& soFar)> onBody;
    /// Asked before each body chunk is accepted: true aborts the transfer (a stop request).
    std::function<bool()> abortRequested;
};

struct HttpResponse
{
    bool failed = false;  ///< no complete response: the transport or the body sink failed
    bool aborted = false; ///< the body sink or abortRequested ended the transfer
    std::string failure;  ///< the transport's message when failed
    long status = 0;      ///< HTTP status, 0 when none came
    std::string body;     ///< unless HttpRequest::onBody took it
    /// Response headers of the final response, names in lower case.
    std::map<std::string, std::string> headers;
    /// Cookies the handle holds after the exchange: name to value.
    std::map<std::string, std::string> cookies;

    std::string header(const std::string& lowerCaseName) const;
};

/// Runs one exchange on `handle`. The context record is cleared (sirius_HT_clearCtxData) right
/// before the request, because the transport lists cookies only into an empty list, and again
/// afterwards, which frees the cookie list it made.
HttpResponse perform(const HttpHandle& handle, const HttpRequest& request);

/// Percent-encodes `text` for a query parameter (RFC 3986 unreserved characters stay).
std::string urlEncode(std::string_view text);

} // namespace sxmlib
