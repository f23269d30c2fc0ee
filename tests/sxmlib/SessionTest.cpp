// Sign-in, the stored account, an expiring session and a service that cannot be reached: the
// status the integrator reads and the texts it shows.

#include "LibraryFixture.h"

#include <mivosdk/MivoPaths.h>
#include <mivosdk/MivoValue.h>

#include <sxmlib.h>

using namespace sxmlib::test;

namespace {

MivoSiriusAccount storedAccount(CMMemoryRoot& root)
{
    return MivoValue(root.getValue(MivoSiriusSettingsAccountPath()).toHash()).siriusAccount();
}

class Session : public LibraryFixture
{
protected:
    void adjust(sxm::service::Options& options) override
    {
        options.sessionLifetime = std::chrono::minutes(1);
        options.accounts.push_back({"ann", "s3cret"});
    }
};

} // namespace

TEST_F(Session, SignInStoresTheAccountAndReportsTheGlobalSettings)
{
    storeAccount("", "");
    ASSERT_EQ(sxm_verify_account("ann", "s3cret"), 1) << sxm_get_error();
    EXPECT_EQ(sxm_get_status(), SXM_STATUS_SIGNED_IN);
    EXPECT_STREQ(sxm_get_error(), "");

    const MivoSiriusAccount account = storedAccount(m_root);
    EXPECT_EQ(account.username(), "ann");
    EXPECT_EQ(account.password(), "s3cret");
    EXPECT_EQ(account.consumerType(), "subscriber");
    EXPECT_EQ(account.email(), "ann@example.com");

    const Recorded r = recorded();
    ASSERT_EQ(r.globalSettings.size(), 1u);
    EXPECT_EQ(r.globalSettings[0].at("TuneStart"), "on");
}

TEST_F(Session, AWrongPasswordIsRefusedWithTheServiceTextAndStoresNothing)
{
    storeAccount("", "");
    EXPECT_EQ(sxm_verify_account("ann", "wrong"), 0);
    EXPECT_STREQ(sxm_get_error(), "The username or password you entered is incorrect.");
    EXPECT_EQ(sxm_get_status(), SXM_STATUS_SIGN_IN_REFUSED);
    EXPECT_TRUE(storedAccount(m_root).username().isEmpty());
    EXPECT_EQ(sxm_channel_list(), 0) << "no session, no line-up";
    // A refusal of the service's own (a fault) reads the same way, with its text.
    m_server->faults().merge({{"refuseLogin", true}});
    EXPECT_EQ(sxm_verify_account("ann", "s3cret"), 0);
    EXPECT_STREQ(sxm_get_error(), "Your subscription is not active. Please contact SiriusXM.");
}

TEST_F(Session, AnExpiredSessionDropsTheStatusAndTheNextOperationsSayWhy)
{
    signInAndList();
    advance(61 * 1000);
    EXPECT_EQ(sxm_get_favorites(), 0);
    EXPECT_STREQ(sxm_get_error(), "Your session has expired. Please sign in again.");
    EXPECT_EQ(sxm_get_status(), SXM_STATUS_SIGNED_OUT);
    // Without a session nothing more is asked of the service, but the reason stays clear.
    EXPECT_EQ(sxm_get_recents(), 0);
    EXPECT_STREQ(sxm_get_error(), "Your session has expired. Please sign in again.");
    // The integrator signs in again with the stored account.
    ASSERT_EQ(sxm_configure_sirius(), 1) << sxm_get_error();
    EXPECT_EQ(sxm_get_recents(), 1) << sxm_get_error();
}

TEST_F(Session, EachSignInSendsItsOwnSessionBackToTheService)
{
    // The session travels as the cookie the transport keeps: after signing in as someone else
    // the requests act on that account, and signing back in acts on the first one again.
    signInAndList();
    ASSERT_EQ(sxm_verify_account("ann", "s3cret"), 1) << sxm_get_error();
    ASSERT_EQ(sxm_clearRecents(), 1) << sxm_get_error();
    ASSERT_EQ(sxm_get_recents(), 1) << sxm_get_error();
    ASSERT_EQ(sxm_verify_account("demo", "demo"), 1) << sxm_get_error();
    ASSERT_EQ(sxm_get_recents(), 1) << sxm_get_error();

    const Recorded r = recorded();
    ASSERT_EQ(r.recents.size(), 3u);
    EXPECT_FALSE(r.recents[0].item.has_value()) << "ann's list is empty";
    EXPECT_EQ(r.recents[0].index, -1);
    EXPECT_TRUE(r.recents[1].item.has_value()) << "demo's two recents are untouched";
    EXPECT_TRUE(r.recents[2].item.has_value());
}
