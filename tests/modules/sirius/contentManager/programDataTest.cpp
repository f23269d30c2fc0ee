#include "contentFixtures.h"

using fixtures::channel;
using fixtures::ContentManagerTest;
using fixtures::lastPdtCall;

namespace {

MivoSiriusPdtCut cutOf(const QString& channelId, qint64 secondsAgo, const QString& artist,
                       const QString& title)
{
    return MivoSiriusPdtCut()
        .setChannelId(channelId)
        .setTime(QDateTime::currentMSecsSinceEpoch() - secondsAgo * 1000)
        .setArtist(artist)
        .setTitle(title);
}

} // namespace

TEST_F(ContentManagerTest, CutsBecomeCurrent160SecondsAfterTheirStampOneNoticePerTick)
{
    load({channel("a", "Pop", 1), channel("b", "Pop", 2),
          channel("x", "Pop", 3, MivoSiriusAssetType::XtraChannel)});
    int notices = 0;
    QObject::connect(&manager, &ContentManager::cutChanged, [&] { ++notices; });
    manager.on_siriusLib_pdtCuts({cutOf("a", 159, "Early", "Not yet"),
                                  cutOf("b", 300, QString(), "Only a title"),
                                  cutOf("b", 200, "Artist", "Later"), cutOf("x", 300, "A", "T"),
                                  cutOf("later", 300, "Not", "Listed")});
    EXPECT_EQ(notices, 1) << "one notice for every cut that became due at once";
    EXPECT_EQ(manager.pdtCutByChannelId("b"), "Artist - Later")
        << "of two due cuts of one channel the last stays in force";
    EXPECT_EQ(manager.pdtCutByChannelId("a"), QString()) << "159 s old: not yet";
    EXPECT_EQ(manager.pdtCutByChannelId("x"), QString()) << "Xtra channels show no cut";
    EXPECT_EQ(manager.channelRolesByChannelId("b", true).title(), "Artist - Later");
    EXPECT_EQ(manager.channelRolesByChannelId("b", false).title(), "Title b");

    manager.on_pdtTimer_timeout();
    EXPECT_EQ(notices, 1) << "a tick with nothing due says nothing";

    // A cut for a channel not yet in the line-up reaches it when it is added.
    manager.on_siriusLib_channel(channel("later", "Pop", 9));
    EXPECT_EQ(manager.pdtCutByChannelId("later"), "Not - Listed");
}

TEST_F(ContentManagerTest, TheRegistryAsksTheLibraryForExactlyTheRegisteredChannels)
{
    manager.registerPdt(CMPath("/l/list"), QStringList{"a", "b"});
    EXPECT_EQ(lastPdtCall().rfind("sxm_startPtdNotificationForChannelIds(", 0), 0u);
    manager.registerPdt(CMPath("/l/list"), QStringList{"c"}); // replaces
    EXPECT_EQ(lastPdtCall(), "sxm_startPtdNotificationForChannelIds(c;)");
    manager.registerPdt(CMPath("/l/genre"), "pop");
    EXPECT_EQ(lastPdtCall(), "sxm_startPtdNotification") << "a genre and ids together: everything";
    manager.unregisterPdt(CMPath("/l/list"));
    EXPECT_EQ(lastPdtCall(), "sxm_startPtdNotificationForGenre(pop)");
    manager.unregisterPdt(CMPath("/l/genre"));
    EXPECT_EQ(lastPdtCall(), "sxm_stop_pdt_notification") << "the last one gone stops the library";
}
