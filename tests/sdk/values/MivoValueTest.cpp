#include <mivosdk/CMError.h>
#include <mivosdk/MivoValue.h>

#include <QJsonDocument>
#include <gtest/gtest.h>

TEST(MivoValue, HoldsAnAccountAsType99ThroughASettingsFile)
{
    MivoSiriusAccount account;
    account.setUsername(QStringLiteral("user")).setPassword(QStringLiteral("päss"));
    MivoValue value;
    value.setSiriusAccount(account);
    EXPECT_EQ(value.type(), 99);
    const QVariant stored =
        QJsonDocument::fromJson(QJsonDocument::fromVariant(value.__variant()).toJson()).toVariant();
    const MivoValue back(stored.toHash());
    EXPECT_EQ(back.type(), MivoValueType::SiriusAccount);
    EXPECT_EQ(back.siriusAccount(), account);
}

TEST(MivoValue, ReadsLenientlyAndAnswersDefaultsForOtherTypes)
{
    EXPECT_FALSE(MivoValue().isValid());
    EXPECT_TRUE(MivoValue().setInt(2).toBool());
    EXPECT_EQ(MivoValue().setString(QStringLiteral("12")).toInt(), 12);
    EXPECT_EQ(MivoValue().setLongLong(5000000000LL).toLongLong(), 5000000000LL);
    EXPECT_TRUE(MivoValue().setString(QStringLiteral("x")).siriusAccount().isEmpty());
    EXPECT_EQ(MivoValue().setInt(17).siriusAudioBitrate(), MivoSiriusAudioBitrate::Default);
    EXPECT_EQ(MivoValue().setInt(0).siriusAudioBitrate(), MivoSiriusAudioBitrate::Kbps32);
}

TEST(CMError, MessageIsFormattedAndSurvivesTheHash)
{
    EXPECT_FALSE(CMError().isError());
    const CMError named(QStringLiteral("SiriusXM"), TrString("%1 channels").arg(12));
    EXPECT_TRUE(named.isError());
    EXPECT_EQ(named.message().toString(), QStringLiteral("12 channels"));
    EXPECT_EQ(CMError(named.__hash()), named);
}
