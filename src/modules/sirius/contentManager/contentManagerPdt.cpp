// ContentManager's program-data cuts: which channels open lists show, asking the library for
// exactly their cuts, and holding each cut back until the audio the listener hears reaches it.

#include "contentManager/contentManager.h"

#include "siriusLib/siriusLib.h"
#include "siriusLogging.h"

#include <QDateTime>
#include <QSet>

namespace {

/// Program data runs this far ahead of the audio the listener hears.
constexpr qint64 kCutDelayMs = 160000;

} // namespace

void ContentManager::registerPdt(const CMPath& path, const QStringList& channelIds)
{
    m_pdtRegistry.insert(path, qMakePair(QString(), channelIds));
    updatePdts();
}

void ContentManager::registerPdt(const CMPath& path, const QString& channelId)
{
    m_pdtRegistry.insert(path, qMakePair(channelId, QStringList()));
    updatePdts();
}

void ContentManager::unregisterPdt(const CMPath& path)
{
    m_pdtRegistry.remove(path);
    updatePdts();
}

void ContentManager::updatePdts()
{
    QSet<QString> singles;
    QSet<QString> lists;
    for (const auto& entry : qAsConst(m_pdtRegistry)) {
        if (!entry.first.isEmpty())
            singles.insert(entry.first);
        for (const QString& id : entry.second)
            lists.insert(id);
    }
    if (singles.isEmpty() && lists.isEmpty()) {
        LOG4CPLUS_DEBUG(sirius::cbSiriusLogger(), "Stop pdt");
        m_siriusLib->stopPdtNotification();
        m_pdtTimer.stop();
        return;
    }
    LOG4CPLUS_DEBUG(sirius::cbSiriusLogger(), "Start pdt");
    m_siriusLib->startPdtNotification(singles, lists);
    if (!m_pdtTimer.isActive())
        m_pdtTimer.start();
}

void ContentManager::on_siriusLib_pdtCuts(const QList<MivoSiriusPdtCut>& pdtCuts)
{
    m_cutsByChannelId.clear();
    m_pendingCuts = pdtCuts;
    on_pdtTimer_timeout();
}

void ContentManager::on_pdtTimer_timeout()
{
    const qint64 dueBefore = QDateTime::currentMSecsSinceEpoch() - kCutDelayMs;
    bool changed = false;
    for (auto it = m_pendingCuts.begin(); it != m_pendingCuts.end();) {
        if (it->time() > dueBefore) {
            ++it;
            continue;
        }
        m_cutsByChannelId.insert(it->channelId(), *it);
        if (const auto channel = m_channelsById.value(it->channelId()))
            channel->cut = *it;
        it = m_pendingCuts.erase(it);
        changed = true;
    }
    if (changed)
        emit cutChanged();
}

QString ContentManager::cutText(const ChannelData& channel) const
{
    if (channel.contents.first().assetType() != MivoSiriusAssetType::LiveChannel)
        return QString();
    if (channel.cut.artist().isEmpty())
        return channel.cut.title();
    return QStringLiteral("%1 - %2").arg(channel.cut.artist(), channel.cut.title());
}

QString ContentManager::pdtCutByChannelId(const QString& channelId) const
{
    const auto channel = m_channelsById.value(channelId);
    return channel ? cutText(*channel) : QString();
}
