// The worker over the scripted fake library: its request queue and sign-in, the account node,
// and what it tells the listener (bypass pop-ups, playback the library ended).

#include "worker/siriusWorker.h"

#include "QtTestSupport.h"
#include "fakeStreamer.h"
#include "fakeSxmLib.h"

#include <mivosdk/CMNodes.h>
#include <mivosdk/CMRoot.h>
#include <mivosdk/MivoPaths.h>
#include <mivosdk/PlayLogicBase.h>

#include <gtest/gtest.h>

#include <future>

using fake::calls;
using fake::result;
using testsupport::waitUntil;

namespace {

MivoValue account(const QString& user, const QString& password)
{
    return MivoValue().setSiriusAccount(
        MivoSiriusAccount().setUsername(user).setPassword(password));
}

/// A worker (made by start()) over the fake library, with an account stored, the host's streamer
/// and its notification display, whose pop-ups land in `shown`.
class SiriusWorkerTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        fake::reset();
        CMSetRoot(&root);
        root.setValue(MivoSiriusSettingsAccountPath(), account("user", "secret").__variant());
        root.registerCommand(MivoNotificationDisplayOpenPath(),
                             [this](const QVariant& args, CMVoidReply reply) {
                                 shown << MivoValue(args.toHash()).notificationDisplayItem();
                                 reply.setResult();
                             });
        // Sign-in and listing move the fake library's status as the real one does.
        script("sxm_configure_sirius", [] { fake::library().status = SXM_STATUS_SIGNED_IN; });
        script("sxm_channel_list", [] { fake::library().status = SXM_STATUS_READY; });
    }
    void TearDown() override
    {
        worker.reset();
        CMSetRoot(nullptr);
    }
    void start()
    {
        worker = std::make_unique<SiriusWorker>(QVariantHash());
        ASSERT_TRUE(worker->isInitialized());
    }
    /// Scripts `during` to run under the fake's lock, which guards the state it changes.
    static void script(const std::string& operation, std::function<void()> during)
    {
        fake::script(operation, [during](const sxm_callbacks&) {
            std::lock_guard<std::mutex> inner(fake::library().mutex);
            during();
        });
    }
    CMRequest request(CMRequest request)
    {
        worker->request(request);
        EXPECT_TRUE(waitUntil([&] { return request.reply().isFinished(); }));
        return request;
    }
    static QString errorOf(const CMRequest& request)
    {
        return request.reply().error().message().toString();
    }
    QString storedUser()
    {
        return MivoValue(root.getValue(MivoSiriusSettingsAccountPath()).toHash())
            .siriusAccount()
            .username();
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
        EXPECT_TRUE(
            waitUntil([&] { return playlogic->data().state() == MivoPlayLogicState::Playing; }));
        streamer.takeCommands();
        return playlogic;
    }

    CMMemoryRoot root;
    sirius::test::FakeStreamer streamer{root};
    QList<MivoNotificationDisplayItem> shown;
    std::unique_ptr<SiriusWorker> worker;
};

} // namespace

TEST_F(SiriusWorkerTest, ARefusedSignInFailsOnlyThatRequestAndTheNextOneTriesAgain)
{
    result("sxm_configure_sirius", 0);
    script("sxm_configure_sirius", [] {}); // refused: the status stays signed out
    fake::library().error = "Invalid username or password";
    start();
    for (int attempt = 1; attempt <= 2; ++attempt) {
        EXPECT_EQ(errorOf(request(CMGetRowsRequest(MivoSiriusBrowsePath()))),
                  "Invalid credentials, Please log in");
        EXPECT_EQ(calls("sxm_configure_sirius"), attempt);
    }

    result("sxm_configure_sirius", 1);
    script("sxm_configure_sirius", [] { fake::library().status = SXM_STATUS_SIGNED_IN; });
    result("sxm_channel_list", 0);
    script("sxm_channel_list", [] {});
    fake::library().error = "No line-up";
    EXPECT_EQ(errorOf(request(CMGetRowsRequest(MivoSiriusBrowsePath()))), "No line-up")
        << "the library's own error";
}

TEST_F(SiriusWorkerTest, TheAccountNodeIsWritableWhileTheQueueWaitsForASignIn)
{
    // A sign-in on the library thread that lasts until the test lets it end.
    std::promise<void> release;
    std::shared_future<void> released = release.get_future().share();
    fake::script("sxm_configure_sirius", [released](const sxm_callbacks&) {
        released.wait();
        std::lock_guard<std::mutex> inner(fake::library().mutex);
        fake::library().status = SXM_STATUS_SIGNED_IN;
    });
    start();
    CMGetRowsRequest waiting(MivoSiriusBrowsePath());
    worker->request(waiting);
    CMSetDataRequest logout(CMPath("/sirius/account?from=settings"), MivoRoles::Value(),
                            account(QString(), QString()).__variant());
    worker->request(logout);
    EXPECT_TRUE(logout.reply().isSucceeded()) << "answered at once, past the queue";
    EXPECT_FALSE(waiting.reply().isFinished());
    EXPECT_TRUE(storedUser().isEmpty());

    CMSetDataRequest wrongType(MivoSiriusAccountPath(), MivoRoles::Value(),
                               MivoValue().setString("x").__variant());
    worker->request(wrongType);
    EXPECT_TRUE(wrongType.reply().isError()); // no early return: the sign-in must be let go
    EXPECT_EQ(wrongType.reply().error().name(), "SiriusAccountNode");
    EXPECT_EQ(errorOf(wrongType), "Invalid value type");
    release.set_value();
    EXPECT_TRUE(waitUntil([&] { return waiting.reply().isFinished(); }));
}

// The stored account changing is what stops playback and starts the browse tree afresh.
TEST_F(SiriusWorkerTest, SigningInThroughTheAccountNodeStopsPlaybackOnlyOnSuccess)
{
    start();
    const auto login = [&](const QString& user, const QString& password) {
        return request(CMSetDataRequest(MivoSiriusAccountPath(), MivoRoles::Value(),
                                        account(user, password).__variant()));
    };
    startPlaying();
    EXPECT_TRUE(login("new", "pw").reply().isSucceeded());
    EXPECT_EQ(calls("sxm_verify_account(new,pw)"), 1);
    EXPECT_EQ(streamer.takeCommands(), QStringList{"stop"});
    streamer.publish(MivoStreamerData::Stopped);

    startPlaying();
    result("sxm_verify_account", 0);
    fake::library().error = "Invalid username or password";
    EXPECT_EQ(errorOf(login("new", "bad")), "Invalid username or password");
    EXPECT_EQ(streamer.takeCommands(), QStringList()) << "nothing changed, so nothing stops";

    EXPECT_TRUE(request(CMSetDataRequest(MivoSiriusAccountPath(), MivoRoles::Title(), "x"))
                    .reply()
                    .isError())
        << "other roles get the framework's default answer";
}

TEST_F(SiriusWorkerTest, OnlyChangesOfTheTwoStoreFlagsRaiseABypassMessage)
{
    const auto bypass = [](bool gupId, bool gup) {
        return MivoSiriusBypassStatus().setIsGupIdUnavailable(gupId).setIsGupUnavailable(gup);
    };
    const QString idGone = "Server update in process. Some of your settings and preferences are "
                           "currently unavailable. They will be restored as soon as possible.";
    const QString gupGone = "Server update in process. Some of your settings and preferences are "
                            "currently unavailable.  They will be restored as soon as possible.";
    const QString back =
        "System update complete. Your settings and preferences are available again.";
    struct Step
    {
        const char* what;
        MivoSiriusBypassStatus status;
        QList<QStringList> expected;
    };
    const QList<Step> steps{
        {"nothing changes", bypass(false, false), {}},
        {"search alone", bypass(false, false).setIsSearchUnavailable(true), {}},
        {"both stores go at once", bypass(true, true), {{"Bypass status", idGone}}},
        {"same again", bypass(true, true), {}},
        {"both come back", bypass(false, false), {{"Bypass status", back, back}}},
        {"the store alone goes", bypass(false, true), {{"Bypass status", gupGone}}},
        {"the identifier goes too", bypass(true, true), {{"Bypass status", idGone}}},
        {"the identifier comes back", bypass(false, true), {{"Bypass status", back}}},
        {"the store comes back", bypass(false, false), {{"Bypass status", back}}},
        // A sign-in during the bypass is not kept: the next request signs in afresh.
        {"signed in meanwhile",
         bypass(true, false).setLoggedDuringBypass(true),
         {{"Bypass status", idGone}}},
        {"then it ends", bypass(false, false), {{"Bypass status", "System update complete."}}},
    };
    start();
    QStringList notices;
    QObject::connect(&worker->nodes()->subscribe(), &CMSubscribe::changed,
                     [&](const CMPath& path, const QString& change, int) {
                         notices << change + " " + path.toEncoded();
                     });
    for (const Step& step : steps) {
        EXPECT_EQ(storedUser(), "user") << "no sign-out before: " << step.what;
        worker->on_lib_error(MivoSiriusErrorNotification().setBypassStatus(step.status));
        EXPECT_EQ(takeShown(), step.expected) << step.what;
    }
    EXPECT_TRUE(storedUser().isEmpty());
    EXPECT_TRUE(notices.contains(CMSubscribe::RowsChangeClose() + " " +
                                 MivoSiriusBrowsePath().toEncoded()));
}

TEST_F(SiriusWorkerTest, TheLibraryEndingPlaybackStopsItAndTellsTheListenerWhy)
{
    start();
    PlayLogicBase* playlogic = startPlaying();
    worker->on_lib_error(MivoSiriusErrorNotification()
                             .setLibraryErrorCode(37)
                             .setPlaybackStop(true)
                             .setLibraryErrorString("This episode has ended."));
    EXPECT_EQ(streamer.takeCommands(), QStringList{"stop"});
    EXPECT_EQ(takeShown(), (QList<QStringList>{{"Playback stopped", "This episode has ended."}}));
    streamer.publish(MivoStreamerData::Stopped);
    EXPECT_TRUE(
        waitUntil([&] { return playlogic->data().state() == MivoPlayLogicState::Stopped; }));

    // Another error while playing stops with the message on the paused item instead.
    startPlaying();
    worker->on_lib_error(
        MivoSiriusErrorNotification().setLibraryErrorCode(3).setLibraryErrorString("Refused"));
    streamer.publish(MivoStreamerData::Stopped);
    EXPECT_TRUE(waitUntil([&] { return playlogic->data().state() == MivoPlayLogicState::Paused; }));
    EXPECT_EQ(playlogic->data().error(), "Refused");
    EXPECT_TRUE(takeShown().isEmpty());
}
