#include "worker/siriusWorker.h"

#include "QtTestSupport.h"
#include "fakeStreamer.h"
#include "fakeSxmLib.h"

#include <mivosdk/CMNodes.h>
#include <mivosdk/CMRoot.h>
#include <mivosdk/MivoPaths.h>
#include <mivosdk/PlayLogicBase.h>

#include <gtest/gtest.h>

namespace {

MivoSiriusBypassStatus bypass(bool gupId, bool gup, bool loggedDuring = false)
{
    return MivoSiriusBypassStatus()
        .setIsGupIdUnavailable(gupId)
        .setIsGupUnavailable(gup)
        .setLoggedDuringBypass(loggedDuring);
}

MivoSiriusErrorNotification notification(const MivoSiriusBypassStatus& status)
{
    return MivoSiriusErrorNotification().setBypassStatus(status);
}

const QString kIdGone = "Server update in process. Some of your settings and preferences are "
                        "currently unavailable. They will be restored as soon as possible.";
const QString kGupGone = "Server update in process. Some of your settings and preferences are "
                         "currently unavailable.  They will be restored as soon as possible.";
const QString kBack = "System update complete. Your settings and preferences are available again.";

/// A worker over the fake library whose pop-ups land in `shown`.
class UserMessagesTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        fake::reset();
        CMSetRoot(&root);
        root.setValue(
            MivoSiriusSettingsAccountPath(),
            MivoValue()
                .setSiriusAccount(MivoSiriusAccount().setUsername("user").setPassword("secret"))
                .__variant());
        root.registerCommand(MivoNotificationDisplayOpenPath(),
                             [this](const QVariant& args, CMVoidReply reply) {
                                 shown << MivoValue(args.toHash()).notificationDisplayItem();
                                 reply.setResult();
                             });
        worker = std::make_unique<SiriusWorker>(QVariantHash());
        ASSERT_TRUE(worker->isInitialized());
        QObject::connect(&worker->nodes()->subscribe(), &CMSubscribe::changed,
                         [this](const CMPath& path, const QString& change, int) {
                             notices << change + " " + path.toEncoded();
                         });
    }
    void TearDown() override
    {
        worker.reset();
        CMSetRoot(nullptr);
    }
    /// The lines of the pop-ups shown since the last call, title first.
    QList<QStringList> takeShown()
    {
        QList<QStringList> result;
        for (const MivoNotificationDisplayItem& item : qAsConst(shown)) {
            QStringList lines{item.title()};
            if (!item.message().isEmpty())
                lines << item.message().split('\n');
            result << lines;
        }
        shown.clear();
        return result;
    }
    QString storedUser()
    {
        return MivoValue(root.getValue(MivoSiriusSettingsAccountPath()).toHash())
            .siriusAccount()
            .username();
    }

    /// Has the worker's play logic play a channel until the streamer reports it playing.
    PlayLogicBase* startPlaying()
    {
        auto* playlogic =
            static_cast<PlayLogicBase*>(worker->nodes()->node(MivoSiriusPlayLogicPath()));
        MivoResource resource;
        MivoMediaData media;
        media.setResources(MivoList<MivoResource>{resource});
        MivoRoles roles;
        roles.setId("hits").setPath(MivoSiriusPrefixPath().subpath("hits")).setMediaData(media);
        MivoPlayLogicPlayArgs args;
        args.setId("1").setMediaRoles(roles);
        playlogic->play(
            CMSetDataRequest(MivoSiriusPlayLogicPath(), PlayLogicBase::Play(), args.__variant()));
        streamer.publish(MivoStreamerData::Playing);
        testsupport::pump();
        streamer.takeCommands();
        return playlogic;
    }

    CMMemoryRoot root;
    sirius::test::FakeStreamer streamer{root};
    QList<MivoNotificationDisplayItem> shown;
    QStringList notices;
    std::unique_ptr<SiriusWorker> worker;
};

} // namespace

TEST_F(UserMessagesTest, OnlyChangesOfTheTwoStoreFlagsRaiseABypassMessage)
{
    struct Step
    {
        const char* what;
        MivoSiriusBypassStatus status;
        QList<QStringList> expected;
    };
    MivoSiriusBypassStatus searchOnly = bypass(false, false);
    searchOnly.setIsSearchUnavailable(true);
    const QList<Step> steps{
        {"nothing changes", bypass(false, false), {}},
        {"search alone", searchOnly, {}},
        {"both stores go at once", bypass(true, true), {{"Bypass status", kIdGone}}},
        {"same again", bypass(true, true), {}},
        {"both come back", bypass(false, false), {{"Bypass status", kBack, kBack}}},
        {"the store alone goes", bypass(false, true), {{"Bypass status", kGupGone}}},
        {"the identifier goes too", bypass(true, true), {{"Bypass status", kIdGone}}},
        {"the identifier comes back", bypass(false, true), {{"Bypass status", kBack}}},
    };
    for (const Step& step : steps) {
        worker->on_lib_error(notification(step.status));
        EXPECT_EQ(takeShown(), step.expected) << step.what;
    }
    EXPECT_EQ(storedUser(), "user") << "no sign-out without a bypass sign-in";
}

TEST_F(UserMessagesTest, LeavingBypassAfterASignInDuringItSignsTheUserOut)
{
    worker->on_lib_error(notification(bypass(true, false, true)));
    takeShown();
    worker->on_lib_error(notification(bypass(false, false)));
    EXPECT_EQ(takeShown(), (QList<QStringList>{{"Bypass status", "System update complete."}}));
    EXPECT_TRUE(storedUser().isEmpty()) << "the next request signs in afresh";
    EXPECT_TRUE(notices.contains(CMSubscribe::RowsChangeClose() + " " +
                                 MivoSiriusBrowsePath().toEncoded()));
}

TEST_F(UserMessagesTest, TheLibraryEndingPlaybackStopsItAndTellsTheListenerWhy)
{
    PlayLogicBase* playlogic = startPlaying();
    worker->on_lib_error(MivoSiriusErrorNotification()
                             .setLibraryErrorCode(37)
                             .setPlaybackStop(true)
                             .setLibraryErrorString("This episode has ended."));
    EXPECT_EQ(streamer.takeCommands(), QStringList{"stop"});
    EXPECT_EQ(takeShown(), (QList<QStringList>{{"Playback stopped", "This episode has ended."}}));
    streamer.publish(MivoStreamerData::Stopped);
    testsupport::pump();
    EXPECT_EQ(playlogic->data().state(), MivoPlayLogicState::Stopped);

    // Another error while playing stops with the message on the paused item instead.
    startPlaying();
    worker->on_lib_error(
        MivoSiriusErrorNotification().setLibraryErrorCode(3).setLibraryErrorString("Refused"));
    streamer.publish(MivoStreamerData::Stopped);
    testsupport::pump();
    EXPECT_EQ(playlogic->data().state(), MivoPlayLogicState::Paused);
    EXPECT_EQ(playlogic->data().error(), "Refused");
    EXPECT_TRUE(takeShown().isEmpty());

    // An account change stops playback.
    startPlaying();
    worker->on_accountNode_accountChanged();
    EXPECT_EQ(streamer.takeCommands(), QStringList{"stop"});
}
