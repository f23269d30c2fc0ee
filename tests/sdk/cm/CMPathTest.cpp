#include <mivosdk/CMPath.h>

#include <QHash>
#include <QSet>
#include <gtest/gtest.h>

TEST(CMPath, EncodedFormRoundTripsAnyText)
{
    const QStringList awkward = {
        QStringLiteral("with space"), QStringLiteral("a/b"), QStringLiteral("what?"),
        QStringLiteral("x&y"),        QStringLiteral("k=v"), QStringLiteral("Ch 2 • News"),
        QStringLiteral("100%"),       QStringLiteral("a+b"), QString(),
    };
    CMPath path("/sirius/browse");
    for (const QString& text : awkward) {
        path.appendSubpath(text);
        path.addParam(QStringLiteral("p") + text, text);
    }
    const QString encoded = path.toEncoded();
    const CMPath back = CMPath::fromEncoded(encoded);
    EXPECT_EQ(back.segments(), path.segments());
    EXPECT_EQ(back.paramList(), path.paramList()) << "parameter order and values survive";
    EXPECT_EQ(back.toEncoded(), encoded);
    EXPECT_EQ(back.param(QStringLiteral("pa/b")), QStringLiteral("a/b"));
    EXPECT_EQ(back.param(QStringLiteral("pk=v")), QStringLiteral("k=v"));
}

TEST(CMPath, EncodedFormIsReadableAndEdgeCasesAreExact)
{
    CMPath path("/sirius/browse");
    path.appendSubpath(QStringLiteral("filter:pop"));
    path.addParam(QStringLiteral("title"), QStringLiteral("All Channels"));
    EXPECT_EQ(path.toEncoded(), QStringLiteral("/sirius/browse/filter:pop?title=All%20Channels"));

    EXPECT_TRUE(CMPath::fromEncoded(QString()).isEmpty());
    EXPECT_EQ(CMPath().toEncoded(), QString());
    EXPECT_EQ(CMPath::fromEncoded(QStringLiteral("/")).segments(), QStringList{QString()});
    EXPECT_EQ(CMPath::fromEncoded(QStringLiteral("/a//b")).segments(),
              (QStringList{QStringLiteral("a"), QString(), QStringLiteral("b")}));
    const CMPath emptyValue = CMPath::fromEncoded(QStringLiteral("/a?goLive=&x"));
    EXPECT_TRUE(emptyValue.hasParam(QStringLiteral("goLive")));
    EXPECT_TRUE(emptyValue.hasParam(QStringLiteral("x")));
    EXPECT_EQ(emptyValue.param(QStringLiteral("goLive"), QStringLiteral("absent")), QString());
}

TEST(CMPath, ParametersKeepOrderAndReplaceInPlace)
{
    CMPath path("/a");
    path.addParam(QStringLiteral("z"), QStringLiteral("1"))
        .addParam(QStringLiteral("a"), QStringLiteral("2"));
    path.addParam(QStringLiteral("z"), QStringLiteral("3"));
    EXPECT_EQ(path.toEncoded(), QStringLiteral("/a?z=3&a=2"));
    path.removeParam(QStringLiteral("z"));
    EXPECT_EQ(path.toEncoded(), QStringLiteral("/a?a=2"));
}

TEST(CMPath, EqualPathsHashEqualWhateverTheParameterOrder)
{
    CMPath one("/a/b?x=1&y=2");
    CMPath two("/a/b?y=2&x=1");
    EXPECT_EQ(one, two);
    EXPECT_EQ(qHash(one), qHash(two));
    EXPECT_NE(one, CMPath("/a/b?x=1&y=3"));
    EXPECT_NE(one, CMPath("/a/b"));
    QSet<CMPath> set{one, two, CMPath("/a/b")};
    EXPECT_EQ(set.size(), 2);
}
