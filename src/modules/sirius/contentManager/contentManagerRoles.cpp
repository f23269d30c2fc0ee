// How ContentManager turns one content record into one browse row.

#include "contentManager/contentManager.h"

#include "siriusLogging.h"
#include "util/robustSort.h"

#include <mivosdk/MivoPaths.h>

#include <QDateTime>
#include <QLocale>

namespace {

const QString kBullet = QStringLiteral("\u2022");
/// Two days and one minute: an episode aired more recently than this is marked preferred.
constexpr qint64 kPreferredAgeSeconds = 172860;
/// The audio type of a row that plays an endless stream.
constexpr int kStreamAudioType = MivoRolesAudioType::Stream;

/// The URL of the smallest logo that has one, or an empty text.
QString iconOf(const MivoSiriusContent& content)
{
    const QList<MivoSiriusLogo> logos = ContentManager::contentToLogos(content);
    return logos.isEmpty() ? QString() : logos.first().url();
}

void setIcon(MivoRoles& roles, const MivoSiriusContent& content)
{
    const QString icon = iconOf(content);
    if (!icon.isEmpty())
        roles.setIcon(icon);
}

MivoValue valueOf(const MivoSiriusContent& content)
{
    return MivoValue().setVariant(content.__variant());
}

} // namespace

MivoRoles ContentManager::contentToRoles(const MivoSiriusContent& content,
                                         bool withChannelNumber) const
{
    switch (content.assetType()) {
    case MivoSiriusAssetType::Show:
        return showToRoles(content);
    case MivoSiriusAssetType::Category:
        return categoryToRoles(content);
    default:
        return channelOrEpisodeToRoles(content, withChannelNumber);
    }
}

QList<MivoSiriusLogo> ContentManager::contentToLogos(const MivoSiriusContent& content)
{
    QList<MivoSiriusLogo> logos = content.logos();
    sirius::robustStableSort(logos, [](const MivoSiriusLogo& a, const MivoSiriusLogo& b) {
        return qint64(a.height()) * a.width() < qint64(b.height()) * b.width();
    });
    logos.erase(std::remove_if(logos.begin(), logos.end(),
                               [](const MivoSiriusLogo& logo) { return logo.url().isEmpty(); }),
                logos.end());
    return logos;
}

MivoRoles ContentManager::channelOrEpisodeToRoles(const MivoSiriusContent& content,
                                                  bool withChannelNumber) const
{
    MivoMetaData meta;
    meta.setServiceId(MivoService_Sirius_Id())
        .setGenre(content.genre())
        .setLive(true)
        .setPlayLogicPath(MivoSiriusPlayLogicPath());
    MivoResource resource;
    resource.setMimeType(MimeTypes::Audio::aac()).setDuration(content.duration());
    MivoMediaData media;
    media.setMetaData(meta).setResources({resource});

    CMPath path = MivoSiriusPrefixPath();
    if (!m_fullFeatured)
        path.addParam(MivoSiriusGoLive(), QString());
    if (content.assetType() == MivoSiriusAssetType::Episode) {
        path.addParam(MivoSiriusEpisode(), QString());
        path.addParam(MivoSiriusContent::PercentConsumed(),
                      QString::number(content.percentConsumed()));
        path.addParam(MivoSiriusContent::ExpireDate(), content.expireDate());
    } else if (content.assetType() == MivoSiriusAssetType::XtraChannel) {
        path.addParam(MivoSiriusXtra(), QString());
    }
    if (!content.assetGuid().isEmpty())
        path.addParam(MivoSiriusContent::AssetGuid(), content.assetGuid());
    else
        LOG4CPLUS_DEBUG(sirius::cbSiriusLogger(), "No asset guid");
    path.addParam(MivoSiriusContent::AssetType(),
                  MivoSiriusAssetType::toString(content.assetType()));

    bool preferred = false;
    bool risky = false;
    QString description;
    if (content.assetType() == MivoSiriusAssetType::Episode) {
        description = episodeDescription(content, preferred, risky);
    } else if (content.assetType() == MivoSiriusAssetType::XtraChannel) {
        description = TrString("ContentManager", "Xtra Channel %1 %2")
                          .arg(kBullet)
                          .arg(content.description())
                          .toString();
    } else if (withChannelNumber) {
        description = TrString("ContentManager", "Ch %1 %2 ")
                          .arg(content.siriusChannelNumber())
                          .arg(kBullet)
                          .toString() +
                      content.description();
    } else {
        description = content.description();
    }

    MivoRoles roles;
    roles.setId(content.channelId())
        .setPath(path)
        .setTitle(content.title())
        .setType(MivoRolesType::Audio)
        .setDescription(description)
        .setAudioType(kStreamAudioType)
        .setValue(valueOf(content))
        .setMediaData(media)
        .setDoNotTrack(true)
        .setPreferred(preferred)
        .setRisky(risky)
        .setSortKey(content.originalAiredDate());
    setIcon(roles, content);
    return roles;
}

QString ContentManager::episodeDescription(const MivoSiriusContent& content, bool& preferred,
                                           bool& risky)
{
    const QDateTime aired = QDateTime::fromString(content.originalAiredDate(), Qt::ISODate);
    const QDateTime expires = QDateTime::fromString(content.expireDate(), Qt::ISODate);
    const QDateTime now = QDateTime::currentDateTimeUtc();
    const qint64 minutes = expires.isValid() ? now.secsTo(expires) / 60 : 0;

    QString expiry;
    if (minutes >= 1440 && minutes <= 2880) {
        expiry = tr("Expires: Tomorrow");
        risky = true;
    } else if (minutes >= 1 && minutes <= 1439) {
        expiry = tr("Expires: Today");
        risky = true;
    }

    QString text;
    if (aired.isValid()) {
        text = QLocale().toString(aired, QStringLiteral("MMM dd, yyyy"));
        preferred = aired.secsTo(now) < kPreferredAgeSeconds;
    } else {
        text = tr("Special");
    }
    if (!expiry.isEmpty())
        text += QStringLiteral(" %1 %2").arg(kBullet, expiry);
    return text;
}

MivoRoles ContentManager::showToRoles(const MivoSiriusContent& content) const
{
    const QString newPart = content.newEpisodeCount() == 0 ? QString()
                                                           : TrString("ContentManager", "%1 NEW %2")
                                                                 .arg(content.newEpisodeCount())
                                                                 .arg(kBullet + QLatin1Char(' '))
                                                                 .toString();
    const MivoSiriusContent channel = channelByChannelId(content.channelId());
    const QString description = content.episodeCount() == 0
                                    ? content.description()
                                    : TrString("ContentManager", "%1%2 %3 %4 episodes")
                                          .arg(newPart)
                                          .arg(channel.title())
                                          .arg(kBullet)
                                          .arg(content.episodeCount())
                                          .toString();
    MivoRoles roles;
    roles.setId(content.assetGuid())
        .setTitle(content.title())
        .setType(MivoRolesType::Container)
        .setDescription(description)
        .setPreferred(!newPart.isEmpty())
        .setSortKey(QString::number(channel.sortOrder()))
        .setValue(valueOf(content));
    setIcon(roles, content);
    return roles;
}

MivoRoles ContentManager::categoryToRoles(const MivoSiriusContent& content) const
{
    MivoRoles roles;
    roles.setTitle(content.genre()).setType(MivoRolesType::Container).setValue(valueOf(content));
    setIcon(roles, content);
    return roles;
}
