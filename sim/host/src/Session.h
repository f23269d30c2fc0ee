#pragma once
// Thread contract: main thread only. Waiting for the module runs the main thread's events, so
// the streamer, the display and the printing go on meanwhile.

#include "CommandLine.h"
#include "Output.h"

#include <mivosdk/CMRequest.h>
#include <mivosdk/MivoRoles.h>

#include <QHash>
#include <QObject>
#include <functional>
#include <memory>

class EmbeddedService;
class HostRoot;
class NotificationDisplay;
class Player;
class Streamer;
class WorkerHost;

/// One mivo-host process: the module's worker (loaded on first need), the streamer, the
/// notification display and the player, and every command of the command line. `run` and
/// `shell` run many commands in one Session, so a list shown stays open until another list is
/// shown or the session ends.
class Session : public QObject
{
    Q_OBJECT
public:
    Session(const HostOptions& options, HostRoot& root, Output& output, QObject* parent = nullptr);
    /// Stops what plays, closes the open list, then destroys the worker.
    ~Session() override;

    /// Whether `name` is a command (shell aside, which main runs itself).
    static bool hasCommand(const QString& name) { return commands().contains(name); }
    /// Runs one command; answers whether it succeeded (errors are printed).
    bool execute(const CommandArgs& args);
    /// Splits a script or shell line and runs it; an empty or comment line succeeds.
    bool executeLine(const QString& line);

    // --- building blocks, also used by the shell

    /// Loads the module and starts its worker (and the streamer and service it needs) unless
    /// that was done already; prints the error and answers false when that fails.
    bool ensureWorker();
    /// Sends `request` and waits for its answer; prints the error and answers false on failure.
    bool request(const CMRequest& request, QVariant* value = nullptr);
    /// Reads a page of the list at `path` (following redirects) with its title.
    bool readRows(const CMPath& path, int offset, int count, RowsPage* page, bool quiet = false);
    /// Reads, opens (closing the list open before) and prints a list.
    bool showList(const CMPath& path, int offset = 0, int count = -1, RowsPage* page = nullptr);
    /// Starts playing `roles` through their play logic; does not wait for the audio. The bytes
    /// this playback plays go to `outFile` (none when empty), which is closed when it stops.
    bool startPlaying(const MivoRoles& roles, const QString& outFile = QString());
    /// Sends a play-logic command (PlayLogicBase::Pause(), ...) to the play logic followed.
    bool playLogicCommand(const QString& role);
    /// Activates an action path (set-data with MivoRoles::Activate()).
    bool activate(const CMPath& path);
    /// Runs a search; the results list is shown (and open) on success.
    bool search(const QString& text, RowsPage* results = nullptr);
    /// The roles of the row `text` names (see the play command).
    bool resolvePlayable(const QString& text, MivoRoles* roles);
    /// Processes events until `done` or the time-out (ms, negative: none) or an interrupt.
    bool waitUntil(const std::function<bool()>& done, int timeoutMs = -1);
    /// Stops playback if something plays, and waits for the streamer to stop.
    void stopPlayback();

    CMPath openList() const { return m_openList; }
    Player& player() { return *m_player; }
    NotificationDisplay& display() { return *m_display; }
    Output& output() { return m_output; }
    void reportError(const QString& name, const QString& message);
    void reportError(const CMError& error);

    /// Interrupts the command that waits (Ctrl-C): it finishes as soon as it can.
    void interrupt();
    bool isInterrupted() const { return m_interrupted; }
    void clearInterrupt() { m_interrupted = false; }

signals:
    /// The open list changed; `change` is a CMSubscribe change.
    void listChanged(const CMPath& path, const QString& change, int count);
    /// A list was shown (and is the open list now).
    void listShown(const RowsPage& page);
    /// The module closed the open list.
    void listClosed(const CMPath& path);

private:
    using Command = bool (Session::*)(const CommandArgs&);
    static const QHash<QString, Command>& commands();

    bool cmdPaths(const CommandArgs& args);
    bool cmdRows(const CommandArgs& args);
    bool cmdData(const CommandArgs& args);
    bool cmdSet(const CommandArgs& args);
    bool cmdLogin(const CommandArgs& args);
    bool cmdLogout(const CommandArgs& args);
    bool cmdSearch(const CommandArgs& args);
    bool cmdPlay(const CommandArgs& args);
    bool cmdStart(const CommandArgs& args);
    bool cmdUntil(const CommandArgs& args);
    bool cmdStats(const CommandArgs& args);
    bool cmdPause(const CommandArgs& args);
    bool cmdStop(const CommandArgs& args);
    bool cmdNext(const CommandArgs& args);
    bool cmdPrevious(const CommandArgs& args);
    bool cmdGoLive(const CommandArgs& args);
    bool cmdWatch(const CommandArgs& args);
    bool cmdIdle(const CommandArgs& args);
    bool cmdWait(const CommandArgs& args);
    bool cmdMessages(const CommandArgs& args);
    bool cmdRun(const CommandArgs& args);
    bool cmdDemo(const CommandArgs& args);
    bool cmdSetting(const CommandArgs& args);
    bool cmdBurst(const CommandArgs& args);
    bool cmdActivate(const CommandArgs& args);
    bool cmdService(const CommandArgs& args);
    bool servicePlaintext(const CommandArgs& args, const QString& usage);

    bool checkArgs(const CommandArgs& args, int minimum, int maximum, const QStringList& options,
                   const QString& usage);
    bool parsePath(const QString& text, CMPath* path);
    bool parseCount(const QString& text, const QString& what, int* value);
    bool setAccount(const QString& user, const QString& password);
    bool startService();
    bool startStreamer();
    /// The --out option's file name, empty when not given; false (printed) for `--out` alone.
    bool outFileOption(const CommandArgs& args, QString* file);
    /// Tells the streamer that the next play-logic command flushes the sender.
    void expectFlush();
    void openListAt(const CMPath& path);
    void onRowsChanged(const CMPath& path, const QString& change, int count);
    bool findPlayableInParent(const CMPath& path, MivoRoles* roles);
    bool findFirstPlayable(const CMPath& list, MivoRoles* roles);
    void remember(const RowsPage& page);

    HostOptions m_options;
    HostRoot& m_root;
    Output& m_output;
    std::unique_ptr<NotificationDisplay> m_display;
    std::unique_ptr<Player> m_player;
    std::unique_ptr<Streamer> m_streamer;
    std::unique_ptr<EmbeddedService> m_service;
    std::unique_ptr<WorkerHost> m_worker;
    CMPath m_openList;
    /// The rows shown in this session, by their path, so that `play PATH` finds their roles.
    QHash<CMPath, MivoRoles> m_seenRows;
    /// The streamer's playback count when the last play was asked for: `until played` counts
    /// a playback that began after it.
    quint64 m_playbacksBeforeStart = 0;
    /// Pop-ups before this index are no longer new to `until popup`: it found them or older.
    int m_popupMark = 0;
    bool m_interrupted = false;
    int m_runDepth = 0;
};
