#include "Session.h"

#include "EmbeddedService.h"
#include "HostRoot.h"
#include "JsonValues.h"
#include "ModuleLocator.h"
#include "NotificationDisplay.h"
#include "PathAliases.h"
#include "Player.h"
#include "Streamer.h"
#include "WorkerHost.h"

#include <mivosdk/CMSubscribe.h>
#include <mivosdk/MivoPaths.h>
#include <mivosdk/MivoRowsRoles.h>
#include <mivosdk/MivoValue.h>
#include <mivosdk/MivoWorkerEntry.h>
#include <mivosdk/PlayLogicBase.h>

#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QSaveFile>
#include <QTimer>
#include <memory>

namespace {

/// How often a wait looks at its condition; well below anything a user notices.
constexpr int kWaitPollMs = 10;
/// Redirects followed before a list is taken to loop.
constexpr int kMaxRedirects = 5;
/// How deep the demo looks for something playable.
constexpr int kDemoDepth = 3;

QString textOf(const QVariant& value)
{
    // Titles come as text, or as a translatable text's hash.
    if (value.type() == QVariant::Hash)
        return TrString::fromHash(value.toHash()).toString();
    return value.toString();
}

} // namespace

Session::Session(const HostOptions& options, HostRoot& root, Output& output, QObject* parent)
    : QObject(parent)
    , m_options(options)
    , m_root(root)
    , m_output(output)
    , m_display(std::make_unique<NotificationDisplay>(root))
    , m_player(std::make_unique<Player>(root, output))
{
    connect(m_display.get(), &NotificationDisplay::shown, this,
            [this](const MivoNotificationDisplayItem& item) { m_output.popup(item); });
}

Session::~Session()
{
    m_interrupted = false;
    if (m_worker) {
        stopPlayback();
        if (!m_openList.isEmpty())
            m_worker->closeRows(m_openList);
    }
    // The worker goes first: it may still use the streamer, the display and the root.
    m_worker.reset();
    m_streamer.reset();
}

// --- plumbing

void Session::reportError(const QString& name, const QString& message)
{
    m_output.error(CMError(name, TrString(message), TrString("mivo-host")));
}

void Session::reportError(const CMError& error)
{
    m_output.error(error);
}

void Session::interrupt()
{
    m_interrupted = true;
}

bool Session::waitUntil(const std::function<bool()>& done, int timeoutMs)
{
    QElapsedTimer elapsed;
    elapsed.start();
    QEventLoop loop;
    QTimer poll;
    poll.setInterval(kWaitPollMs);
    connect(&poll, &QTimer::timeout, &loop, &QEventLoop::quit);
    poll.start();
    while (!done()) {
        if (m_interrupted || (timeoutMs >= 0 && elapsed.elapsed() >= timeoutMs))
            return false;
        loop.exec();
    }
    return true;
}

bool Session::request(const CMRequest& request, QVariant* value)
{
    if (!ensureWorker())
        return false;
    m_worker->send(request);
    const CMReply<QVariant> reply = request.reply();
    // The worker host answers every request within its time-out; an interrupt still waits for
    // that, so that the reply is not abandoned half-way.
    const bool interrupted = m_interrupted;
    m_interrupted = false;
    waitUntil([&reply] { return reply.isFinished(); });
    m_interrupted = m_interrupted || interrupted;
    if (reply.isSucceeded()) {
        if (value)
            *value = reply.result();
        return true;
    }
    if (reply.isCancelled())
        reportError(QStringLiteral("Cancelled"),
                    QStringLiteral("The module cancelled the request"));
    else
        reportError(reply.error());
    return false;
}

bool Session::checkArgs(const CommandArgs& args, int minimum, int maximum,
                        const QStringList& options, const QString& usage)
{
    const QString unknown = args.unknownOption(options);
    const int count = args.positional().size();
    if (unknown.isEmpty() && count >= minimum && (maximum < 0 || count <= maximum))
        return true;
    reportError(QStringLiteral("Usage"),
                unknown.isEmpty()
                    ? QStringLiteral("Usage: %1").arg(usage)
                    : QStringLiteral("Unknown option --%1. Usage: %2").arg(unknown, usage));
    return false;
}

bool Session::parsePath(const QString& text, CMPath* path)
{
    QString error;
    if (resolvePath(text, path, &error))
        return true;
    reportError(QStringLiteral("Usage"), error);
    return false;
}

bool Session::parseCount(const QString& text, const QString& what, int* value)
{
    bool ok = false;
    const int number = text.toInt(&ok);
    if (ok && number >= 0) {
        *value = number;
        return true;
    }
    reportError(
        QStringLiteral("Usage"),
        QStringLiteral("%1 must be a whole number of 0 or more, not \"%2\"").arg(what, text));
    return false;
}

// --- start-up of the module's world

bool Session::startStreamer()
{
    if (m_streamer)
        return true;
    auto streamer = std::make_unique<Streamer>(m_root);
    streamer->setSpeed(m_options.speed);
    QString error;
    if (!streamer->listen(&error)) {
        reportError(QStringLiteral("Streamer"), error);
        return false;
    }
    m_streamer = std::move(streamer);
    return true;
}

bool Session::startService()
{
    const QString url = m_options.serviceUrl;
    auto configUrl = [](const QString& value) {
        return MivoValue().setString(value).__variant();
    };
    if (url == QLatin1String("none"))
        return true;
    if (!url.isEmpty()) {
        const QString config =
            url.endsWith(QLatin1String("/config")) ? url : url + QStringLiteral("/config");
        m_root.setTransient(MivoSiriusSettingsConfigUrlPath(), configUrl(config));
        return true;
    }
    if (!EmbeddedService::isAvailable()) {
        m_output.note(QStringLiteral("Note: no --service given and this mivo-host has no "
                                     "embedded service; the stored configuration URL is used."));
        return true;
    }
    auto service = std::make_unique<EmbeddedService>();
    QString error;
    if (!service->start(&error)) {
        reportError(QStringLiteral("Service"), error);
        return false;
    }
    m_root.setTransient(MivoSiriusSettingsConfigUrlPath(), configUrl(service->configUrl()));
    // A fresh machine signs in with the embedded service's demo account.
    const MivoSiriusAccount stored =
        MivoValue(m_root.getValue(MivoSiriusSettingsAccountPath()).toHash()).siriusAccount();
    if (stored.password().isEmpty()) {
        MivoSiriusAccount demo;
        demo.setUsername(EmbeddedService::demoUser()).setPassword(EmbeddedService::demoPassword());
        m_root.setTransient(MivoSiriusSettingsAccountPath(),
                            MivoValue().setSiriusAccount(demo).__variant());
    }
    m_service = std::move(service);
    return true;
}

bool Session::ensureWorker()
{
    if (m_worker)
        return true;
    QString file = m_options.module;
    if (file.isEmpty()) {
        file = findDefaultModule();
        if (file.isEmpty()) {
            reportError(QStringLiteral("ModuleMissing"),
                        QStringLiteral("This command needs the cb_sirius module, which was not "
                                       "found (looked for %1). Build it (cmake --build <build> "
                                       "--target cb_sirius) or pass --module FILE.")
                            .arg(defaultModuleCandidates().join(QStringLiteral(", "))));
            return false;
        }
    }
    if (!m_options.logConfig.isEmpty()) {
        if (!QFileInfo(m_options.logConfig).isFile()) {
            reportError(QStringLiteral("Usage"),
                        QStringLiteral("Log configuration not found: %1").arg(m_options.logConfig));
            return false;
        }
        qputenv("SIRIUS_LOG_CONFIG",
                QFile::encodeName(QFileInfo(m_options.logConfig).absoluteFilePath()));
    }
    QString error;
    std::unique_ptr<ModuleLibrary> module = ModuleLibrary::load(file, &error);
    if (!module) {
        reportError(QStringLiteral("ModuleLoad"), error);
        return false;
    }
    if (!startStreamer() || !startService())
        return false;

    QVariantHash settings = m_options.workerSettings;
    settings.insert(MivoWorkerSettingStreamUrlPrefix(), m_streamer->streamUrlPrefix());
    auto worker = std::make_unique<WorkerHost>(std::move(module));
    worker->setRequestTimeout(m_options.timeoutMs);
    if (!worker->start(settings, &error)) {
        reportError(QStringLiteral("ModuleLoad"), error);
        return false;
    }
    connect(worker.get(), &WorkerHost::rowsChanged, this, &Session::onRowsChanged);
    m_worker = std::move(worker);
    return true;
}

// --- lists

bool Session::readRows(const CMPath& path, int offset, int count, RowsPage* page, bool quiet)
{
    if (!ensureWorker())
        return false;
    CMPath current = path;
    for (int hop = 0; hop <= kMaxRedirects; ++hop) {
        CMGetRowsRequest rows(current, offset, count);
        m_worker->send(rows);
        const CMReply<QVariant> reply = rows.reply();
        waitUntil([&reply] { return reply.isFinished(); });
        if (!reply.isSucceeded()) {
            if (!quiet)
                reportError(reply.error());
            return false;
        }
        const MivoRowsRoles answer(reply.result().toHash());
        if (answer.isRedirect()) {
            current = answer.rowsRedirect();
            continue;
        }
        page->path = current;
        page->rows = answer.rows();
        page->offset = answer.offset();
        page->total = answer.hasEntry(MivoRowsRoles::Total()) ? answer.total() : -1;
        // The title is the list node's own; a list without one is shown untitled.
        CMGetDataRequest title(current, MivoRoles::Title());
        m_worker->send(title);
        const CMReply<QVariant> titleReply = title.reply();
        waitUntil([&titleReply] { return titleReply.isFinished(); });
        page->title = titleReply.isSucceeded() ? textOf(titleReply.result()) : QString();
        return true;
    }
    if (!quiet)
        reportError(QStringLiteral("Redirect"), QStringLiteral("More than %1 redirects from %2")
                                                    .arg(kMaxRedirects)
                                                    .arg(path.toEncoded()));
    return false;
}

void Session::openListAt(const CMPath& path)
{
    if (m_openList == path)
        return;
    if (!m_openList.isEmpty())
        m_worker->closeRows(m_openList);
    m_openList = path;
    m_worker->openRows(path);
}

void Session::remember(const RowsPage& page)
{
    for (const MivoRoles& row : page.rows) {
        if (!row.path().isEmpty())
            m_seenRows.insert(row.path(), row);
    }
}

bool Session::showList(const CMPath& path, int offset, int count, RowsPage* shown)
{
    RowsPage page;
    if (!readRows(path, offset, count, &page))
        return false;
    openListAt(page.path);
    remember(page);
    m_output.rows(page);
    if (shown)
        *shown = page;
    emit listShown(page);
    return true;
}

void Session::onRowsChanged(const CMPath& path, const QString& change, int count)
{
    if (m_openList.isEmpty())
        return;
    const CMPath open = m_openList.withoutParams();
    const CMPath changed = path.withoutParams();
    if (change == CMSubscribe::RowsChangeClose() && (open == changed || open.startsWith(changed))) {
        const CMPath closed = m_openList;
        m_worker->closeRows(closed);
        m_openList = CMPath();
        m_output.closed(closed);
        emit listClosed(closed);
        return;
    }
    if (open != changed)
        return;
    m_output.changed(m_openList, change, count);
    emit listChanged(m_openList, change, count);
}

// --- lists and actions

bool Session::activate(const CMPath& path)
{
    return request(CMSetDataRequest(path, MivoRoles::Activate(), QVariant()));
}

bool Session::search(const QString& text, RowsPage* results)
{
    QVariant value;
    if (!request(CMGetDataRequest(MivoSiriusBrowsePath(), MivoRoles::SearchPath()), &value))
        return false;
    const CMPath container = CMPath::fromEncoded(value.toString());
    RowsPage page;
    if (container.isEmpty() || !readRows(container, 0, -1, &page))
        return false;
    CMPath query;
    for (const MivoRoles& row : page.rows) {
        if (row.type() == MivoRolesType::Query) {
            query = row.path();
            break;
        }
    }
    if (query.isEmpty()) {
        reportError(QStringLiteral("NoSearch"),
                    QStringLiteral("The search container %1 holds no query node")
                        .arg(container.toEncoded()));
        return false;
    }
    QVariant answer;
    if (!request(CMSetDataRequest(query, MivoRoles::Value(), text), &answer))
        return false;
    return showList(CMPath::fromEncoded(answer.toString()), 0, -1, results);
}

// --- commands

const QHash<QString, Session::Command>& Session::commands()
{
    static const QHash<QString, Command> table = {
        {QStringLiteral("paths"), &Session::cmdPaths},
        {QStringLiteral("rows"), &Session::cmdRows},
        {QStringLiteral("data"), &Session::cmdData},
        {QStringLiteral("set"), &Session::cmdSet},
        {QStringLiteral("login"), &Session::cmdLogin},
        {QStringLiteral("logout"), &Session::cmdLogout},
        {QStringLiteral("search"), &Session::cmdSearch},
        {QStringLiteral("play"), &Session::cmdPlay},
        {QStringLiteral("start"), &Session::cmdStart},
        {QStringLiteral("until"), &Session::cmdUntil},
        {QStringLiteral("stats"), &Session::cmdStats},
        {QStringLiteral("pause"), &Session::cmdPause},
        {QStringLiteral("stop"), &Session::cmdStop},
        {QStringLiteral("next"), &Session::cmdNext},
        {QStringLiteral("previous"), &Session::cmdPrevious},
        {QStringLiteral("golive"), &Session::cmdGoLive},
        {QStringLiteral("watch"), &Session::cmdWatch},
        {QStringLiteral("idle"), &Session::cmdIdle},
        {QStringLiteral("wait"), &Session::cmdWait},
        {QStringLiteral("messages"), &Session::cmdMessages},
        {QStringLiteral("run"), &Session::cmdRun},
        {QStringLiteral("demo"), &Session::cmdDemo},
        {QStringLiteral("setting"), &Session::cmdSetting},
        {QStringLiteral("burst"), &Session::cmdBurst},
        {QStringLiteral("activate"), &Session::cmdActivate},
        {QStringLiteral("service"), &Session::cmdService},
    };
    return table;
}

bool Session::execute(const CommandArgs& args)
{
    const Command command = commands().value(args.command());
    if (!command) {
        reportError(QStringLiteral("Usage"),
                    QStringLiteral("Unknown command \"%1\" (see --help)").arg(args.command()));
        return false;
    }
    return (this->*command)(args);
}

bool Session::executeLine(const QString& line)
{
    QStringList words;
    QStringList rest;
    QString error;
    if (!splitLine(line, &words, &rest, &error)) {
        reportError(QStringLiteral("Usage"), error);
        return false;
    }
    if (words.isEmpty())
        return true;
    return execute(CommandArgs(words, rest));
}

bool Session::cmdPaths(const CommandArgs& args)
{
    if (!checkArgs(args, 0, 0, {}, QStringLiteral("paths")))
        return false;
    QJsonObject json;
    QStringList text;
    auto add = [&](const QString& name, const CMPath& path) {
        json.insert(name, path.toEncoded());
        text << QStringLiteral("%1  %2").arg(name, -14).arg(path.toEncoded());
    };
    for (const auto& alias : pathAliases())
        add(alias.first, alias.second);
    add(QStringLiteral("streamer"), MivoStreamerDefaultPrefixPath());
    add(QStringLiteral("streamerData"), MivoStreamerDefaultPrefixPath() + MivoStreamerDataPath());
    add(QStringLiteral("notification"), MivoNotificationDisplayOpenPath());
    add(QStringLiteral("idleTime"), MivoSystemIdleTimePath());
    add(QStringLiteral("mac"), MivoNetworkStateCurrentMAC());
    add(QStringLiteral("accountSetting"), MivoSiriusSettingsAccountPath());
    add(QStringLiteral("configUrl"), MivoSiriusSettingsConfigUrlPath());
    m_output.item(QStringLiteral("paths"), json, text.join(QLatin1Char('\n')));
    return true;
}

bool Session::cmdRows(const CommandArgs& args)
{
    const QString usage = QStringLiteral("rows PATH [--offset N] [--count N]");
    if (!checkArgs(args, 1, 1, {QStringLiteral("offset"), QStringLiteral("count")}, usage))
        return false;
    CMPath path;
    int offset = 0;
    int count = -1;
    if (!parsePath(args.arg(0), &path))
        return false;
    if (args.hasOption(QStringLiteral("offset")) &&
        !parseCount(args.option(QStringLiteral("offset")), QStringLiteral("--offset"), &offset))
        return false;
    if (args.hasOption(QStringLiteral("count")) &&
        !parseCount(args.option(QStringLiteral("count")), QStringLiteral("--count"), &count))
        return false;
    return showList(path, offset, count);
}

bool Session::cmdData(const CommandArgs& args)
{
    if (!checkArgs(args, 2, 2, {}, QStringLiteral("data PATH ROLE")))
        return false;
    CMPath path;
    QVariant value;
    if (!parsePath(args.arg(0), &path) || !request(CMGetDataRequest(path, args.arg(1)), &value))
        return false;
    const QJsonValue json = jsonvalues::toJson(value);
    m_output.item(QStringLiteral("data"),
                  QJsonObject{{QStringLiteral("path"), path.toEncoded()},
                              {QStringLiteral("role"), args.arg(1)},
                              {QStringLiteral("value"), json}},
                  QStringLiteral("%1 = %2").arg(args.arg(1), jsonvalues::compact(json)));
    return true;
}

bool Session::cmdSet(const CommandArgs& args)
{
    if (!checkArgs(args, 3, -1, {}, QStringLiteral("set PATH ROLE JSON")))
        return false;
    CMPath path;
    if (!parsePath(args.arg(0), &path))
        return false;
    QVariant value;
    QString error;
    if (!jsonvalues::parse(args.restFrom(2), &value, &error)) {
        reportError(QStringLiteral("Usage"), error);
        return false;
    }
    QVariant result;
    if (!request(CMSetDataRequest(path, args.arg(1), value), &result))
        return false;
    const QJsonValue json = jsonvalues::toJson(result);
    m_output.item(QStringLiteral("set"),
                  QJsonObject{{QStringLiteral("path"), path.toEncoded()},
                              {QStringLiteral("role"), args.arg(1)},
                              {QStringLiteral("result"), json}},
                  result.isValid() ? QStringLiteral("OK: %1").arg(jsonvalues::compact(json))
                                   : QStringLiteral("OK"));
    return true;
}

bool Session::setAccount(const QString& user, const QString& password)
{
    MivoSiriusAccount account;
    account.setUsername(user).setPassword(password);
    return request(CMSetDataRequest(MivoSiriusAccountPath(), MivoRoles::Value(),
                                    MivoValue().setSiriusAccount(account).__variant()));
}

bool Session::cmdLogin(const CommandArgs& args)
{
    if (!checkArgs(args, 2, 2, {}, QStringLiteral("login USER PASSWORD")) ||
        !setAccount(args.arg(0), args.arg(1)))
        return false;
    m_output.item(QStringLiteral("login"), QJsonObject{{QStringLiteral("user"), args.arg(0)}},
                  QStringLiteral("Signed in as %1").arg(args.arg(0)));
    return true;
}

bool Session::cmdLogout(const CommandArgs& args)
{
    if (!checkArgs(args, 0, 0, {}, QStringLiteral("logout")) || !setAccount(QString(), QString()))
        return false;
    m_output.item(QStringLiteral("logout"), QJsonObject(), QStringLiteral("Signed out"));
    return true;
}

bool Session::cmdSearch(const CommandArgs& args)
{
    if (!checkArgs(args, 1, -1, {}, QStringLiteral("search TEXT")))
        return false;
    return search(args.restFrom(0));
}

bool Session::cmdWatch(const CommandArgs& args)
{
    if (!checkArgs(args, 2, 2, {}, QStringLiteral("watch PATH SECONDS")))
        return false;
    CMPath path;
    int seconds = 0;
    RowsPage page;
    if (!parsePath(args.arg(0), &path) ||
        !parseCount(args.arg(1), QStringLiteral("SECONDS"), &seconds) ||
        !showList(path, 0, -1, &page))
        return false;
    bool closed = false;
    bool stale = false;
    const QMetaObject::Connection changes =
        connect(this, &Session::listChanged, this, [&stale] { stale = true; });
    const QMetaObject::Connection close =
        connect(this, &Session::listClosed, this, [&closed] { closed = true; });
    QElapsedTimer elapsed;
    elapsed.start();
    while (!closed && !m_interrupted && elapsed.elapsed() < seconds * 1000) {
        waitUntil([&] { return stale || closed; }, seconds * 1000 - int(elapsed.elapsed()));
        if (stale && !closed) {
            stale = false;
            RowsPage updated;
            if (readRows(page.path, 0, -1, &updated)) {
                remember(updated);
                m_output.rows(updated);
            }
        }
    }
    disconnect(changes);
    disconnect(close);
    return true;
}

bool Session::cmdIdle(const CommandArgs& args)
{
    int seconds = 0;
    if (!checkArgs(args, 1, 1, {}, QStringLiteral("idle SECONDS")) ||
        !parseCount(args.arg(0), QStringLiteral("SECONDS"), &seconds))
        return false;
    m_root.setValue(MivoSystemIdleTimePath(), MivoValue().setInt(seconds).__variant());
    m_output.item(QStringLiteral("idle"), QJsonObject{{QStringLiteral("seconds"), seconds}},
                  QStringLiteral("System idle time: %1 s").arg(seconds));
    return true;
}

bool Session::cmdWait(const CommandArgs& args)
{
    int seconds = 0;
    if (!checkArgs(args, 1, 1, {}, QStringLiteral("wait SECONDS")) ||
        !parseCount(args.arg(0), QStringLiteral("SECONDS"), &seconds))
        return false;
    waitUntil([] { return false; }, seconds * 1000);
    return true;
}

bool Session::cmdMessages(const CommandArgs& args)
{
    if (!checkArgs(args, 0, 0, {}, QStringLiteral("messages")))
        return false;
    const QList<MivoNotificationDisplayItem> popups = m_display->popups();
    if (popups.isEmpty())
        m_output.note(QStringLiteral("No pop-ups so far."));
    for (const MivoNotificationDisplayItem& item : popups)
        m_output.popup(item);
    return true;
}

bool Session::cmdRun(const CommandArgs& args)
{
    if (!checkArgs(args, 1, 1, {}, QStringLiteral("run SCRIPT")))
        return false;
    if (m_runDepth > 0) {
        reportError(QStringLiteral("Usage"), QStringLiteral("run cannot be used inside a script"));
        return false;
    }
    QFile script(args.arg(0));
    if (!script.open(QIODevice::ReadOnly | QIODevice::Text)) {
        reportError(QStringLiteral("Usage"), QStringLiteral("Cannot read script %1: %2")
                                                 .arg(script.fileName(), script.errorString()));
        return false;
    }
    ++m_runDepth;
    bool allSucceeded = true;
    int lineNumber = 0;
    while (!script.atEnd() && !m_interrupted) {
        const QString line = QString::fromUtf8(script.readLine()).trimmed();
        ++lineNumber;
        if (line.isEmpty() || line.startsWith(QLatin1Char('#')))
            continue;
        if (line == QLatin1String("quit") || line == QLatin1String("exit"))
            break;
        m_output.note(QStringLiteral("> %1").arg(line));
        if (line.startsWith(QLatin1String("shell"))) {
            reportError(QStringLiteral("Usage"),
                        QStringLiteral("%1:%2: shell cannot run inside a script")
                            .arg(script.fileName())
                            .arg(lineNumber));
            allSucceeded = false;
            continue;
        }
        if (!executeLine(line))
            allSucceeded = false;
    }
    --m_runDepth;
    return allSucceeded;
}

bool Session::cmdDemo(const CommandArgs& args)
{
    if (!checkArgs(args, 0, 0, {QStringLiteral("seconds")}, QStringLiteral("demo [--seconds S]")))
        return false;
    int seconds = 10;
    if (args.hasOption(QStringLiteral("seconds")) &&
        !parseCount(args.option(QStringLiteral("seconds")), QStringLiteral("--seconds"), &seconds))
        return false;
    if (!ensureWorker())
        return false;
    m_output.note(QStringLiteral("== mivo-host demo: the browse root =="));
    RowsPage page;
    if (!showList(MivoSiriusBrowsePath(), 0, -1, &page))
        return false;
    // Walk down the first lists until one holds something playable.
    MivoRoles playable;
    for (int depth = 0; depth < kDemoDepth && playable.isEmpty(); ++depth) {
        CMPath next;
        for (const MivoRoles& row : page.rows) {
            if (row.type() == MivoRolesType::Audio) {
                playable = row;
                break;
            }
            if (next.isEmpty() && row.type() == MivoRolesType::Container)
                next = row.path();
        }
        if (!playable.isEmpty() || next.isEmpty())
            break;
        m_output.note(QStringLiteral("== opening the first list =="));
        if (!showList(next, 0, -1, &page))
            return false;
    }
    if (playable.isEmpty()) {
        reportError(QStringLiteral("NotPlayable"),
                    QStringLiteral("The demo found nothing playable in the first lists"));
        return false;
    }
    m_output.note(
        QStringLiteral("== playing \"%1\" for %2 s ==").arg(playable.title()).arg(seconds));
    m_seenRows.insert(playable.path(), playable);
    CommandArgs play({QStringLiteral("play"), playable.path().toEncoded(),
                      QStringLiteral("--seconds"), QString::number(seconds)});
    const bool played = cmdPlay(play);
    m_output.note(QStringLiteral("== pop-ups so far =="));
    cmdMessages(CommandArgs({QStringLiteral("messages")}));
    return played;
}

bool Session::cmdSetting(const CommandArgs& args)
{
    if (!checkArgs(args, 1, -1, {}, QStringLiteral("setting PATH [JSON]")))
        return false;
    CMPath path;
    if (!parsePath(args.arg(0), &path))
        return false;
    if (args.positional().size() > 1) {
        QVariant value;
        QString error;
        if (!jsonvalues::parse(args.restFrom(1), &value, &error)) {
            reportError(QStringLiteral("Usage"), error);
            return false;
        }
        // As the device's own settings screen would: the module hears of it through the value
        // tree, not through a request.
        m_root.setValue(path, value);
    }
    const QJsonValue json = jsonvalues::toJson(m_root.getValue(path));
    m_output.item(
        QStringLiteral("setting"),
        QJsonObject{{QStringLiteral("path"), path.toEncoded()}, {QStringLiteral("value"), json}},
        QStringLiteral("%1 = %2").arg(path.toEncoded(), jsonvalues::compact(json)));
    return true;
}

bool Session::cmdBurst(const CommandArgs& args)
{
    if (!checkArgs(args, 1, -1, {}, QStringLiteral("burst PATH...")))
        return false;
    QList<CMPath> paths;
    for (const QString& text : args.positional()) {
        CMPath path;
        if (!parsePath(text, &path))
            return false;
        paths << path;
    }
    if (!ensureWorker())
        return false;
    // Every request is handed over before the first answer can be read, so the module holds
    // them all at once; the answers are printed in the order they complete. The tally is shared
    // with the continuations, which may outlive this command when it is interrupted.
    struct Tally
    {
        int answered = 0;
        bool allSucceeded = true;
    };
    const auto tally = std::make_shared<Tally>();
    QList<CMGetRowsRequest> requests;
    for (const CMPath& path : paths) {
        CMGetRowsRequest rows(path, 0, -1);
        rows.reply().onFinished(this, [this, path, tally](const CMReply<QVariant>& reply) {
            ++tally->answered;
            QJsonObject answer{{QStringLiteral("path"), path.toEncoded()},
                               {QStringLiteral("order"), tally->answered}};
            QString text = QStringLiteral("%1. %2 ").arg(tally->answered).arg(path.toEncoded());
            if (reply.isSucceeded()) {
                QJsonArray rows;
                for (const MivoRoles& row : MivoRowsRoles(reply.result().toHash()).rows())
                    rows.append(Output::rowJson(row));
                answer.insert(QStringLiteral("rows"), rows);
                text += QStringLiteral("answered, %1 rows").arg(rows.size());
            } else {
                tally->allSucceeded = false;
                const QString message = reply.error().message().toString();
                answer.insert(QStringLiteral("error"), message);
                text += QStringLiteral("failed: %1").arg(message);
            }
            m_output.item(QStringLiteral("burst"), answer, text);
        });
        requests << rows;
    }
    for (const CMGetRowsRequest& rows : requests)
        m_worker->send(rows);
    const int expected = requests.size();
    waitUntil([&tally, expected] { return tally->answered == expected; });
    return tally->allSucceeded;
}

bool Session::cmdActivate(const CommandArgs& args)
{
    if (!checkArgs(args, 1, 1, {}, QStringLiteral("activate PATH|LIST#N")))
        return false;
    const QString text = args.arg(0);
    const int hash = text.lastIndexOf(QLatin1Char('#'));
    CMPath target;
    QString title;
    if (hash > 0) {
        // The action a row offers, taken from the list as the module shows it now.
        CMPath list;
        int number = 0;
        RowsPage page;
        if (!parsePath(text.left(hash), &list) ||
            !parseCount(text.mid(hash + 1), QStringLiteral("The row number"), &number) ||
            !readRows(list, 0, -1, &page))
            return false;
        if (number < 1 || number > page.rows.size() || page.rows.at(number - 1).path().isEmpty()) {
            reportError(
                QStringLiteral("Usage"),
                QStringLiteral("%1 has no row %2 with a path").arg(list.toEncoded()).arg(number));
            return false;
        }
        target = page.rows.at(number - 1).path();
        title = page.rows.at(number - 1).title();
    } else if (!parsePath(text, &target)) {
        return false;
    }
    if (!activate(target))
        return false;
    m_output.item(
        QStringLiteral("activated"),
        QJsonObject{{QStringLiteral("path"), target.toEncoded()}, {QStringLiteral("title"), title}},
        QStringLiteral("Activated %1").arg(title.isEmpty() ? target.toEncoded() : title));
    return true;
}

bool Session::cmdService(const CommandArgs& args)
{
    const QString usage = QStringLiteral("service fault JSON | service ACTION | service requests "
                                         "ENDPOINT | service plaintext FILE");
    if (!checkArgs(args, 1, -1, {}, usage) || !ensureWorker())
        return false;
    if (!m_service) {
        reportError(QStringLiteral("Service"),
                    QStringLiteral("The service command acts on the embedded service; this run "
                                   "uses --service %1")
                        .arg(m_options.serviceUrl));
        return false;
    }
    const QString what = args.arg(0);
    QString error;
    if (what == QLatin1String("fault")) {
        QByteArray faults;
        if (args.positional().size() < 2 ||
            !m_service->mergeFaults(args.restFrom(1).toUtf8(), &faults, &error)) {
            reportError(QStringLiteral("Service"), error.isEmpty() ? usage : error);
            return false;
        }
        const QJsonObject json = QJsonDocument::fromJson(faults).object();
        m_output.item(QStringLiteral("service"), QJsonObject{{QStringLiteral("faults"), json}},
                      QStringLiteral("Faults: %1").arg(QString::fromUtf8(faults)));
        return true;
    }
    if (what == QLatin1String("requests")) {
        QStringList requests;
        if (args.positional().size() != 2 ||
            !m_service->takeRequests(args.arg(1), &requests, &error)) {
            reportError(QStringLiteral("Service"), error.isEmpty() ? usage : error);
            return false;
        }
        QStringList text{
            QStringLiteral("%1 request(s) on %2").arg(requests.size()).arg(args.arg(1))};
        for (const QString& request : requests)
            text << QStringLiteral("  ") + request;
        m_output.item(
            QStringLiteral("service"),
            QJsonObject{{QStringLiteral("endpoint"), args.arg(1)},
                        {QStringLiteral("requests"), QJsonArray::fromStringList(requests)}},
            text.join(QLatin1Char('\n')));
        return true;
    }
    if (what == QLatin1String("plaintext"))
        return servicePlaintext(args, usage);
    if (args.positional().size() != 1 || !m_service->runAction(what, &error)) {
        reportError(QStringLiteral("Service"), error.isEmpty() ? usage : error);
        return false;
    }
    m_output.item(QStringLiteral("service"), QJsonObject{{QStringLiteral("action"), what}},
                  QStringLiteral("Service: %1 done").arg(what));
    return true;
}

bool Session::servicePlaintext(const CommandArgs& args, const QString& usage)
{
    EmbeddedService::TunedPlaintext tuned;
    QString error;
    if (args.positional().size() != 2) {
        reportError(QStringLiteral("Usage"), QStringLiteral("Usage: %1").arg(usage));
        return false;
    }
    if (!m_service->tunedPlaintext(&tuned, &error)) {
        reportError(QStringLiteral("Service"), error);
        return false;
    }
    QSaveFile file(args.arg(1));
    if (!file.open(QIODevice::WriteOnly) || file.write(tuned.plaintext) != tuned.plaintext.size() ||
        !file.commit()) {
        reportError(QStringLiteral("Usage"),
                    QStringLiteral("Cannot write %1: %2").arg(file.fileName(), file.errorString()));
        return false;
    }
    m_output.item(
        QStringLiteral("service"),
        QJsonObject{{QStringLiteral("plaintext"),
                     QJsonObject{{QStringLiteral("file"), file.fileName()},
                                 {QStringLiteral("bytes"), double(tuned.plaintext.size())},
                                 {QStringLiteral("kind"), tuned.kind},
                                 {QStringLiteral("id"), tuned.id},
                                 {QStringLiteral("bitrate"), tuned.bitrate},
                                 {QStringLiteral("fromSegment"), double(tuned.fromSegment)},
                                 {QStringLiteral("toSegment"), double(tuned.toSegment)},
                                 {QStringLiteral("startOffsetMs"), double(tuned.startOffsetMs)}}}},
        QStringLiteral("%1 bytes of %2/%3 (segments %4 to %5 at bitrate %6, from %7 ms "
                       "into the first) written to %8")
            .arg(tuned.plaintext.size())
            .arg(tuned.kind, tuned.id)
            .arg(tuned.fromSegment)
            .arg(tuned.toSegment)
            .arg(tuned.bitrate)
            .arg(tuned.startOffsetMs)
            .arg(file.fileName()));
    return true;
}
