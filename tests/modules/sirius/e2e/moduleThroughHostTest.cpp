// The module loaded into the built mivo-host, against the simulated service embedded in it.

#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QProcessEnvironment>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

struct HostRun
{
    int exitCode = -1;
    QList<QJsonObject> lines;
    QString errors;

    QStringList errorMessages() const
    {
        QStringList messages;
        for (const QJsonObject& line : lines) {
            if (line.contains(QStringLiteral("error")))
                messages << line.value(QStringLiteral("error"))
                                .toObject()
                                .value(QStringLiteral("message"))
                                .toString();
        }
        return messages;
    }
};

class ModuleThroughHost : public ::testing::Test
{
protected:
    /// Runs mivo-host --json with the built module, this test's settings file and `env` added.
    HostRun host(const QStringList& args, const QProcessEnvironment& env = QProcessEnvironment())
    {
        QProcess process;
        QProcessEnvironment all = QProcessEnvironment::systemEnvironment();
        all.insert(env);
        process.setProcessEnvironment(all);
        process.start(QStringLiteral(MIVO_HOST_BINARY),
                      QStringList{QStringLiteral("--json"), QStringLiteral("--module"),
                                  QStringLiteral(CB_SIRIUS_MODULE), QStringLiteral("--settings"),
                                  settings()} +
                          args);
        HostRun run;
        if (!process.waitForFinished(120000)) {
            process.kill();
            process.waitForFinished();
            run.errors = QStringLiteral("timed out");
        }
        run.exitCode = process.exitCode();
        run.errors += QString::fromUtf8(process.readAllStandardError());
        for (const QByteArray& line : process.readAllStandardOutput().split('\n')) {
            const QJsonDocument doc = QJsonDocument::fromJson(line);
            if (doc.isObject())
                run.lines << doc.object();
        }
        return run;
    }
    QString settings() const { return m_dir.filePath(QStringLiteral("settings.json")); }
    QString script(const QString& text) const
    {
        const QString path = m_dir.filePath(QStringLiteral("script.txt"));
        QFile file(path);
        file.open(QIODevice::WriteOnly);
        file.write(text.toUtf8());
        return path;
    }
    void storeAccount(const QString& user, const QString& password)
    {
        QFile file(settings());
        file.open(QIODevice::WriteOnly);
        file.write(QStringLiteral(
                       "{\"format\": 1, \"settings\": {\"/settings/sirius/account\": "
                       "{\"type\": 99, \"value\": {\"username\": \"%1\", \"password\": \"%2\"}}}}")
                       .arg(user, password)
                       .toUtf8());
    }

private:
    QTemporaryDir m_dir;
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
         {env(QStringLiteral("SXMLIB_SIM_VERSION"), QStringLiteral("3.0.1")),
          env(QStringLiteral("SXMLIB_SIM_FAIL"), QStringLiteral("init")),
          env(QStringLiteral("SXMLIB_SIM_FAIL"), QStringLiteral("register"))}) {
        const HostRun run = host(
            {QStringLiteral("run"), script(QStringLiteral("rows browse\ndata account title\n"))},
            failure);
        EXPECT_EQ(run.errorMessages(), (QStringList{"Sirius module is not initialized",
                                                    "Sirius module is not initialized"}))
            << run.errors.toStdString();
    }
}

TEST_F(ModuleThroughHost, WithoutAPasswordRequestsAskToLogIn)
{
    const HostRun run =
        host({QStringLiteral("run"), script(QStringLiteral("logout\nrows browse\nrows browse\n"))});
    EXPECT_EQ(run.errorMessages(), (QStringList{"Please log in", "Please log in"}))
        << run.errors.toStdString();
}

TEST_F(ModuleThroughHost, AWrongStoredPasswordAsksForValidCredentials)
{
    storeAccount(QStringLiteral("demo"), QStringLiteral("wrong"));
    const HostRun run = host({QStringLiteral("rows"), QStringLiteral("browse")});
    EXPECT_EQ(run.errorMessages(), QStringList{"Invalid credentials, Please log in"})
        << run.errors.toStdString();
    EXPECT_EQ(run.exitCode, 1);
}

TEST_F(ModuleThroughHost, TheStoredAccountSignsInOnTheFirstRequest)
{
    storeAccount(QStringLiteral("demo"), QStringLiteral("demo"));
    const HostRun run = host({QStringLiteral("rows"), QStringLiteral("browse")});
    // Signed in and the line-up listed, the request reaches the node registry.
    for (const QString& message : run.errorMessages()) {
        EXPECT_FALSE(message.contains(QStringLiteral("log in"))) << message.toStdString();
        EXPECT_FALSE(message.contains(QStringLiteral("not initialized"))) << message.toStdString();
    }
    EXPECT_FALSE(run.lines.isEmpty()) << run.errors.toStdString();
}
