#pragma once
// Thread contract: library thread only (operations); the callbacks run on the calling thread
// during the call.
//
// What the service keeps per account: favorites, recently played and the global settings.

#include "ServiceSession.h"

#include <string>

namespace sxmlib {

class PersonalLists
{
public:
    PersonalLists(ServiceSession& session, Notifier& notifier);

    int favorites(std::string& error);
    int recents(std::string& error);
    int clearRecents(std::string& error);
    int updateFavorites(const sxm_favoriteList* list, std::string& error);
    /// Fetches the account's settings and reports them through the global-settings callback.
    int reportGlobalSettings(std::string& error);
    int updateGlobalSettings(const sxm_globalSetting* settings, int count, std::string& error);

private:
    /// Delivers the items of a favorites or recents answer, one per call, or one call without an
    /// item (index -1) for an empty list.
    void deliverItems(const Json& reply, int (*callback)(void*, sxm_content*, int), void* context);
    void deliverSettings(const Json& reply);

    ServiceSession& m_session;
    Notifier& m_notifier;
};

} // namespace sxmlib
