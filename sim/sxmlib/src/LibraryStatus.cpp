#include "LibraryStatus.h"

#include "Log.h"

#include <sxmlib.h>

#include <mutex>

namespace sxmlib {

Status LibraryStatus::status() const
{
    std::lock_guard<HookMutex> lock(mutex_);
    return status_;
}

bool LibraryStatus::signedIn() const
{
    const Status now = status();
    return now == Status::SignedIn || now == Status::Ready;
}

void LibraryStatus::initialized()
{
    std::lock_guard<HookMutex> lock(mutex_);
    if (status_ == Status::Uninitialized)
        moveTo(Status::Initialized);
}

void LibraryStatus::callbacksRegistered()
{
    std::lock_guard<HookMutex> lock(mutex_);
    // Registering again (new callbacks) keeps a session that exists.
    if (status_ == Status::Initialized)
        moveTo(Status::SignedOut);
}

void LibraryStatus::signedInNow()
{
    std::lock_guard<HookMutex> lock(mutex_);
    lostReason_.clear();
    moveTo(Status::SignedIn);
}

void LibraryStatus::signInRefused()
{
    std::lock_guard<HookMutex> lock(mutex_);
    moveTo(Status::SignInRefused);
}

void LibraryStatus::signInFailed()
{
    std::lock_guard<HookMutex> lock(mutex_);
    moveTo(Status::SignedOut);
}

void LibraryStatus::lineupListed()
{
    std::lock_guard<HookMutex> lock(mutex_);
    if (status_ == Status::SignedIn)
        moveTo(Status::Ready);
}

void LibraryStatus::sessionLost(const std::string& reason)
{
    std::lock_guard<HookMutex> lock(mutex_);
    if (status_ != Status::SignedIn && status_ != Status::Ready)
        return;
    lostReason_ = reason;
    moveTo(Status::SignedOut);
}

std::string LibraryStatus::notSignedInText() const
{
    std::lock_guard<HookMutex> lock(mutex_);
    if (!lostReason_.empty())
        return lostReason_;
    return "Not signed in. Please sign in to SiriusXM.";
}

void LibraryStatus::moveTo(Status next)
{
    if (next == status_)
        return;
    SXMLIB_INFO("status " << static_cast<int>(status_) << " -> " << static_cast<int>(next));
    status_ = next;
}

} // namespace sxmlib
