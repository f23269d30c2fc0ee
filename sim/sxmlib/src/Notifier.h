#pragma once
// Thread contract: safe from any thread. Callbacks are always invoked with no library lock held,
// so the integrator may call sxm_get_status or sxm_sendAudioData from inside them.
//
// The integrator's callback record, and the reports that several parts of the library make
// through it: errors (with the bypass status) and bypass changes.

#include "BypassFlags.h"
#include "HookMutex.h"

#include <sxmlib.h>

#include <string>

namespace sxmlib {

/// Who is calling back, which decides the context pointer: a callback made during an operation
/// call gets `context`, one from the library's own threads or from the clock gets `eventContext`.
enum class Caller
{
    Operation,
    Event,
};

/// Library error codes of the error callback (besides 0, a pure bypass report, and 37).
namespace errorCode {
constexpr int kConnection = 1;     ///< the service could not be reached, or broke off
constexpr int kSessionEnded = 2;   ///< the service no longer knows the session (401)
constexpr int kServiceRefused = 3; ///< the service answered an error status
constexpr int kStreamLost = 4;     ///< the stream's position left the rewind window
constexpr int kDecryption = 5;     ///< the stream could not be decrypted
} // namespace errorCode

struct ErrorReport
{
    int code = 0;
    long responseCode = 0;
    bool errorStop = false;
    std::string message;
};

class Notifier
{
public:
    void setCallbacks(const sxm_callbacks& callbacks);
    /// A copy of the record, to call through without holding a lock.
    sxm_callbacks callbacks() const;
    static void* contextOf(const sxm_callbacks& callbacks, Caller caller);

    /// An error notification carrying the current bypass status.
    void error(Caller caller, const ErrorReport& report);
    /// Notes the bypass status of an answer; a change is reported (code 0).
    void bypassSeen(Caller caller, const BypassFlags& flags);
    /// Reports the current bypass status (code 0) whether it changed or not.
    void reportBypass(Caller caller);
    BypassFlags bypass() const;

private:
    void send(Caller caller, const ErrorReport& report, const BypassFlags& flags);

    mutable HookMutex m_mutex; // guards m_callbacks and m_bypass
    sxm_callbacks m_callbacks{};
    BypassFlags m_bypass;
};

} // namespace sxmlib
