// Resident memory (VmRSS) of the built mivo-host with the built module after opening every list
// of the browse tree once, against a 2000-channel service (and a 60-channel one, so that what
// grows with the line-up shows apart from what any line-up costs). The service runs in this
// process, so that its catalog and audio are not counted; mivo-host is sampled from /proc at marks
// in its script: before the module is loaded, after the sign-in and the root, after every list.
//
// The lists: the root, All Channels, All Channels (A-Z), every genre, On demand and every genre's
// shows, Xtra Channels and every Xtra genre, For You and every category, Favorites, Recent.

#include <sxmservice/Server.h>

#include <QCoreApplication>
#include <QDateTime>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>
#include <benchmark/benchmark.h>

#include <map>

namespace {

const QString kMarkPath = QStringLiteral("/bench/mark");

/// A field of /proc/PID/status in kB ("VmRSS", "VmHWM"); -1 when it cannot be read.
double statusKb(qint64 pid, const char* field)
{
    QFile status(QStringLiteral("/proc/%1/status").arg(pid));
    if (!status.open(QIODevice::ReadOnly))
        return -1;
    for (const QByteArray& line : status.readAll().split('\n')) {
        if (line.startsWith(field))
            return line.mid(line.indexOf(':') + 1).trimmed().split(' ').value(0).toDouble();
    }
    return -1;
}

/// One mivo-host run on a script. `onLine` sees every JSON line as it comes, with the process
/// still running, so that it can sample the process.
bool runHost(const QString& service, const QString& settings, const QString& scriptText,
             const std::function<void(const QJsonObject&, qint64 pid)>& onLine)
{
    QTemporaryDir dir;
    const QString scriptFile = dir.filePath(QStringLiteral("script.txt"));
    QFile script(scriptFile);
    if (!script.open(QIODevice::WriteOnly))
        return false;
    script.write(scriptText.toUtf8());
    script.close();
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process.start(QStringLiteral(MIVO_HOST_BINARY),
                  {QStringLiteral("--json"), QStringLiteral("--module"),
                   QStringLiteral(CB_SIRIUS_MODULE), QStringLiteral("--service"), service,
                   QStringLiteral("--settings"), settings, QStringLiteral("--timeout"),
                   QStringLiteral("60"), QStringLiteral("run"), scriptFile});
    if (!process.waitForStarted())
        return false;
    QByteArray pending;
    while (process.state() != QProcess::NotRunning) {
        process.waitForReadyRead(50);
        pending += process.readAllStandardOutput();
        int end = 0;
        while ((end = pending.indexOf('\n')) >= 0) {
            const QJsonDocument doc = QJsonDocument::fromJson(pending.left(end));
            pending.remove(0, end + 1);
            if (doc.isObject())
                onLine(doc.object(), process.processId());
        }
    }
    return process.exitStatus() == QProcess::NormalExit;
}

QString mark(const QString& name)
{
    return QStringLiteral("setting %1 \"%2\"\nwait 2\n").arg(kMarkPath, name);
}

/// Every list below the root down to the On demand, Xtra and For You entries' own lists.
QStringList everyList(const QString& service, const QString& settings)
{
    QStringList lists;
    QStringList nested;
    runHost(service, settings,
            QStringLiteral("rows browse\nrows /sirius/browse/onDemands\nrows /sirius/browse/xtra\n"
                           "rows /sirius/browse/forYou\n"),
            [&](const QJsonObject& line, qint64) {
                const QString path = line.value(QStringLiteral("path")).toString();
                for (const QJsonValue& value : line.value(QStringLiteral("rows")).toArray()) {
                    const QString row = value.toObject().value(QStringLiteral("path")).toString();
                    if (row.isEmpty())
                        continue;
                    (path == QLatin1String("/sirius/browse") ? lists : nested) << row;
                }
            });
    return lists + nested;
}

void BrowseMemoryAfterEveryList(benchmark::State& state)
{
    sxm::service::Options options;
    options.channels = int(state.range(0));
    sxm::service::Server server(options);
    server.start();
    QTemporaryDir dir;
    const QString settings = dir.filePath(QStringLiteral("settings.json"));
    QFile file(settings);
    file.open(QIODevice::WriteOnly);
    file.write(R"({"format": 1, "settings": {"/settings/sirius/account": )"
               R"({"type": 99, "value": {"username": "demo", "password": "demo"}}}})");
    file.close();
    const QString service = QString::fromStdString(server.url());

    const QStringList lists = everyList(service, settings);
    QString script = mark(QStringLiteral("host")) + QStringLiteral("rows browse\n") +
                     mark(QStringLiteral("root"));
    for (const QString& list : lists)
        script += QStringLiteral("rows \"%1\"\n").arg(list);
    script += mark(QStringLiteral("everyList"));

    std::map<QString, double> rssKb;
    double peakKb = 0;
    int shown = 0;
    int failed = 0;
    for (auto _ : state) {
        runHost(service, settings, script, [&](const QJsonObject& line, qint64 pid) {
            if (line.contains(QStringLiteral("rows")))
                ++shown;
            if (line.contains(QStringLiteral("error")))
                ++failed;
            const QJsonObject setting = line.value(QStringLiteral("setting")).toObject();
            if (setting.value(QStringLiteral("path")).toString() != kMarkPath)
                return;
            rssKb[setting.value(QStringLiteral("value")).toString()] = statusKb(pid, "VmRSS");
            peakKb = statusKb(pid, "VmHWM");
        });
    }
    const double mib = 1024.0;
    state.counters["lists"] = shown;
    state.counters["failedLists"] = failed;
    state.counters["hostOnlyMiB"] = rssKb[QStringLiteral("host")] / mib;
    state.counters["rootMiB"] = rssKb[QStringLiteral("root")] / mib;
    state.counters["everyListMiB"] = rssKb[QStringLiteral("everyList")] / mib;
    state.counters["moduleMiB"] =
        (rssKb[QStringLiteral("everyList")] - rssKb[QStringLiteral("host")]) / mib;
    state.counters["peakMiB"] = peakKb / mib;
}
BENCHMARK(BrowseMemoryAfterEveryList)->Arg(60)->Arg(2000)->Iterations(1)->Unit(benchmark::kSecond);

} // namespace
