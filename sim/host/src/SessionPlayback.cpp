// The commands and building blocks of playing: finding what to play, starting and stopping it,
// controlling it, and waiting for what a playback does (`until`) or measuring it (`stats`).

#include "NotificationDisplay.h"
#include "Player.h"
#include "Session.h"
#include "Streamer.h"
#include "WorkerHost.h"

#include <mivosdk/MivoPaths.h>
#include <mivosdk/PlayLogicBase.h>

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QJsonObject>
#include <algorithm>
#include <chrono>
#include <climits>
#include <memory>

namespace {

/// How long the end of a playback waits for the streamer to stop.
constexpr int kStopWaitMs = 5000;
/// How long a play-logic command that flushes the sender may take to reach the streamer.
constexpr int kExpectFlushMs = 2000;
/// How long `until` waits unless told otherwise: real time, whatever --speed is.
constexpr double kUntilSeconds = 10;

/// The process's resident set now and at its peak, in KiB (VmRSS and VmHWM of
/// /proc/self/status); -1 where they cannot be read.
std::pair<qint64, qint64> processMemoryKiB()
{
    QFile status(QStringLiteral("/proc/self/status"));
    qint64 rss = -1;
    qint64 hwm = -1;
    if (!status.open(QIODevice::ReadOnly))
        return {rss, hwm};
    for (const QByteArray& line : status.readAll().split('\n')) {
        // "VmRSS:\t   10240 kB"
        const QList<QByteArray> fields = line.simplified().split(' ');
        if (fields.size() == 3 && fields.at(0) == "VmRSS:")
            rss = fields.at(1).toLongLong();
        else if (fields.size() == 3 && fields.at(0) == "VmHWM:")
            hwm = fields.at(1).toLongLong();
    }
    return {rss, hwm};
}

QJsonObject streamerFigures(int state, const Streamer::Statistics& stats)
{
    return QJsonObject{{QStringLiteral("state"), state},
                       {QStringLiteral("queuedBytes"), double(stats.queuedBytes)},
                       {QStringLiteral("maxQueuedBytes"), double(stats.maxQueuedBytes)},
                       {QStringLiteral("heldBackCount"), double(stats.heldBackCount)},
                       {QStringLiteral("heldBackMs"), double(stats.heldBackMs)},
                       {QStringLiteral("droppedBytes"), double(stats.droppedBytes)},
                       {QStringLiteral("bytesPlayed"), double(stats.bytesPlayed)}};
}

} // namespace

// --- what to play, and playing it

bool Session::findPlayableInParent(const CMPath& path, MivoRoles* roles)
{
    QStringList segments = path.segments();
    if (segments.size() < 2)
        return false;
    segments.removeLast();
    RowsPage page;
    if (!readRows(CMPath(segments), 0, -1, &page, true))
        return false;
    for (const MivoRoles& row : page.rows) {
        if (row.path() == path) {
            *roles = row;
            return true;
        }
    }
    return false;
}

bool Session::findFirstPlayable(const CMPath& list, MivoRoles* roles)
{
    RowsPage page;
    if (!readRows(list, 0, -1, &page, true))
        return false;
    remember(page);
    for (const MivoRoles& row : page.rows) {
        if (row.type() == MivoRolesType::Audio) {
            *roles = row;
            return true;
        }
    }
    return false;
}

bool Session::resolvePlayable(const QString& text, MivoRoles* roles)
{
    const int hash = text.lastIndexOf(QLatin1Char('#'));
    if (hash > 0) {
        CMPath list;
        int number = 0;
        if (!parsePath(text.left(hash), &list) ||
            !parseCount(text.mid(hash + 1), QStringLiteral("The row number"), &number))
            return false;
        RowsPage page;
        if (!readRows(list, 0, -1, &page))
            return false;
        if (number < 1 || number > page.rows.size()) {
            reportError(QStringLiteral("Usage"),
                        QStringLiteral("%1 has %2 rows; there is no row %3")
                            .arg(list.toEncoded())
                            .arg(page.rows.size())
                            .arg(number));
            return false;
        }
        remember(page);
        *roles = page.rows.at(number - 1);
        return true;
    }
    CMPath path;
    if (!parsePath(text, &path) || !ensureWorker())
        return false;
    if (m_seenRows.contains(path)) {
        *roles = m_seenRows.value(path);
        return true;
    }
    if (findPlayableInParent(path, roles) || findFirstPlayable(path, roles))
        return true;
    reportError(QStringLiteral("NotPlayable"),
                QStringLiteral("Nothing playable at %1: give a playable row's path, a list, or "
                               "LIST#N")
                    .arg(path.toEncoded()));
    return false;
}

bool Session::startPlaying(const MivoRoles& roles, const QString& outFile)
{
    const CMPath playLogic = roles.mediaData().metaData().playLogicPath();
    if (playLogic.isEmpty()) {
        reportError(
            QStringLiteral("NotPlayable"),
            QStringLiteral("\"%1\" names no play logic in its media data").arg(roles.title()));
        return false;
    }
    if (!ensureWorker())
        return false;
    if (!outFile.isEmpty()) {
        auto output = std::make_unique<QFile>(outFile);
        if (!output->open(QIODevice::WriteOnly | QIODevice::Truncate)) {
            reportError(QStringLiteral("Usage"),
                        QStringLiteral("Cannot write %1: %2").arg(outFile, output->errorString()));
            return false;
        }
        m_streamer->writeNextPlaybackTo(std::move(output));
    }
    m_player->follow(playLogic);
    expectFlush();
    // What `until played` counts is a playback that begins after this one was asked for.
    m_playbacksBeforeStart = m_streamer->playbackCount();
    MivoPlayLogicPlayArgs args;
    args.setId(roles.id()).setMediaRoles(roles);
    if (request(CMSetDataRequest(playLogic, PlayLogicBase::Play(), args.__variant())))
        return true;
    m_streamer->writeNextPlaybackTo(nullptr);
    return false;
}

void Session::expectFlush()
{
    if (m_streamer && m_streamer->state() != Streamer::State::Stopped)
        m_streamer->expectFlush(kExpectFlushMs);
}

bool Session::playLogicCommand(const QString& role)
{
    // These end or replace the playing stream: the play logic flushes its sender first.
    if (role == PlayLogicBase::Stop() || role == PlayLogicBase::Next() ||
        role == PlayLogicBase::Previous())
        expectFlush();
    return request(
        CMSetDataRequest(m_player->playLogicPath(), role, MivoPlayLogicPlayArgs().__variant()));
}

void Session::stopPlayback()
{
    if (!m_worker || !m_streamer)
        return;
    const bool playing = m_player->data().state() != MivoPlayLogicState::Stopped ||
                         m_streamer->state() != Streamer::State::Stopped;
    if (playing) {
        playLogicCommand(PlayLogicBase::Stop());
        waitUntil([this] { return m_streamer->state() == Streamer::State::Stopped; }, kStopWaitMs);
    }
}

// --- commands

bool Session::outFileOption(const CommandArgs& args, QString* file)
{
    *file = args.option(QStringLiteral("out"));
    if (!args.hasOption(QStringLiteral("out")) || !file->isEmpty())
        return true;
    reportError(QStringLiteral("Usage"), QStringLiteral("--out needs a file name"));
    return false;
}

bool Session::cmdPlay(const CommandArgs& args)
{
    const QString usage = QStringLiteral("play PATH [--seconds S] [--out F]");
    if (!checkArgs(args, 1, 1, {QStringLiteral("seconds"), QStringLiteral("out")}, usage))
        return false;
    int seconds = -1;
    QString out;
    if (args.hasOption(QStringLiteral("seconds")) &&
        !parseCount(args.option(QStringLiteral("seconds")), QStringLiteral("--seconds"), &seconds))
        return false;
    MivoRoles roles;
    if (!outFileOption(args, &out) || !resolvePlayable(args.arg(0), &roles) || !ensureWorker())
        return false;

    // The playback is over when the streamer went from playing back to stopped (the end of the
    // stream, or an error); a time limit or Ctrl-C ends it sooner.
    bool active = false;
    bool ended = false;
    bool broken = false;
    const QMetaObject::Connection errors =
        connect(m_player.get(), &Player::streamerChanged, this,
                [&broken](const MivoStreamerData& data) { broken = broken || data.hasError(); });
    const QMetaObject::Connection watch =
        connect(m_streamer.get(), &Streamer::stateChanged, this, [&](Streamer::State state) {
            if (state != Streamer::State::Stopped)
                active = true;
            else if (active)
                ended = true;
        });
    const auto requested = std::chrono::steady_clock::now();
    const bool started = startPlaying(roles, out);
    if (started)
        waitUntil([&ended] { return ended; }, seconds < 0 ? -1 : seconds * 1000);
    disconnect(watch);
    const bool interrupted = m_interrupted;
    m_interrupted = false;
    stopPlayback();
    // The play logic's last word (its state 0, an error text) is shown before the summary.
    waitUntil([this] { return m_player->data().state() == MivoPlayLogicState::Stopped; },
              kStopWaitMs);
    disconnect(errors);
    m_interrupted = interrupted;
    if (!started)
        return false;
    const Streamer::Statistics stats = m_streamer->statistics();
    // From the player's play request to the first byte played out: what a listener waits.
    const double latencyMs =
        stats.firstByteMs < 0
            ? -1.0
            : std::chrono::duration<double, std::milli>(stats.firstByteAt - requested).count();
    m_output.item(
        QStringLiteral("played"),
        QJsonObject{
            {QStringLiteral("path"), roles.path().toEncoded()},
            {QStringLiteral("title"), roles.title()},
            {QStringLiteral("bytes"), double(stats.bytesPlayed)},
            {QStringLiteral("ms"), double(stats.playTimeMs)},
            {QStringLiteral("firstFrameMs"), stats.firstFrameMs},
            {QStringLiteral("firstByteMs"), stats.firstByteMs},
            {QStringLiteral("requestToFirstByteMs"), latencyMs},
            {QStringLiteral("streamer"), streamerFigures(m_player->streamerData().state(), stats)}},
        QStringLiteral("Played %1 bytes (%2 s) of \"%3\"; first byte %4 ms after the play "
                       "request; at most %5 bytes queued, sender held back %6 times (%7 ms)")
            .arg(stats.bytesPlayed)
            .arg(stats.playTimeMs / 1000.0)
            .arg(roles.title())
            .arg(latencyMs, 0, 'f', 2)
            .arg(stats.maxQueuedBytes)
            .arg(stats.heldBackCount)
            .arg(stats.heldBackMs));
    return !broken;
}

bool Session::cmdStart(const CommandArgs& args)
{
    if (!checkArgs(args, 1, 1, {QStringLiteral("out")}, QStringLiteral("start PATH [--out F]")))
        return false;
    QString out;
    MivoRoles roles;
    if (!outFileOption(args, &out) || !resolvePlayable(args.arg(0), &roles) ||
        !startPlaying(roles, out))
        return false;
    m_output.item(QStringLiteral("started"),
                  QJsonObject{{QStringLiteral("path"), roles.path().toEncoded()},
                              {QStringLiteral("title"), roles.title()}},
                  QStringLiteral("Playing \"%1\"").arg(roles.title()));
    return true;
}

bool Session::cmdPause(const CommandArgs& args)
{
    return checkArgs(args, 0, 0, {}, QStringLiteral("pause")) &&
           playLogicCommand(PlayLogicBase::Pause());
}

bool Session::cmdStop(const CommandArgs& args)
{
    if (!checkArgs(args, 0, 0, {}, QStringLiteral("stop")))
        return false;
    const bool stopped = playLogicCommand(PlayLogicBase::Stop());
    if (m_streamer)
        waitUntil([this] { return m_streamer->state() == Streamer::State::Stopped; }, kStopWaitMs);
    return stopped;
}

bool Session::cmdNext(const CommandArgs& args)
{
    return checkArgs(args, 0, 0, {}, QStringLiteral("next")) &&
           playLogicCommand(PlayLogicBase::Next());
}

bool Session::cmdPrevious(const CommandArgs& args)
{
    return checkArgs(args, 0, 0, {}, QStringLiteral("previous")) &&
           playLogicCommand(PlayLogicBase::Previous());
}

bool Session::cmdGoLive(const CommandArgs& args)
{
    if (!checkArgs(args, 0, 0, {}, QStringLiteral("golive")))
        return false;
    expectFlush();
    return activate(MivoSiriusGoLivePath());
}

// --- waiting for a playback and measuring it

bool Session::cmdUntil(const CommandArgs& args)
{
    const QString usage = QStringLiteral("until state N | position MS | played BYTES | track | "
                                         "popup [TEXT]   [--seconds S]");
    if (!checkArgs(args, 1, -1, {QStringLiteral("seconds")}, usage))
        return false;
    double seconds = kUntilSeconds;
    if (args.hasOption(QStringLiteral("seconds"))) {
        bool ok = false;
        seconds = args.option(QStringLiteral("seconds")).toDouble(&ok);
        if (!ok || !(seconds > 0)) {
            reportError(QStringLiteral("Usage"),
                        QStringLiteral("--seconds must be a number above 0, not \"%1\"")
                            .arg(args.option(QStringLiteral("seconds"))));
            return false;
        }
    }
    const QString what = args.arg(0);
    const QStringList values = args.positional().mid(1);
    const bool numeric = what == QLatin1String("state") || what == QLatin1String("position") ||
                         what == QLatin1String("played");
    qint64 wanted = 0;
    if (numeric) {
        bool ok = false;
        wanted = values.value(0).toLongLong(&ok);
        if (!ok || wanted < 0 || values.size() != 1) {
            reportError(QStringLiteral("Usage"),
                        QStringLiteral("until %1 needs one whole number of 0 or more. Usage: %2")
                            .arg(what, usage));
            return false;
        }
    } else if (what == QLatin1String("track") && !values.isEmpty()) {
        reportError(QStringLiteral("Usage"),
                    QStringLiteral("until track takes no value. Usage: %1").arg(usage));
        return false;
    } else if (what != QLatin1String("track") && what != QLatin1String("popup")) {
        reportError(QStringLiteral("Usage"),
                    QStringLiteral("Unknown condition \"%1\". Usage: %2").arg(what, usage));
        return false;
    }

    // Each condition: whether it holds, and what was seen of it (null: nothing yet). State and
    // position are also caught between two looks, as their changes arrive.
    std::function<bool()> met;
    std::function<QJsonValue()> seen;
    QString description;
    QJsonValue value = numeric ? QJsonValue(double(wanted)) : QJsonValue();
    bool reached = false;
    qint64 highest = 0;
    QList<MivoNotificationDisplayItem> popups;
    int popup = -1;
    QMetaObject::Connection changes;
    if (what == QLatin1String("state")) {
        description = QStringLiteral("play-logic state %1").arg(wanted);
        changes =
            connect(m_player.get(), &Player::dataChanged, this, [&](const MivoPlayLogicData& data) {
                reached = reached || data.state() == wanted;
            });
        met = [&] {
            return reached || m_player->data().state() == wanted;
        };
        seen = [&] {
            return reached ? double(wanted) : m_player->data().state();
        };
    } else if (what == QLatin1String("position")) {
        description = QStringLiteral("a play time of %1 ms").arg(wanted);
        highest = m_player->position();
        changes = connect(m_player.get(), &Player::positionChanged, this,
                          [&](qint64 ms) { highest = std::max(highest, ms); });
        met = [&] {
            return std::max(highest, m_player->position()) >= wanted;
        };
        seen = [&] {
            return double(std::max(highest, m_player->position()));
        };
    } else if (what == QLatin1String("played")) {
        description = QStringLiteral("%1 bytes played").arg(wanted);
        // Bytes of a playback that began after the last start; before it begins, nothing.
        const auto played = [this]() -> qint64 {
            return m_streamer && m_streamer->playbackCount() > m_playbacksBeforeStart
                       ? m_streamer->statistics().bytesPlayed
                       : -1;
        };
        met = [played, wanted] {
            return played() >= wanted;
        };
        seen = [played] {
            const qint64 bytes = played();
            return bytes < 0 ? QJsonValue() : QJsonValue(double(bytes));
        };
    } else if (what == QLatin1String("track")) {
        description = QStringLiteral("a track title");
        met = [this] {
            return !m_player->data().trackRoles().title().isEmpty();
        };
        seen = [this] {
            return m_player->data().trackRoles().title();
        };
    } else {
        const QString text = values.join(QLatin1Char(' '));
        value = text;
        description = text.isEmpty() ? QStringLiteral("a new pop-up")
                                     : QStringLiteral("a new pop-up with \"%1\"").arg(text);
        // New: after the one the last `until popup` found, so that a pop-up that came while the
        // command before ran is not missed. Only pop-ups already printed count, so that the
        // pop-up comes before this command's answer in the output.
        const int first = m_popupMark;
        met = [&, first, text] {
            popups = m_display->shownPopups();
            for (int i = first; i < popups.size(); ++i) {
                const MivoNotificationDisplayItem& item = popups.at(i);
                if (item.title().contains(text, Qt::CaseInsensitive) ||
                    item.message().contains(text, Qt::CaseInsensitive)) {
                    popup = i;
                    return true;
                }
            }
            return false;
        };
        seen = [&, first] {
            const int shown = popup >= 0 ? popup : int(popups.size()) - 1;
            return shown >= first ? QJsonValue(popups.at(shown).title()) : QJsonValue();
        };
    }

    // Notices posted before this command (the play logic's data after a start) count as now.
    QCoreApplication::processEvents();
    QElapsedTimer elapsed;
    elapsed.start();
    const bool done = waitUntil(met, int(std::min(seconds * 1000, double(INT_MAX))));
    disconnect(changes);
    const QJsonValue last = seen();
    if (!done) {
        const QString lastText = last.isNull()     ? QStringLiteral("nothing")
                                 : last.isString() ? QStringLiteral("\"%1\"").arg(last.toString())
                                                   : QString::number(qint64(last.toDouble()));
        if (m_interrupted)
            reportError(QStringLiteral("Interrupted"),
                        QStringLiteral("Interrupted while waiting for %1").arg(description));
        else
            reportError(QStringLiteral("UntilTimeout"),
                        QStringLiteral("Waited %1 s for %2; last seen: %3")
                            .arg(seconds)
                            .arg(description, lastText));
        return false;
    }
    if (popup >= 0)
        m_popupMark = popup + 1;
    m_output.item(QStringLiteral("until"),
                  QJsonObject{{QStringLiteral("what"), what},
                              {QStringLiteral("value"), value},
                              {QStringLiteral("seen"), last},
                              {QStringLiteral("ms"), double(elapsed.elapsed())}},
                  QStringLiteral("Reached %1 after %2 ms").arg(description).arg(elapsed.elapsed()));
    return true;
}

bool Session::cmdStats(const CommandArgs& args)
{
    if (!checkArgs(args, 0, 0, {}, QStringLiteral("stats")))
        return false;
    const std::pair<qint64, qint64> memory = processMemoryKiB();
    const Streamer::Statistics stats =
        m_streamer ? m_streamer->statistics() : Streamer::Statistics();
    m_output.item(
        QStringLiteral("stats"),
        QJsonObject{
            {QStringLiteral("rssKiB"), double(memory.first)},
            {QStringLiteral("hwmKiB"), double(memory.second)},
            {QStringLiteral("streamer"), streamerFigures(m_player->streamerData().state(), stats)}},
        QStringLiteral("Memory: %1 KiB resident (peak %2 KiB). Streamer: %3 bytes played, %4 "
                       "queued (at most %5), sender held back %6 times for %7 ms, %8 bytes "
                       "dropped before a flush")
            .arg(memory.first)
            .arg(memory.second)
            .arg(stats.bytesPlayed)
            .arg(stats.queuedBytes)
            .arg(stats.maxQueuedBytes)
            .arg(stats.heldBackCount)
            .arg(stats.heldBackMs)
            .arg(stats.droppedBytes));
    return true;
}
