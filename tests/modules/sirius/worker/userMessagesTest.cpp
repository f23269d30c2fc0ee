#include "worker/siriusWorker.h"

#include "QtTestSupport.h"
#include "fakeSxmLib.h"

#include <mivosdk/CMNodes.h>
#include <mivosdk/CMRoot.h>
#include <mivosdk/MivoPaths.h>

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
    int calls(const std::string& prefix)
    {
        const auto all = fake::library().callsSnapshot();
        return int(std::count_if(all.begin(), all.end(), [&](const std::string& call) {
            return call.rfind(prefix, 0) == 0;
        }));
    }
    QString storedUser()
    {
        return MivoValue(root.getValue(MivoSiriusSettingsAccountPath()).toHash())
            .siriusAccount()
            .username();
    }

    CMMemoryRoot root;
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
    EXPECT_EQ(storedUser(), QStringLiteral("user")) << "no sign-out without a bypass sign-in";
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

TEST_F(UserMessagesTest, PopUpsAreErrorsForSixSecondsAndTheirBodyHasNoTrailingNewline)
{
    worker->on_lib_error(notification(bypass(false, true)));
    ASSERT_EQ(shown.size(), 1);
    EXPECT_EQ(shown[0].priority(), 4);
    EXPECT_EQ(shown[0].timeout(), 6000);
    EXPECT_FALSE(shown[0].message().endsWith('\n'));
}

TEST_F(UserMessagesTest, FavoriteActionsAddOrRemoveAndAreRefusedInBypass)
{
    CMPath add = MivoSiriusFavoritePath();
    add.addParam(MivoSiriusContent::AssetGuid(), "g1")
        .addParam(MivoSiriusContent::AssetType(), "Show")
        .addParam(MivoSiriusContent::ChannelId(), "ch1");
    CMPath remove = add;
    remove.addParam("favorite", QString());

    const CMSetDataRequest adding(add, MivoRoles::Activate(), QVariant());
    worker->on_favorites_activated(adding);
    EXPECT_TRUE(adding.reply().isFinished() && !adding.reply().isError());
    const CMSetDataRequest removing(remove, MivoRoles::Activate(), QVariant());
    worker->on_favorites_activated(removing);
    ASSERT_TRUE(testsupport::waitUntil([&] { return calls("sxm_update_server_favorites") == 2; }));
    const auto all = fake::library().callsSnapshot();
    EXPECT_NE(std::find(all.begin(), all.end(), "sxm_update_server_favorites(g1:1:ch1:0;)"),
              all.end());
    EXPECT_NE(std::find(all.begin(), all.end(), "sxm_update_server_favorites(g1:1:ch1:1;)"),
              all.end());

    worker->on_lib_error(notification(bypass(false, true)));
    const CMSetDataRequest refused(add, MivoRoles::Activate(), QVariant());
    worker->on_favorites_activated(refused);
    EXPECT_EQ(refused.reply().error().message().toString(),
              QStringLiteral("Bypass mode. Favorites disabled."));
    testsupport::pump();
    EXPECT_EQ(calls("sxm_update_server_favorites"), 2) << "nothing changes in bypass";
}

TEST_F(UserMessagesTest, ClearingRecentsAsksTheLibrary)
{
    const CMSetDataRequest clear(MivoSiriusClearRecentsPath(), MivoRoles::Activate(), QVariant());
    worker->on_clearRecents_activated(clear);
    EXPECT_TRUE(clear.reply().isFinished());
    EXPECT_TRUE(testsupport::waitUntil([&] { return calls("sxm_clearRecents") == 1; }));
}
