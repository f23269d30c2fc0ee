#include <mivosdk/CMError.h>
#include <mivosdk/MivoSirius.h>
#include <mivosdk/MivoValue.h>

#include <QDataStream>
#include <QJsonDocument>
#include <gtest/gtest.h>

namespace {

/// The ways a record or value travels: through a settings file (JSON) and through a queued
/// signal (QDataStream of the variant).
template <class T>
T throughJson(const T& value)
{
    const QByteArray json = QJsonDocument::fromVariant(value.__variant()).toJson();
    return T(QJsonDocument::fromJson(json).toVariant().toHash());
}

template <class T>
T throughStream(const T& value)
{
    QByteArray bytes;
    QDataStream out(&bytes, QIODevice::WriteOnly);
    out << value.__variant();
    QVariant back;
    QDataStream in(bytes);
    in >> back;
    return T(back.toHash());
}

MivoSiriusContent sampleContent()
{
    MivoSiriusContent content;
    content.setAssetType(MivoSiriusAssetType::Episode)
        .setTitle(QStringLiteral("Café Müller"))
        .setLogos(
            {MivoSiriusLogo().setUrl(QStringLiteral("a")).setWidth(100),
             MivoSiriusLogo().setResourceType(QStringLiteral("png")).setWidth(50).setHeight(50)})
        .setSiriusChannelNumber(45)
        .setIsXtra(false)
        .setDuration(3600000);
    return content;
}

} // namespace

TEST(SiriusValueTypes, RecordsSurviveJsonAndQueuedSignals)
{
    const MivoSiriusContent content = sampleContent();
    EXPECT_EQ(throughStream(content), content);
    const MivoSiriusContent fromJson = throughJson(content);
    EXPECT_EQ(fromJson.title(), QStringLiteral("Café Müller"));
    EXPECT_EQ(fromJson.logos().at(1).resourceType(), QStringLiteral("png"));
    EXPECT_EQ(fromJson.assetType(), MivoSiriusAssetType::Episode);
    EXPECT_EQ(fromJson.siriusChannelNumber(), 45);

    // 64-bit times and negative list entries must not be cut through JSON's doubles.
    MivoSiriusTimebar timebar;
    timebar.setBufferTimestamp(5000000000LL).setSegments({1LL, 5000000000LL, -3LL});
    EXPECT_EQ(throughStream(timebar), timebar);
    EXPECT_EQ(throughJson(timebar).segments(), (MivoList<long long>{1LL, 5000000000LL, -3LL}));

    MivoSiriusPdtCut cut;
    cut.setTime(1763800000123LL);
    EXPECT_EQ(throughJson(cut).time(), 1763800000123LL);

    MivoSiriusErrorNotification error;
    error.setLibraryErrorCode(37).setBypassStatus(
        MivoSiriusBypassStatus().setIsPausePoinUnavailable(true));
    EXPECT_TRUE(throughJson(error).bypassStatus().isPausePoinUnavailable());
    EXPECT_FALSE(throughJson(error).bypassStatus().isGupUnavailable());

    MivoValue account;
    account.setSiriusAccount(MivoSiriusAccount()
                                 .setUsername(QStringLiteral("user"))
                                 .setPassword(QStringLiteral("päss")));
    EXPECT_EQ(throughJson(account).type(), MivoValueType::SiriusAccount);
    EXPECT_EQ(throughJson(account).siriusAccount(), account.siriusAccount());

    const CMError named(QStringLiteral("SiriusXM"), TrString("%1 channels").arg(12));
    EXPECT_EQ(named.message().toString(), QStringLiteral("12 channels"));
    EXPECT_EQ(CMError(named.__hash()), named);
}

TEST(SiriusValueTypes, UnsetFieldsAreAbsentAndReadAsDefaults)
{
    MivoSiriusContent content;
    EXPECT_TRUE(content.isEmpty());
    EXPECT_EQ(content.assetType(), MivoSiriusAssetType::LiveChannel);
    content.setTitle(QString());
    EXPECT_FALSE(content.isEmpty()) << "a field set to an empty text is still set";
    EXPECT_EQ(content.__hash().keys(), QStringList{MivoSiriusContent::Title()});

    // A value of another type, or out of range, reads as the empty record or the default.
    EXPECT_TRUE(MivoValue().setString(QStringLiteral("x")).siriusAccount().isEmpty());
    EXPECT_EQ(MivoValue().setInt(17).siriusAudioBitrate(), MivoSiriusAudioBitrate::Default);
    EXPECT_EQ(MivoValue().setInt(0).siriusAudioBitrate(), MivoSiriusAudioBitrate::Kbps32);
}

TEST(SiriusEnumerations, RoundTripThroughTextAndRejectUnknownText)
{
    for (int i = 0; i <= 4; ++i) {
        const auto value = static_cast<MivoSiriusAssetType::Enum>(i);
        bool ok = false;
        EXPECT_EQ(MivoSiriusAssetType::fromString(MivoSiriusAssetType::toString(value), &ok),
                  value);
        EXPECT_TRUE(ok);
        EXPECT_EQ(MivoSiriusAssetType::fromString(QString::number(i)), value);
    }
    bool ok = true;
    EXPECT_EQ(MivoSiriusAssetType::fromString(QString(), &ok), MivoSiriusAssetType::Invalid);
    EXPECT_FALSE(ok);
    EXPECT_EQ(MivoSiriusAssetType::fromString(QStringLiteral("5")), MivoSiriusAssetType::Invalid);
    EXPECT_EQ(MivoSiriusAssetType::fromString(QStringLiteral("liveChannel")),
              MivoSiriusAssetType::Invalid)
        << "names are case-sensitive";
}
