#pragma once
// Thread contract: safe from any thread; transitions come from the library thread and, for a
// lost session, from whichever thread saw the service's 401.
//
// Where sign-in stands (enum sxm_status), and why the last session ended. Every transition of
// the status happens here.

#include "HookMutex.h"

#include <string>

namespace sxmlib {

/// The values of enum sxm_status.
enum class Status
{
    Uninitialized = 0, ///< before sxm_init
    Initialized = 1,   ///< sxm_init done, no callbacks yet
    SignedOut = 2,     ///< callbacks registered, no session
    SignInRefused = 3, ///< the last sign-in was refused by the service
    SignedIn = 4,      ///< a session, line-up not listed yet
    Ready = 5,         ///< a session and the line-up listed
};

class LibraryStatus
{
public:
    Status status() const;
    bool signedIn() const; ///< SignedIn or Ready

    void initialized();
    void callbacksRegistered();
    void signedInNow();
    void signInRefused();
    /// Sign-in could not reach the service, or found nothing to sign in with.
    void signInFailed();
    void lineupListed();
    /// The service no longer knows the session (401); `reason` is its message, kept for the
    /// error text of operations that need a session.
    void sessionLost(const std::string& reason);

    /// The text for an operation that needs a session while there is none.
    std::string notSignedInText() const;

private:
    void moveTo(Status next);

    mutable HookMutex m_mutex; // guards m_status and m_lostReason
    Status m_status = Status::Uninitialized;
    std::string m_lostReason;
};

} // namespace sxmlib
