// Start-up of the library in a process of its own: the status before and after sxm_init and
// sxm_registerCallbacks, and the simulator's init failure control. The library is one per
// process, so the order of these steps is the test.

#include "CallbackRecorder.h"

#include <mivosdk/CMRoot.h>

#include <sxmlib.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

using sxmlib::test::CallbackRecorder;

TEST(Startup, StatusFollowsInitAndRegistrationAndFailuresSayWhy)
{
    CMMemoryRoot root;
    CMSetRoot(&root);
    CallbackRecorder recorder;

    EXPECT_EQ(sxm_get_status(), SXM_STATUS_UNINITIALIZED);
    EXPECT_EQ(sxm_channel_list(), 0);
    EXPECT_NE(std::string(sxm_get_error()).find("not initialized"), std::string::npos)
        << sxm_get_error();
    EXPECT_EQ(sxm_registerCallbacks(recorder.callbacks()), 0);

    setenv("SXMLIB_SIM_FAIL", "init", 1);
    EXPECT_EQ(sxm_init(), 0);
    EXPECT_NE(std::string(sxm_get_error()).find("SXMLIB_SIM_FAIL=init"), std::string::npos);
    EXPECT_EQ(sxm_get_status(), SXM_STATUS_UNINITIALIZED);
    unsetenv("SXMLIB_SIM_FAIL");

    ASSERT_EQ(sxm_init(), 1) << sxm_get_error();
    EXPECT_STREQ(sxm_get_error(), "");
    EXPECT_EQ(sxm_get_status(), SXM_STATUS_INITIALIZED);
    EXPECT_EQ(sxm_init(), 1) << "a second init changes nothing";

    // Signing in needs the callbacks first.
    EXPECT_EQ(sxm_verify_account("demo", "demo"), 0);
    EXPECT_NE(std::string(sxm_get_error()).find("sxm_registerCallbacks"), std::string::npos);

    sxm_callbacks withoutCuts = recorder.callbacks();
    withoutCuts.onPdtCuts = nullptr;
    EXPECT_EQ(sxm_registerCallbacks(withoutCuts), 0);
    EXPECT_EQ(sxm_get_status(), SXM_STATUS_INITIALIZED);

    EXPECT_EQ(sxm_registerCallbacks(recorder.callbacks()), 1) << sxm_get_error();
    EXPECT_EQ(sxm_get_status(), SXM_STATUS_SIGNED_OUT);

    // Operations that need a session refuse without one, with a text, and without a request.
    EXPECT_EQ(sxm_channel_list(), 0);
    EXPECT_NE(std::string(sxm_get_error()).find("sign in"), std::string::npos) << sxm_get_error();
    EXPECT_EQ(sxm_checkGeoRestricted("hitscentral"), 2);

    // No account stored: configure says so instead of sending empty credentials.
    EXPECT_EQ(sxm_configure_sirius(), 0);
    EXPECT_NE(std::string(sxm_get_error()).find("No SiriusXM account"), std::string::npos);
    // No service address configured: a clear error, no request.
    EXPECT_EQ(sxm_verify_account("demo", "demo"), 0);
    EXPECT_NE(std::string(sxm_get_error()).find("No service address"), std::string::npos)
        << sxm_get_error();
    EXPECT_EQ(sxm_get_status(), SXM_STATUS_SIGNED_OUT);
    CMSetRoot(nullptr);
}
