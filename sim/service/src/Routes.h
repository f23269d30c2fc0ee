// Registration of the service's HTTP routes, one function per group of endpoints; the handlers
// run on httplib's thread pool and share only the ServiceContext.
#pragma once

#include "Http.h"

#include <vector>

namespace sxm::service {

void registerSessionRoutes(httplib::Server& server, ServiceContext& ctx);
void registerContentRoutes(httplib::Server& server, ServiceContext& ctx);
void registerPersonalRoutes(httplib::Server& server, ServiceContext& ctx);
void registerProgramDataRoutes(httplib::Server& server, ServiceContext& ctx);
void registerPlaybackRoutes(httplib::Server& server, ServiceContext& ctx);
void registerAdminRoutes(httplib::Server& server, ServiceContext& ctx);

/// {"items": [...]} of records, with isFavorite for the calling account.
Json itemsJson(const Call& call, const std::vector<const Content*>& records);

/// Queues a refresh event (module 1 favorites, 2 recents) for the caller's other sessions: the
/// account's other devices learn that a list changed elsewhere.
void notifyOtherSessions(const Call& call, int module);

/// Answers 503 and true while the service's store of the user's settings (GUP) is in bypass: the
/// personal lists (For You, favorites, recents) are unavailable then.
bool refuseDuringGupBypass(Call& call);

/// The record a recent or a favorite stands for: a channel's first record, a show, an episode.
const Content* recordOf(const Catalog& catalog, AssetType type, const std::string& key);

} // namespace sxm::service
