// The module's first contact with the service through mivo-host: the stored account, a wrong
// password, no password, and a library the module refuses to run with.

#include "hostScript.h"

#include <mivosdk/MivoPaths.h>

using namespace e2e;

namespace {

class ModuleThroughHost : public HostTest
{
protected:
    /// Two requests, each needing the library signed in.
    static Script& twoRequests(Script& script)
    {
        return script.rows("browse").line("data account title");
    }
};

QProcessEnvironment env(const QString& name, const QString& value)
{
    QProcessEnvironment environment;
    environment.insert(name, value);
    return environment;
}

} // namespace

TEST_F(ModuleThroughHost, AWrongLibraryVersionOrAFailedInitialisationRefusesEveryRequest)
{
    for (const QProcessEnvironment& failure :
         {env("SXMLIB_SIM_VERSION", "3.0.1"), env("SXMLIB_SIM_FAIL", "init")}) {
        Script script;
        twoRequests(script.step("requests"));
        const HostRun run = runScript(script, failure);
        EXPECT_EQ(run.step("requests").errors(), (QStringList{"Sirius module is not initialized",
                                                              "Sirius module is not initialized"}))
            << run.diagnostics();
    }
}

// Signed out, requests ask the listener to log in instead of signing in with nothing.
TEST_F(ModuleThroughHost, AWrongStoredPasswordAsksForValidCredentialsAndNoPasswordToLogIn)
{
    writeSettings(
        {{MivoSiriusSettingsAccountPath().toEncoded(),
          QJsonObject{{"type", 99},
                      {"value", QJsonObject{{"username", "demo"}, {"password", "wrong"}}}}}});
    Script script;
    twoRequests(script.step("wrong"));
    script.step("logout").line("logout").line("service requests login");
    twoRequests(script.step("signedOut")).line("service requests login");
    const HostRun run = runScript(script);
    EXPECT_EQ(run.step("wrong").errors().value(0), "Invalid credentials, Please log in")
        << run.diagnostics();
    EXPECT_FALSE(run.step("logout").requests("login").isEmpty()) << "the wrong password was tried";
    const Step signedOut = run.step("signedOut");
    EXPECT_EQ(signedOut.errors(), (QStringList{"Please log in", "Please log in"}))
        << run.diagnostics();
    EXPECT_EQ(signedOut.requests("login"), QStringList());
    EXPECT_EQ(signedOut.items("service").size(), 1) << "the service was asked";
}
