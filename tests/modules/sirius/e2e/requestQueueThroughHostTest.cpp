// The worker's request queue and its settings as a device sees them: the built module in the
// built mivo-host against the embedded service. Requests that arrive during the sign-in, a
// session the service lets expire, and "TuneStart" kept in step between the host's setting and
// the account's settings on the service, without either side echoing the other.

#include "expected.h"
#include "hostScript.h"

#include <mivosdk/MivoPaths.h>

using namespace e2e;

namespace {

QString tuneStart()
{
    return MivoSiriusSettingsTuneStart().toEncoded();
}

/// The host's TuneStart value as a step's `setting` commands printed it, in order.
QList<QJsonValue> tuneStartValues(const Step& step)
{
    QList<QJsonValue> values;
    for (const QJsonObject& setting : step.items("setting")) {
        if (setting.value("path").toString() == tuneStart())
            values << setting.value("value").toObject().value("value");
    }
    return values;
}

class RequestQueueThroughHost : public HostTest
{
};

} // namespace

TEST_F(RequestQueueThroughHost, SignInOrderExpiredSessionsAndTuneStartInStep)
{
    // The host starts with TuneStart off; the service's account has it on.
    writeSettings({{tuneStart(), storedBool(false)}});
    Script script;
    // Three requests handed over together reach the module while it signs in.
    script.step("burst").line(QStringLiteral("burst browse \"%1\" \"%2\"")
                                  .arg(paths::allChannels(), paths::allChannelsByName()));
    script.step("signedIn")
        .wait(1)
        .line("service requests login")
        .line("setting " + tuneStart())
        .line("service requests settings.update");
    script.step("toLibrary")
        .line("setting " + tuneStart() + R"( {"type": 1, "value": false})")
        .wait(3)
        .line("service requests settings.update")
        .line("setting " + tuneStart())
        .wait(2)
        .line("service requests settings.update");
    // The account's settings go back to TuneStart on, and every session expires; the next
    // request signs in again.
    script.step("expire")
        .rows("browse")
        .rows(paths::allChannels())
        .line("service reset")
        .line("service expireSessions")
        .line("service requests lineup")
        .wait(7);
    script.step("again")
        .rows(paths::browse("recent"))
        .line("service requests login")
        .line("service requests lineup")
        .wait(1)
        .line("setting " + tuneStart())
        .line("service requests settings.update")
        .rows("browse")
        .rows(paths::allChannels());
    const HostRun run = runScript(script);
    ASSERT_FALSE(run.timedOut) << run.diagnostics();

    // Held back during the sign-in, the requests are dispatched newest first.
    [&] {
        const QList<QJsonObject> answers = run.step("burst").items("burst");
        ASSERT_EQ(answers.size(), 3) << run.diagnostics();
        QStringList order;
        for (const QJsonObject& answer : answers) {
            EXPECT_FALSE(answer.contains("error"))
                << answer.value("error").toString().toStdString();
            order << answer.value("path").toString();
        }
        EXPECT_EQ(order, (QStringList{paths::allChannelsByName(), paths::allChannels(),
                                      MivoSiriusBrowsePath().toEncoded()}));
    }();

    // One sign-in for the three; the account's TuneStart reached the host's setting, and the
    // write did not go back to the service.
    [&] {
        const Step signedIn = run.step("signedIn");
        EXPECT_EQ(signedIn.requests("login").size(), 1) << run.diagnostics();
        EXPECT_EQ(tuneStartValues(signedIn), QList<QJsonValue>{true});
        EXPECT_EQ(signedIn.requests("settings.update"), QStringList());
    }();

    // The user turns TuneStart off: the library's settings are updated once, with the whole
    // set; the library's report of the new set changes nothing and sends nothing back.
    [&] {
        const Step toLibrary = run.step("toLibrary");
        const QStringList updates = toLibrary.requests("settings.update");
        ASSERT_EQ(updates.size(), 1) << updates.join('\n').toStdString() << run.diagnostics();
        EXPECT_TRUE(
            updates.first().contains(QStringLiteral(R"({"name":"TuneStart","value":"off"})")))
            << updates.first().toStdString();
        EXPECT_TRUE(updates.first().contains(QStringLiteral(R"("name":"Notifications")")))
            << updates.first().toStdString();
        EXPECT_EQ(tuneStartValues(toLibrary), (QList<QJsonValue>{false, false}));
    }();

    // After the service expired the session, the next request signs in again and succeeds;
    // the new sign-in's settings (TuneStart on again) reach the host without an echo, and the
    // line-up listed anew leaves the lists as they were.
    [&] {
        const Step expire = run.step("expire");
        const Step again = run.step("again");
        EXPECT_EQ(again.errors(), QStringList()) << run.diagnostics();
        EXPECT_FALSE(rowsOf(again.list(0)).isEmpty()) << "the recent list after the new sign-in";
        EXPECT_EQ(again.requests("login").size(), 1);
        EXPECT_EQ(again.requests("lineup").size(), 1);
        EXPECT_EQ(tuneStartValues(again), QList<QJsonValue>{true});
        EXPECT_EQ(again.requests("settings.update"), QStringList());
        // A second loaded() rebuilds the root and the lists; it adds nothing.
        EXPECT_EQ(rowsOf(again.list(1)), rowsOf(expire.list(0)));
        EXPECT_EQ(rowsOf(again.list(2)).size(), rowsOf(expire.list(1)).size());
    }();
    EXPECT_EQ(run.exitCode, 0) << run.diagnostics();
}
