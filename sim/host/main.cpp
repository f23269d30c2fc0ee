// mivo-host: the worker host process. See --help and docs/host.md.

#include "CommandLine.h"
#include "HostDefaults.h"
#include "HostRoot.h"
#include "InterruptWatcher.h"
#include "Output.h"
#include "Session.h"
#include "Shell.h"

#include <mivosdk/CMRoot.h>

#include <QCoreApplication>
#include <QDir>
#include <QStandardPaths>
#include <cstdio>

namespace {

constexpr int kExitFailed = 1;
constexpr int kExitUsage = 2;

QString defaultSettingsFile()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
           QStringLiteral("/mivo-host/settings.json");
}

void printUsageError(const Output& output, const QString& message)
{
    if (output.isJson()) {
        Output(true).error(
            CMError(QStringLiteral("Usage"), TrString(message), TrString("mivo-host")));
    } else {
        fprintf(stderr, "mivo-host: %s\nTry mivo-host --help.\n", qPrintable(message));
    }
}

int runCommand(Session& session, Output& output, const QStringList& words)
{
    const CommandArgs args(words);
    if (args.command() == QLatin1String("shell")) {
        if (args.positional().size() > 0) {
            printUsageError(output, QStringLiteral("shell takes no arguments"));
            return kExitUsage;
        }
        Shell shell(session, output);
        return shell.exec();
    }
    if (!Session::hasCommand(args.command())) {
        printUsageError(output, QStringLiteral("Unknown command \"%1\"").arg(args.command()));
        return kExitUsage;
    }
    return session.execute(args) ? 0 : kExitFailed;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("mivo-host"));
    QCoreApplication::setApplicationVersion(QStringLiteral(MIVO_HOST_VERSION));

    HostOptions options;
    QStringList words;
    QString error;
    const bool parsed = parseHostOptions(app.arguments().mid(1), &options, &words, &error);
    Output output(options.json);
    if (!parsed) {
        printUsageError(output, error);
        return kExitUsage;
    }
    if (options.help) {
        fputs(qPrintable(helpText()), stdout);
        return 0;
    }
    if (options.version) {
        printf("mivo-host %s\n", MIVO_HOST_VERSION);
        return 0;
    }
    if (words.isEmpty()) {
        printUsageError(output, QStringLiteral("No command given"));
        return kExitUsage;
    }

    HostRoot root;
    CMSetRoot(&root);
    const QString settingsFile =
        options.settingsFile.isEmpty() ? defaultSettingsFile() : options.settingsFile;
    const QString settingsMessage =
        root.attachSettingsFile(std::make_unique<SettingsFile>(settingsFile));
    if (!settingsMessage.isEmpty())
        fprintf(stderr, "mivo-host: %s\n", qPrintable(settingsMessage));
    applyHostDefaults(root);

    int status = 0;
    {
        Session session(options, root, output);
        InterruptWatcher interrupts;
        QObject::connect(&interrupts, &InterruptWatcher::interrupted, &session,
                         &Session::interrupt);
        status = runCommand(session, output, words);
    }
    CMSetRoot(nullptr);
    return status;
}
