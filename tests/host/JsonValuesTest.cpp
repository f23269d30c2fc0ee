#include "JsonValues.h"

#include <QJsonObject>
#include <gtest/gtest.h>

// Stored host values (an account) are read from the settings file in the module's end-to-end tests.
TEST(JsonValues, NumbersKeepTheirKindThroughTheRoundTrip)
{
    const QVariant numbers = QVariantList{3, qlonglong(1) << 40, 2.5, true, QString()};
    const QVariantList list = jsonvalues::fromJson(jsonvalues::toJson(numbers)).toList();
    EXPECT_EQ(list.at(0).type(), QVariant::Int);
    EXPECT_EQ(list.at(1).toLongLong(), qlonglong(1) << 40);
    EXPECT_DOUBLE_EQ(list.at(2).toDouble(), 2.5);
    EXPECT_EQ(list.at(3), QVariant(true));
}

TEST(JsonValues, ParseTakesAnyJsonValueAndRefusesTheRest)
{
    QVariant value;
    QString error;
    ASSERT_TRUE(jsonvalues::parse(QStringLiteral("\"text\""), &value, &error));
    EXPECT_EQ(value, QVariant(QStringLiteral("text")));
    ASSERT_TRUE(jsonvalues::parse(QStringLiteral("null"), &value, &error));
    EXPECT_FALSE(value.isValid());
    ASSERT_TRUE(jsonvalues::parse(QStringLiteral(R"({"a": [1, "b"]})"), &value, &error));
    EXPECT_EQ(value.toHash().value(QStringLiteral("a")).toList().size(), 2);

    EXPECT_FALSE(jsonvalues::parse(QStringLiteral("text"), &value, &error));
    EXPECT_FALSE(jsonvalues::parse(QString(), &value, &error));
    EXPECT_FALSE(error.isEmpty());
}
