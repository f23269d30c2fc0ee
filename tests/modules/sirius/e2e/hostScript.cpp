#include "hostScript.h"

#include <QDateTime>
#include <QFile>
#include <QJsonDocument>
#include <QProcess>

namespace e2e {
namespace {

/// The value-tree path whose writes mark the steps; it is no setting, so nothing is persisted.
const QString kMarkerPath = QStringLiteral("/e2e/step");
/// Longer than any script here runs; a run that takes longer has hung.
constexpr int kRunLimitMs = 240000;

QString markerName(const QJsonObject& json)
{
    const QJsonObject setting = json.value(QStringLiteral("setting")).toObject();
    if (setting.value(QStringLiteral("path")).toString() != kMarkerPath)
        return QString();
    return setting.value(QStringLiteral("value")).toString();
}

} // namespace

QList<QJsonObject> Step::items(const QString& key) const
{
    QList<QJsonObject> found;
    for (const OutputLine& line : lines) {
        if (line.json.contains(key))
            found << line.json.value(key).toObject();
    }
    return found;
}

QList<OutputLine> Step::lists() const
{
    QList<OutputLine> found;
    for (const OutputLine& line : lines) {
        if (line.json.contains(QStringLiteral("rows")))
            found << line;
    }
    return found;
}

QJsonObject Step::list(int index) const
{
    const QList<OutputLine> shown = lists();
    return index < shown.size() ? shown.at(index).json : QJsonObject();
}

QStringList Step::errors() const
{
    QStringList messages;
    for (const QJsonObject& error : items(QStringLiteral("error")))
        messages << error.value(QStringLiteral("message")).toString();
    return messages;
}

QStringList Step::requests(const QString& endpoint) const
{
    QStringList requests;
    for (const QJsonObject& service : items(QStringLiteral("service"))) {
        if (service.value(QStringLiteral("endpoint")).toString() != endpoint)
            continue;
        for (const QJsonValue& request : service.value(QStringLiteral("requests")).toArray())
            requests << request.toString();
    }
    return requests;
}

Script& Script::step(const QString& name)
{
    return line(QStringLiteral("setting %1 \"%2\"").arg(kMarkerPath, name));
}

Script& Script::line(const QString& command)
{
    m_lines << command;
    return *this;
}

Script& Script::rows(const QString& path)
{
    return line(QStringLiteral("rows \"%1\"").arg(path));
}

Script& Script::wait(int seconds)
{
    return line(QStringLiteral("wait %1").arg(seconds));
}

Step HostRun::step(const QString& name) const
{
    Step step;
    bool inside = false;
    for (const OutputLine& line : lines) {
        const QString marker = markerName(line.json);
        if (!marker.isNull()) {
            if (inside)
                break;
            inside = marker == name;
            step.startMs = line.atMs;
            continue;
        }
        if (inside)
            step.lines << line;
    }
    EXPECT_TRUE(inside) << "the run never reached the step " << name.toStdString() << "\n"
                        << diagnostics();
    return step;
}

std::string HostRun::diagnostics() const
{
    return QStringLiteral("mivo-host exit code %1%2; standard error:\n%3")
        .arg(exitCode)
        .arg(timedOut ? QStringLiteral(" (killed: it did not finish)") : QString())
        .arg(standardError.right(4000))
        .toStdString();
}

HostRun HostTest::runScript(const Script& script, const QProcessEnvironment& env,
                            const QStringList& options) const
{
    const QString scriptFile = m_dir.filePath(QStringLiteral("script.txt"));
    QFile file(scriptFile);
    EXPECT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    file.write(script.text().toUtf8());
    file.close();

    QProcess process;
    QProcessEnvironment all = QProcessEnvironment::systemEnvironment();
    all.insert(env);
    process.setProcessEnvironment(all);
    process.start(QStringLiteral(MIVO_HOST_BINARY),
                  QStringList{QStringLiteral("--json"), QStringLiteral("--module"),
                              QStringLiteral(CB_SIRIUS_MODULE), QStringLiteral("--settings"),
                              settingsFile()} +
                      options + QStringList{QStringLiteral("run"), scriptFile});
    HostRun run;
    // Lines are read as they come, so that each carries the time it was printed (within the
    // pipe's delay), which the program-data expectations need.
    QByteArray pending;
    auto takeLines = [&] {
        pending += process.readAllStandardOutput();
        const qint64 now = QDateTime::currentMSecsSinceEpoch();
        int end = 0;
        while ((end = pending.indexOf('\n')) >= 0) {
            const QJsonDocument doc = QJsonDocument::fromJson(pending.left(end));
            pending.remove(0, end + 1);
            if (doc.isObject())
                run.lines << OutputLine{now, doc.object()};
        }
    };
    const qint64 deadline = QDateTime::currentMSecsSinceEpoch() + kRunLimitMs;
    while (process.state() != QProcess::NotRunning) {
        if (QDateTime::currentMSecsSinceEpoch() > deadline) {
            run.timedOut = true;
            process.kill();
            process.waitForFinished();
            break;
        }
        process.waitForReadyRead(100);
        takeLines();
    }
    takeLines();
    run.exitCode = process.exitCode();
    run.standardError = QString::fromUtf8(process.readAllStandardError());
    return run;
}

void HostTest::writeSettings(const QJsonObject& settings) const
{
    QFile file(settingsFile());
    ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    file.write(QJsonDocument(QJsonObject{{QStringLiteral("format"), 1},
                                         {QStringLiteral("settings"), settings}})
                   .toJson());
}

QString HostTest::settingsFile() const
{
    return m_dir.filePath(QStringLiteral("settings.json"));
}

QJsonArray rowsOf(const QJsonObject& list)
{
    return list.value(QStringLiteral("rows")).toArray();
}

QStringList titlesOf(const QJsonObject& list)
{
    QStringList titles;
    for (const QJsonValue& row : rowsOf(list))
        titles << row.toObject().value(QStringLiteral("title")).toString();
    return titles;
}

QJsonObject rowWhere(const QJsonObject& list, const QString& key, const QString& value)
{
    for (const QJsonValue& row : rowsOf(list)) {
        if (row.toObject().value(key).toString() == value)
            return row.toObject();
    }
    return QJsonObject();
}

QJsonObject storedBool(bool value)
{
    return QJsonObject{{QStringLiteral("type"), 1}, {QStringLiteral("value"), value}};
}

} // namespace e2e
