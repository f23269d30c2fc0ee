#include "worker/siriusWorker.h"
#include "siriusLogging.h"

#include "QtTestSupport.h"
#include "fakeSxmLib.h"
#include "logCapture.h"

#include <mivosdk/CMListRowsNode.h>
#include <mivosdk/CMRoot.h>
#include <mivosdk/MivoPaths.h>
#include <mivosdk/MivoRowsRoles.h>

#include <QThread>

#include <atomic>
#include <gtest/gtest.h>

using testsupport::waitUntil;

namespace {

/// Records the order in which requests reach it and answers each.
class RecordingNode : public CMListRowsNode
{
public:
    using CMListRowsNode::CMListRowsNode;
    bool getRowsRequest(const CMGetRowsRequest& request) override
    {
        order << request.path().param(QStringLiteral("n"));
        return CMListRowsNode::getRowsRequest(request);
    }
    QStringList order;
};

class SiriusWorkerTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        fake::reset();
        CMSetRoot(&root);
        setAccount(QStringLiteral("user"), QStringLiteral("secret"));
        // Sign-in and listing move the fake library's status as the real one does.
        script("sxm_configure_sirius", [] { fake::library().status = SXM_STATUS_SIGNED_IN; });
        script("sxm_channel_list", [] { fake::library().status = SXM_STATUS_READY; });
    }
    void TearDown() override { CMSetRoot(nullptr); }

    void setAccount(const QString& user, const QString& password)
    {
        root.setValue(
            MivoSiriusSettingsAccountPath(),
            MivoValue()
                .setSiriusAccount(MivoSiriusAccount().setUsername(user).setPassword(password))
                .__variant());
    }
    void script(const std::string& operation, std::function<void()> during)
    {
        std::lock_guard<std::mutex> lock(fake::library().mutex);
        fake::library().during[operation] = [during](const sxm_callbacks&) {
            // The fake's state is only touched under its lock.
            std::lock_guard<std::mutex> inner(fake::library().mutex);
            during();
        };
    }
    void result(const std::string& operation, int value)
    {
        std::lock_guard<std::mutex> lock(fake::library().mutex);
        fake::library().results[operation] = value;
    }
    int calls(const std::string& name)
    {
        const auto all = fake::library().callsSnapshot();
        return int(std::count(all.begin(), all.end(), name));
    }
    static QString errorOf(const CMRequest& request)
    {
        EXPECT_TRUE(waitUntil([&] { return request.reply().isFinished(); }));
        return request.reply().error().message().toString();
    }

    CMMemoryRoot root;
};

} // namespace

TEST_F(SiriusWorkerTest, AnyVersionButThreeZeroZeroLeavesTheModuleUninitialized)
{
    for (const auto& version : {std::array<int, 3>{3, 0, 1}, std::array<int, 3>{2, 9, 9}}) {
        fake::reset();
        {
            std::lock_guard<std::mutex> lock(fake::library().mutex);
            std::copy(version.begin(), version.end(), fake::library().version);
        }
        sirius::test::LogCapture log(sirius::cbSiriusLogger());
        SiriusWorker worker({});
        EXPECT_FALSE(worker.isInitialized());
        EXPECT_EQ(calls("sxm_init"), 0) << "no initialisation after a failed version check";
        EXPECT_TRUE(worker.nodes()->paths().isEmpty()) << "nothing else is created";
        const auto fatal = log.linesContaining("Invalid sirius lib version: ");
        ASSERT_EQ(fatal.size(), 1u);
        EXPECT_NE(fatal[0].message.find(" required: 3.0.0"), std::string::npos);
        EXPECT_EQ(fatal[0].level, log4cplus::FATAL_LOG_LEVEL);

        CMGetRowsRequest rows(MivoSiriusBrowsePath());
        worker.request(rows);
        EXPECT_EQ(errorOf(rows), QStringLiteral("Sirius module is not initialized"));
        CMSetDataRequest account(MivoSiriusAccountPath(), MivoRoles::Value(), QVariant());
        worker.request(account);
        EXPECT_EQ(errorOf(account), QStringLiteral("Sirius module is not initialized"));
    }
}

TEST_F(SiriusWorkerTest, AFailedInitialisationLeavesTheModuleUninitialized)
{
    result("sxm_init", 0);
    sirius::test::LogCapture log(sirius::cbSiriusLogger());
    SiriusWorker worker({});
    EXPECT_FALSE(worker.isInitialized());
    EXPECT_EQ(log.linesContaining("Failed to initialize sirius library: ").size(), 1u);
    CMGetDataRequest data(MivoSiriusBrowsePath(), MivoRoles::Title());
    worker.request(data);
    EXPECT_EQ(errorOf(data), QStringLiteral("Sirius module is not initialized"));
}

TEST_F(SiriusWorkerTest, WithoutAStoredPasswordEveryRequestAsksToLogInAndNoSignInStarts)
{
    setAccount(QStringLiteral("user"), QString());
    SiriusWorker worker({});
    ASSERT_TRUE(worker.isInitialized());
    for (int i = 0; i < 2; ++i) {
        CMGetRowsRequest rows(MivoSiriusBrowsePath());
        worker.request(rows);
        EXPECT_EQ(errorOf(rows), QStringLiteral("Please log in"));
    }
    EXPECT_EQ(calls("sxm_configure_sirius"), 0);
}

TEST_F(SiriusWorkerTest, ARefusedSignInFailsOnlyThatRequestAndTheNextOneTriesAgain)
{
    result("sxm_configure_sirius", 0);
    script("sxm_configure_sirius", [] {}); // refused: the status stays signed out
    fake::library().error = "Invalid username or password";
    sirius::test::LogCapture log(sirius::cbSiriusLogger());
    SiriusWorker worker({});
    CMGetRowsRequest first(MivoSiriusBrowsePath());
    worker.request(first);
    EXPECT_EQ(errorOf(first), QStringLiteral("Invalid credentials, Please log in"));
    EXPECT_EQ(log.linesContaining("Login error: ").size(), 1u);
    CMGetRowsRequest second(MivoSiriusBrowsePath());
    worker.request(second);
    EXPECT_EQ(errorOf(second), QStringLiteral("Invalid credentials, Please log in"));
    EXPECT_EQ(calls("sxm_configure_sirius"), 2);

    result("sxm_configure_sirius", 1);
    script("sxm_configure_sirius", [] { fake::library().status = SXM_STATUS_SIGNED_IN; });
    result("sxm_channel_list", 0);
    script("sxm_channel_list", [] {});
    fake::library().error = "No line-up";
    CMGetRowsRequest third(MivoSiriusBrowsePath());
    worker.request(third);
    EXPECT_EQ(errorOf(third), QStringLiteral("No line-up")) << "the library's own error";
}

TEST_F(SiriusWorkerTest, RequestsThatArriveDuringASignInAreDispatchedNewestFirst)
{
    // The sign-in lasts until all three requests are in, however fast the library thread is.
    std::atomic<bool> release{false};
    {
        std::lock_guard<std::mutex> lock(fake::library().mutex);
        fake::library().during["sxm_configure_sirius"] = [&release](const sxm_callbacks&) {
            while (!release)
                QThread::msleep(1);
            std::lock_guard<std::mutex> inner(fake::library().mutex);
            fake::library().status = SXM_STATUS_SIGNED_IN;
        };
    }
    SiriusWorker worker({});
    auto* node = new RecordingNode(CMPath("/t/list"), &worker);
    node->setNodes(worker.nodes());
    QList<CMGetRowsRequest> requests;
    for (const char* n : {"A", "B", "C"}) {
        requests << CMGetRowsRequest(
            CMPath(QStringLiteral("/t/list?n=%1").arg(QLatin1String(n)).toUtf8().constData()));
        worker.request(requests.last());
    }
    release = true;
    ASSERT_TRUE(waitUntil([&] { return node->order.size() == 3; }));
    EXPECT_EQ(node->order, (QStringList{"C", "B", "A"}));
    EXPECT_EQ(calls("sxm_configure_sirius"), 1) << "one sign-in for all three";
    EXPECT_EQ(calls("sxm_channel_list"), 1);

    // Once ready, requests go through in the order they come.
    node->order.clear();
    for (const char* n : {"D", "E"})
        worker.request(CMGetRowsRequest(
            CMPath(QStringLiteral("/t/list?n=%1").arg(QLatin1String(n)).toUtf8().constData())));
    EXPECT_EQ(node->order, (QStringList{"D", "E"}));
}

TEST_F(SiriusWorkerTest, TheAccountNodeIsWritableWhileTheQueueWaitsForASignIn)
{
    {
        // A slow sign-in on the library thread.
        std::lock_guard<std::mutex> lock(fake::library().mutex);
        fake::library().during["sxm_configure_sirius"] = [](const sxm_callbacks&) {
            QThread::msleep(300);
            std::lock_guard<std::mutex> inner(fake::library().mutex);
            fake::library().status = SXM_STATUS_SIGNED_IN;
        };
    }
    SiriusWorker worker({});
    CMGetRowsRequest waiting(MivoSiriusBrowsePath());
    worker.request(waiting);
    CMSetDataRequest logout(CMPath("/sirius/account?from=settings"), MivoRoles::Value(),
                            MivoValue().setSiriusAccount(MivoSiriusAccount()).__variant());
    worker.request(logout);
    EXPECT_TRUE(logout.reply().isSucceeded()) << "answered at once, past the queue";
    EXPECT_FALSE(waiting.reply().isFinished());
    EXPECT_TRUE(MivoValue(root.getValue(MivoSiriusSettingsAccountPath()).toHash())
                    .siriusAccount()
                    .username()
                    .isEmpty());

    CMSetDataRequest wrongType(MivoSiriusAccountPath(), MivoRoles::Value(),
                               MivoValue().setString(QStringLiteral("x")).__variant());
    worker.request(wrongType);
    ASSERT_TRUE(wrongType.reply().isError());
    EXPECT_EQ(wrongType.reply().error().name(), QStringLiteral("SiriusAccountNode"));
    EXPECT_EQ(wrongType.reply().error().message().toString(), QStringLiteral("Invalid value type"));
    EXPECT_TRUE(waitUntil([&] { return waiting.reply().isFinished(); }));
}

TEST_F(SiriusWorkerTest, SigningInThroughTheAccountNodeAnnouncesTheChangeOnlyOnSuccess)
{
    SiriusWorker worker({});
    const auto login = [&](const QString& user, const QString& password) {
        CMSetDataRequest request(
            MivoSiriusAccountPath(), MivoRoles::Value(),
            MivoValue()
                .setSiriusAccount(MivoSiriusAccount().setUsername(user).setPassword(password))
                .__variant());
        worker.request(request);
        EXPECT_TRUE(waitUntil([&] { return request.reply().isFinished(); }));
        return request;
    };
    sirius::test::LogCapture log(sirius::cbSiriusLogger());
    EXPECT_TRUE(login(QStringLiteral("new"), QStringLiteral("pw")).reply().isSucceeded());
    EXPECT_EQ(calls("sxm_verify_account(new,pw)"), 1);
    EXPECT_EQ(log.linesContaining("Account changed").size(), 1u);

    result("sxm_verify_account", 0);
    fake::library().error = "Invalid username or password";
    const CMSetDataRequest refused = login(QStringLiteral("new"), QStringLiteral("bad"));
    EXPECT_EQ(refused.reply().error().message().toString(),
              QStringLiteral("Invalid username or password"));
    EXPECT_EQ(log.linesContaining("Account changed").size(), 1u) << "no change announced";

    CMSetDataRequest otherRole(MivoSiriusAccountPath(), MivoRoles::Title(), QStringLiteral("x"));
    worker.request(otherRole);
    EXPECT_TRUE(otherRole.reply().isError()) << "the framework's default answer";
    EXPECT_EQ(log.linesContaining("role is not for SiriusAccount").size(), 1u);
}

TEST_F(SiriusWorkerTest, TuneStartStaysInStepBothWaysWithoutEcho)
{
    SiriusWorker worker({});
    const auto reportSettings = [&](SiriusLib::Settings settings) {
        QMetaObject::invokeMethod(&worker, "on_lib_globalSettings",
                                  Q_ARG(SiriusLib::Settings, settings));
    };
    const auto userSets = [&](bool on) {
        root.setValue(MivoSiriusSettingsTuneStart(), MivoValue().setBool(on).__variant());
        testsupport::pump(30);
    };
    const auto updates = [&] {
        int n = 0;
        for (const std::string& call : fake::library().callsSnapshot())
            n += call.rfind("sxm_update_global_settings", 0) == 0 ? 1 : 0;
        return n;
    };

    userSets(true);
    EXPECT_EQ(updates(), 0) << "nothing is sent before the library reported its settings";

    reportSettings({{QStringLiteral("Other"), QStringLiteral("x")}});
    testsupport::pump(30);
    EXPECT_TRUE(MivoValue(root.getValue(MivoSiriusSettingsTuneStart()).toHash()).toBool())
        << "unchanged";

    reportSettings({{QStringLiteral("TuneStart"), QStringLiteral("off")},
                    {QStringLiteral("Other"), QStringLiteral("x")}});
    testsupport::pump(30);
    EXPECT_FALSE(MivoValue(root.getValue(MivoSiriusSettingsTuneStart()).toHash()).toBool());
    EXPECT_EQ(updates(), 0)
        << "the host setting written from the library's report does not echo back";

    userSets(true);
    ASSERT_TRUE(waitUntil([&] { return updates() == 1; }));
    EXPECT_EQ(calls("sxm_update_global_settings(Other=x;TuneStart=on;)") +
                  calls("sxm_update_global_settings(TuneStart=on;Other=x;)"),
              1)
        << "the whole map goes to the library";
    reportSettings({{QStringLiteral("TuneStart"), QStringLiteral("On")}});
    testsupport::pump(30);
    EXPECT_FALSE(MivoValue(root.getValue(MivoSiriusSettingsTuneStart()).toHash()).toBool())
        << "only \"on\" exactly means on";
}
