#include "HostProcess.h"

#include <QJsonDocument>

QList<QJsonObject> HostProcess::Result::items(const QString& name) const
{
    QList<QJsonObject> found;
    for (const QJsonObject& line : lines) {
        if (line.size() == 1 && line.contains(name))
            found << line.value(name).toObject();
    }
    return found;
}

QList<QJsonObject> HostProcess::Result::lists() const
{
    QList<QJsonObject> found;
    for (const QJsonObject& line : lines) {
        if (line.contains(QStringLiteral("rows")))
            found << line;
    }
    return found;
}

HostProcess::HostProcess() = default;

HostProcess::Result HostProcess::run(const QStringList& args, const QByteArray& input,
                                     int timeoutMs) const
{
    QStringList all = {QStringLiteral("--json")};
    if (!args.contains(QStringLiteral("--module")))
        all << QStringLiteral("--module") << QStringLiteral(MIVO_TEST_MODULE);
    if (!args.contains(QStringLiteral("--settings")))
        all << QStringLiteral("--settings") << settingsFile();
    all << QStringLiteral("--service") << QStringLiteral("none") << args;

    QProcess process;
    process.start(QStringLiteral(MIVO_HOST_BINARY), all);
    Result result;
    if (!process.waitForStarted()) {
        result.errors = process.errorString();
        return result;
    }
    process.write(input);
    process.closeWriteChannel();
    if (!process.waitForFinished(timeoutMs)) {
        process.kill();
        process.waitForFinished();
        result.errors = QStringLiteral("timed out; ");
    }
    result.exitCode = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    result.errors += QString::fromUtf8(process.readAllStandardError());
    for (const QByteArray& line : process.readAllStandardOutput().split('\n')) {
        if (line.trimmed().isEmpty())
            continue;
        const QJsonDocument document = QJsonDocument::fromJson(line);
        // A line that is not JSON is a fault of --json: keep it visible to the assertions.
        result.lines << (document.isObject()
                             ? document.object()
                             : QJsonObject{{QStringLiteral("notJson"), QString::fromUtf8(line)}});
    }
    return result;
}
