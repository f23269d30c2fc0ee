#include "LibraryStatus.h"

#include "Log.h"

#include <sxmlib.h>

#include <mutex>

namespace sxmlib {

Status LibraryStatus::status() const
{
    std::lock_guard<HookMutex> lock(m_mutex);
    return m_status;
}

bool LibraryStatus::signedIn() const
{
    const Status now = status();
    return now == Status::SignedIn || now == Status::Ready;
}

void LibraryStatus::initialized()
{
    std::lock_guard<HookMutex> lock(m_mutex);
    if (m_status == Status::Uninitialized)
        moveTo(Status::Initialized);
}

void LibraryStatus::callbacksRegistered()
{
    std::lock_guard<HookMutex> lock(m_mutex);
    // Registering again (new callbacks) keeps a session that exists.
    if (m_status == Status::Initialized)
        moveTo(Status::SignedOut);
}

void LibraryStatus::signedInNow()
{
    std::lock_guard<HookMutex> lock(m_mutex);
    m_lostReason.clear();
    moveTo(Status::SignedIn);
}

void LibraryStatus::signInRefused()
{
    std::lock_guard<HookMutex> lock(m_mutex);
    moveTo(Status::SignInRefused);
}

void LibraryStatus::signInFailed()
{
    std::lock_guard<HookMutex> lock(m_mutex);
    moveTo(Status::SignedOut);
}

void LibraryStatus::lineupListed()
{
    std::lock_guard<HookMutex> lock(m_mutex);
    if (m_status == Status::SignedIn)
        moveTo(Status::Ready);
}

void LibraryStatus::sessionLost(const std::string& reason)
{
    std::lock_guard<HookMutex> lock(m_mutex);
    if (m_status != Status::SignedIn && m_status != Status::Ready)
        return;
    m_lostReason = reason;
    moveTo(Status::SignedOut);
}

std::string LibraryStatus::notSignedInText() const
{
    std::lock_guard<HookMutex> lock(m_mutex);
    if (!m_lostReason.empty())
        return m_lostReason;
    return "Not signed in. Please sign in to SiriusXM.";
}

void LibraryStatus::moveTo(Status next)
{
    if (next == m_status)
        return;
    SXMLIB_INFO("status " << static_cast<int>(m_status) << " -> " << static_cast<int>(next));
    m_status = next;
}

} // namespace sxmlib
