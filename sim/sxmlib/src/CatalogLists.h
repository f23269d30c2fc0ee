#pragma once
// Thread contract: library thread only (operations); the callbacks run on the calling thread
// during the call.
//
// The catalog operations: line-up, shows, episodes, For You, search and the geo check. Each
// fetches one answer and hands its records to the integrator's callback before returning; a
// failure leaves its text in `error`.

#include "ServiceSession.h"

#include <string>

namespace sxmlib {

class CatalogLists
{
public:
    CatalogLists(ServiceSession& session, Notifier& notifier, LibraryStatus& status);

    int channelList(std::string& error);
    int shows(const std::string& genreKey, const std::string& channelId, std::string& error);
    int episodes(const std::string& showGuid, std::string& error);
    int forYou(std::string& error);
    int search(const std::string& text, std::string& error);
    int geoRestricted(const std::string& channelId, std::string& error);

private:
    ServiceSession& m_session;
    Notifier& m_notifier;
    LibraryStatus& m_status;
};

/// The (negative) listing status of a failed answer: -1 when the service was not reached or
/// sent nonsense, minus the HTTP status when it refused (-401 without a session).
int failureStatus(const ServiceReply& reply);

} // namespace sxmlib
