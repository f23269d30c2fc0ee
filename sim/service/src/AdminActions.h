// The admin actions, shared by the /admin routes and the C++ Server API. Safe from any thread.
#pragma once

#include "ServiceContext.h"

#include <string>

namespace sxm::service::admin {

/// Ends every session's running playback with code 37 and queues the event; returns how many.
int endPlayback(ServiceContext& ctx);
void changeFavoritesElsewhere(ServiceContext& ctx, const std::string& user);
void changeRecentsElsewhere(ServiceContext& ctx, const std::string& user);
void exhaustSkips(ServiceContext& ctx);
void resetService(ServiceContext& ctx);

} // namespace sxm::service::admin
