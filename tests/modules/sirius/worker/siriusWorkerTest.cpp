#include "worker/siriusWorker.h"
#include "siriusLogging.h"

#include "QtTestSupport.h"
#include "fakeSxmLib.h"
#include "logCapture.h"

#include <mivosdk/CMRoot.h>
#include <mivosdk/MivoPaths.h>

#include <gtest/gtest.h>

#include <future>

using fake::calls;
using fake::result;
using testsupport::waitUntil;

namespace {

class SiriusWorkerTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        fake::reset();
        CMSetRoot(&root);
        setAccount("user", "secret");
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
    /// Scripts `during` to run under the fake's lock, which guards the state it changes.
    void script(const std::string& operation, std::function<void()> during)
    {
        fake::script(operation, [during](const sxm_callbacks&) {
            std::lock_guard<std::mutex> inner(fake::library().mutex);
            during();
        });
    }
    static QString errorOf(const CMRequest& request)
    {
        EXPECT_TRUE(waitUntil([&] { return request.reply().isFinished(); }));
        return request.reply().error().message().toString();
    }

    CMMemoryRoot root;
};

} // namespace

TEST_F(SiriusWorkerTest, ARefusedSignInFailsOnlyThatRequestAndTheNextOneTriesAgain)
{
    result("sxm_configure_sirius", 0);
    script("sxm_configure_sirius", [] {}); // refused: the status stays signed out
    fake::library().error = "Invalid username or password";
    sirius::test::LogCapture log(sirius::cbSiriusLogger());
    SiriusWorker worker({});
    CMGetRowsRequest first(MivoSiriusBrowsePath());
    worker.request(first);
    EXPECT_EQ(errorOf(first), "Invalid credentials, Please log in");
    EXPECT_EQ(log.linesContaining("Login error: ").size(), 1u);
    CMGetRowsRequest second(MivoSiriusBrowsePath());
    worker.request(second);
    EXPECT_EQ(errorOf(second), "Invalid credentials, Please log in");
    EXPECT_EQ(calls("sxm_configure_sirius"), 2);

    result("sxm_configure_sirius", 1);
    script("sxm_configure_sirius", [] { fake::library().status = SXM_STATUS_SIGNED_IN; });
    result("sxm_channel_list", 0);
    script("sxm_channel_list", [] {});
    fake::library().error = "No line-up";
    CMGetRowsRequest third(MivoSiriusBrowsePath());
    worker.request(third);
    EXPECT_EQ(errorOf(third), "No line-up") << "the library's own error";
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
                               MivoValue().setString("x").__variant());
    worker.request(wrongType);
    EXPECT_TRUE(wrongType.reply().isError()); // no early return: the sign-in must be let go
    EXPECT_EQ(wrongType.reply().error().name(), "SiriusAccountNode");
    EXPECT_EQ(wrongType.reply().error().message().toString(), "Invalid value type");
    release.set_value();
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
    EXPECT_TRUE(login("new", "pw").reply().isSucceeded());
    EXPECT_EQ(calls("sxm_verify_account(new,pw)"), 1);
    EXPECT_EQ(log.linesContaining("Account changed").size(), 1u);

    result("sxm_verify_account", 0);
    fake::library().error = "Invalid username or password";
    const CMSetDataRequest refused = login("new", "bad");
    EXPECT_EQ(refused.reply().error().message().toString(), "Invalid username or password");
    EXPECT_EQ(log.linesContaining("Account changed").size(), 1u) << "no change announced";

    CMSetDataRequest otherRole(MivoSiriusAccountPath(), MivoRoles::Title(), "x");
    worker.request(otherRole);
    EXPECT_TRUE(otherRole.reply().isError()) << "the framework's default answer";
    EXPECT_EQ(log.linesContaining("role is not for SiriusAccount").size(), 1u);
}
