#include "AdminActions.h"

#include "ErrorCodes.h"

namespace sxm::service::admin {
namespace {

constexpr int kModuleFavorites = 1;
constexpr int kModuleRecents = 2;

void notifyAll(ServiceContext& ctx, const std::string& user, int module)
{
    for (const auto& session : ctx.m_sessions.sessions(user)) {
        session->queueEvent({SessionEvent::Type::Refresh, module, 0, {}});
    }
}

} // namespace

int endPlayback(ServiceContext& ctx)
{
    int ended = 0;
    for (const auto& session : ctx.m_sessions.sessions()) {
        if (session->endPlayback(errors::kPlaybackEnded,
                                 "This stream has ended. Please select a channel to continue "
                                 "listening.")) {
            ++ended;
        }
    }
    return ended;
}

void changeFavoritesElsewhere(ServiceContext& ctx, const std::string& user)
{
    ctx.m_accounts.toggleFavoriteElsewhere(user);
    notifyAll(ctx, user, kModuleFavorites);
}

void changeRecentsElsewhere(ServiceContext& ctx, const std::string& user)
{
    ctx.m_accounts.addRecentElsewhere(user);
    notifyAll(ctx, user, kModuleRecents);
}

void exhaustSkips(ServiceContext& ctx)
{
    const std::int64_t now = ctx.nowMs();
    for (const auto& session : ctx.m_sessions.sessions()) {
        session->withSkips([now](SkipBudget& skips) { skips.exhaust(now); });
    }
}

void resetService(ServiceContext& ctx)
{
    ctx.m_faults.reset();
    ctx.m_accounts.reset();
    for (const auto& session : ctx.m_sessions.sessions()) {
        session->withSkips([](SkipBudget& skips) { skips.refill(); });
        session->takeEvents();
    }
}

} // namespace sxm::service::admin
