// The module's first contact with the service through mivo-host: the stored account, a wrong
// password, and a library the module refuses to run with.

#include "hostScript.h"

#include <mivosdk/MivoPaths.h>

using namespace e2e;

namespace {

class ModuleThroughHost : public HostTest
{
protected:
    void storeAccount(const QString& password)
    {
        writeSettings(
            {{MivoSiriusSettingsAccountPath().toEncoded(),
              QJsonObject{{"type", 99},
                          {"value", QJsonObject{{"username", "demo"}, {"password", password}}}}}});
    }
    /// Two requests (after `before`), then what the service was asked to sign in.
    HostRun twoRequests(const QProcessEnvironment& env = QProcessEnvironment(),
                        const QString& before = QString()) const
    {
        Script script;
        if (!before.isEmpty())
            script.line(before);
        script.step("requests").rows("browse").line("data account title");
        script.step("logins").line("service requests login");
        return runScript(script, env);
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
        const HostRun run = twoRequests(failure);
        EXPECT_EQ(run.step("requests").errors(), (QStringList{"Sirius module is not initialized",
                                                              "Sirius module is not initialized"}))
            << run.diagnostics();
    }
}

TEST_F(ModuleThroughHost, WithoutAPasswordRequestsAskToLogInAndNoSignInStarts)
{
    const HostRun run = twoRequests(QProcessEnvironment(), "logout");
    EXPECT_EQ(run.step("requests").errors(), (QStringList{"Please log in", "Please log in"}))
        << run.diagnostics();
    const QList<QJsonObject> logins = run.step("logins").items("service");
    ASSERT_EQ(logins.size(), 1) << run.diagnostics();
    EXPECT_TRUE(logins[0].value("requests").toArray().isEmpty());
}

TEST_F(ModuleThroughHost, AWrongStoredPasswordAsksForValidCredentials)
{
    storeAccount("wrong");
    const HostRun run = twoRequests();
    EXPECT_EQ(run.step("requests").errors().value(0), "Invalid credentials, Please log in")
        << run.diagnostics();
}
