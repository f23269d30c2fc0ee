// SiriusWorker's side of what the user must be told: pop-ups, the service's bypass mode (its
// store of the user's settings away for an update), and the favorite and clear-recents actions
// that the context menus offer.

#include "worker/siriusWorker.h"

#include "contentManager/contentManager.h"
#include "nodes/accountNode.h"
#include "siriusLogging.h"
#include "siriusPlaylogic/siriusPlaylogic.h"

#include <mivosdk/CMRoot.h>
#include <mivosdk/MivoNotificationDisplayItem.h>
#include <mivosdk/MivoPaths.h>

namespace {

const log4cplus::Logger& logger()
{
    return sirius::cbSiriusLogger();
}

constexpr int kErrorPriority = 4;
constexpr int kErrorTimeoutMs = 6000;
constexpr int kInfoPriority = 2;
constexpr int kInfoTimeoutMs = 4000;

QString text(const char* source)
{
    return TrString("SiriusWorker", source).toString();
}

bool inBypass(const MivoSiriusBypassStatus& status)
{
    return status.isGupIdUnavailable() || status.isGupUnavailable();
}

} // namespace

void SiriusWorker::showMessage(const QStringList& messages, bool error)
{
    if (messages.isEmpty())
        return;
    MivoNotificationDisplayItem item;
    item.setTitle(messages.first())
        .setMessage(messages.mid(1).join(QLatin1Char('\n')))
        .setPriority(error ? kErrorPriority : kInfoPriority)
        .setTimeout(error ? kErrorTimeoutMs : kInfoTimeoutMs);
    CMRoot()->invoke(MivoNotificationDisplayOpenPath(),
                     MivoValue().setNotificationDisplayItem(item).__variant(), CMVoidReply());
}

void SiriusWorker::on_lib_error(const MivoSiriusErrorNotification& errorNotification)
{
    SIRIUS_TRACE_FUNCTION(logger());
    const MivoSiriusBypassStatus before = m_bypassStatus;
    const MivoSiriusBypassStatus after = errorNotification.bypassStatus();
    const bool gupIdChanged = before.isGupIdUnavailable() != after.isGupIdUnavailable();
    const bool gupChanged = before.isGupUnavailable() != after.isGupUnavailable();
    if (gupIdChanged || gupChanged) {
        LOG4CPLUS_INFO(logger(), "Bypass mode changed");
        bool signedOut = false;
        const QStringList messages = bypassMessages(before, after, signedOut);
        if (messages.size() < 2)
            LOG4CPLUS_INFO(logger(), "No bypass detected that can affect this device");
        else
            showMessage(messages, true);
    } else if (before.isSearchUnavailable() != after.isSearchUnavailable()) {
        // Search comes and goes without a message: the search itself reports its failure.
        LOG4CPLUS_DEBUG(logger(), "Search availability changed: " << !after.isSearchUnavailable());
    }
    m_bypassStatus = after;
    const QString errorText = errorNotification.libraryErrorString();
    const bool hasError = errorNotification.libraryErrorCode() != 0;
    if (errorNotification.playbackStop()) {
        const bool wasPlaying = m_playlogic->data().state() != MivoPlayLogicState::Stopped &&
                                !m_playlogic->isStopping();
        stopPlayback();
        // The stop makes the play logic refuse the report below, yet the listener must learn why
        // the music stopped ("This episode has ended ..."): a pop-up tells it instead.
        if (wasPlaying && hasError && !errorText.isEmpty()) {
            LOG4CPLUS_INFO(logger(),
                           "Playback stopped by the library: " << errorText.toStdString());
            showMessage({text("Playback stopped"), errorText}, true);
        }
        return;
    }
    if (hasError) {
        LOG4CPLUS_INFO(logger(), "Emit error message:" << errorText.toStdString());
        m_playlogic->reportError(errorText);
    }
}

QStringList SiriusWorker::bypassMessages(const MivoSiriusBypassStatus& before,
                                         const MivoSiriusBypassStatus& after, bool& signedOut)
{
    QStringList messages{text("Bypass status")};
    const bool gupIdGone = !before.isGupIdUnavailable() && after.isGupIdUnavailable();
    const bool gupIdBack = before.isGupIdUnavailable() && !after.isGupIdUnavailable();
    const bool gupGone = !before.isGupUnavailable() && after.isGupUnavailable();
    const bool gupBack = before.isGupUnavailable() && !after.isGupUnavailable();
    bool refetched = false;
    if (gupIdGone) {
        messages << text("Server update in process. Some of your settings and preferences are "
                         "currently unavailable. They will be restored as soon as possible.");
        LOG4CPLUS_WARN(logger(), "Server update process");
        if (after.loggedDuringBypass())
            LOG4CPLUS_WARN(logger(), "User logged durring GUP bypass, relogin will be forced");
    } else if (gupIdBack) {
        if (!before.loggedDuringBypass()) {
            messages << text("System update complete. Your settings and preferences are "
                             "available again.");
        } else {
            // A sign-in made during the update holds a session the service no longer honours.
            messages << text("System update complete.");
            LOG4CPLUS_WARN(logger(), "Logged durring bypass need for relogin");
            forceSignIn();
            signedOut = true;
        }
    }
    if (gupGone && !after.isGupIdUnavailable()) {
        // Two spaces after "unavailable.": the service's own wording, kept as it stands.
        messages << text("Server update in process. Some of your settings and preferences are "
                         "currently unavailable.  They will be restored as soon as possible.");
    } else if (gupBack) {
        messages << text(
            "System update complete. Your settings and preferences are available again.");
        m_contentManager->refetchFavorites();
        refetched = true;
    }
    if (!refetched && !signedOut && before.isGupIdUnavailable())
        m_contentManager->refetchFavorites();
    return messages;
}

void SiriusWorker::forceSignIn()
{
    const CMSetDataRequest signOut(CMPath(), MivoRoles::Value(),
                                   MivoValue().setSiriusAccount(MivoSiriusAccount()).__variant());
    m_accountNode->setDataRequest(signOut);
    nodes()->subscribe().rowsChanged(MivoSiriusBrowsePath(), CMSubscribe::RowsChangeClose(), -1);
}

void SiriusWorker::on_favorites_activated(const CMSetDataRequest& request)
{
    SIRIUS_TRACE_FUNCTION(logger());
    if (inBypass(m_bypassStatus)) {
        request.reply().setError(CMError(
            QStringLiteral("SiriusXM"),
            TrString("SiriusWorker", "Bypass mode. Favorites disabled."), CMError::DefaultTitle()));
        return;
    }
    const CMPath path = request.path();
    MivoSiriusFavorite favorite;
    favorite.setAssetGuid(path.param(MivoSiriusContent::AssetGuid()))
        .setAssetType(MivoSiriusAssetType::fromString(path.param(MivoSiriusContent::AssetType())))
        .setChannelId(path.param(MivoSiriusContent::ChannelId()))
        .setChangeType(path.hasParam(QStringLiteral("favorite"))
                           ? MivoSiriusFavoriteChangeType::Removed
                           : MivoSiriusFavoriteChangeType::Added);
    // The outcome shows in the favorites list once it reloads; the content manager logs it.
    m_contentManager->updateFavorites(favorite);
    request.reply().setResult();
}

void SiriusWorker::on_clearRecents_activated(const CMSetDataRequest& request)
{
    SIRIUS_TRACE_FUNCTION(logger());
    m_contentManager->clearRecent();
    request.reply().setResult();
}
