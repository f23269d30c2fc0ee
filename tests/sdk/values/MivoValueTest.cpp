#include <mivosdk/CMError.h>
#include <mivosdk/MivoValue.h>

#include <QJsonDocument>
#include <gtest/gtest.h>

TEST(MivoValue, HoldsAnAccountAsType99)
{
    MivoSiriusAccount account;
    account.setUsername(QStringLiteral("user")).setPassword(QStringLiteral("päss"));
    MivoValue value;
    value.setSiriusAccount(account);
    EXPECT_EQ(value.type(), 99);
    // A value read back from a stored hash (settings file) keeps its type and account.
    const QVariant stored =
        QJsonDocument::fromJson(QJsonDocument::fromVariant(value.__variant()).toJson()).toVariant();
    const MivoValue back(stored.toHash());
    EXPECT_EQ(back.type(), MivoValueType::SiriusAccount);
    EXPECT_EQ(back.siriusAccount().password(), QStringLiteral("päss"));
    EXPECT_EQ(back.siriusAccount(), account);
}

TEST(MivoValue, ReadsLenientlyAndAnswersDefaultsForOtherTypes)
{
    EXPECT_FALSE(MivoValue().isValid());
    EXPECT_FALSE(MivoValue().toBool());
    EXPECT_TRUE(bool(MivoValue().setBool(true)));
    EXPECT_TRUE(MivoValue().setInt(2).toBool());
    EXPECT_EQ(MivoValue().setString(QStringLiteral("12")).toInt(), 12);
    EXPECT_EQ(MivoValue().setLongLong(5000000000LL).toLongLong(), 5000000000LL);
    EXPECT_TRUE(MivoValue().setString(QStringLiteral("x")).siriusAccount().isEmpty());
    EXPECT_EQ(MivoValue().siriusAudioBitrate(), MivoSiriusAudioBitrate::Default);
    EXPECT_EQ(MivoValue().setInt(17).siriusAudioBitrate(), MivoSiriusAudioBitrate::Default);
    EXPECT_EQ(
        MivoValue().setSiriusAudioBitrate(MivoSiriusAudioBitrate::Kbps256).siriusAudioBitrate(),
        MivoSiriusAudioBitrate::Kbps256);
    EXPECT_EQ(MivoValue().setInt(0).siriusAudioBitrate(), MivoSiriusAudioBitrate::Kbps32);
    EXPECT_EQ(MivoValue().setHash({{QStringLiteral("a"), 1}}).toString(),
              QStringLiteral("{\"a\":1}"));
    EXPECT_EQ(MivoValue::fromVariant(QVariant()).type(), MivoValueType::Invalid);
}

TEST(MivoValue, CarriesANotificationItem)
{
    MivoNotificationDisplayItem item;
    item.setTitle(QStringLiteral("Info"))
        .setMessage(QStringLiteral("a\nb"))
        .setPriority(4)
        .setTimeout(6000);
    const MivoValue value = MivoValue().setNotificationDisplayItem(item);
    EXPECT_EQ(value.type(), MivoValueType::NotificationDisplayItem);
    EXPECT_EQ(MivoValue(value.__hash()).notificationDisplayItem(), item);
}

TEST(CMError, DefaultsAndEmptiness)
{
    EXPECT_FALSE(CMError().isError());
    const CMError error(TrString("Please log in"));
    EXPECT_TRUE(error.isError());
    EXPECT_EQ(error.name(), CMError::DefaultName());
    EXPECT_EQ(error.title(), CMError::DefaultTitle());
    EXPECT_EQ(error.message().toString(), QStringLiteral("Please log in"));
    EXPECT_EQ(error.__hash().value(CMError::Name()).toString(), CMError::DefaultName());
    const CMError named(QStringLiteral("SiriusXM"), TrString("%1 channels").arg(12));
    EXPECT_EQ(named.message().toString(), QStringLiteral("12 channels"));
    EXPECT_EQ(CMError(named.__hash()), named);
}
