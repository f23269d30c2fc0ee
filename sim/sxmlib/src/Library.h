#pragma once
// Thread contract: operations from the integrator's library thread; status(), tick() and
// sendAudioData() are safe from any thread.
//
// The library as a whole: its status, the integrator's callbacks, the service session and the
// parts that implement the operations. One instance, made by sxm_init and kept for the life of
// the process (the library has no shut-down call).

#include "CatalogLists.h"
#include "EventPoll.h"
#include "LibraryStatus.h"
#include "Notifier.h"
#include "PersonalLists.h"
#include "Playback.h"
#include "ProgramData.h"
#include "ServiceSession.h"

#include <sxmlib.h>

#include <string>

namespace sxmlib {

class Library
{
public:
    Library();

    LibraryStatus& status() { return m_status; }
    int registerCallbacks(const sxm_callbacks& callbacks, std::string& error);
    void tick(std::uint32_t elapsedMs);

    int verifyAccount(const std::string& user, const std::string& password, std::string& error);
    int configure(std::string& error);
    int bypassStatus(std::string& error);

    CatalogLists& catalog() { return m_catalog; }
    PersonalLists& personal() { return m_personal; }
    ProgramData& programData() { return m_programData; }
    Playback& playback() { return m_playback; }

private:
    int signIn(const std::string& user, const std::string& password, bool storeAccount,
               std::string& error);
    bool callbacksRegistered(std::string& error) const;

    LibraryStatus m_status;
    Notifier m_notifier;
    ServiceSession m_session;
    CatalogLists m_catalog;
    PersonalLists m_personal;
    ProgramData m_programData;
    Playback m_playback;
    EventPoll m_events;
};

} // namespace sxmlib
