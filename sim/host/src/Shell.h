#pragma once
// Thread contract: main thread only; standard input is read through a socket notifier there.

#include "Output.h"

#include <QObject>
#include <QStringList>

class QSocketNotifier;
class Session;

/// The interactive shell: shows numbered rows and lets the user open them, go back, play, pause,
/// skip, go live, add favorites and search. Lines that are not shell commands are run as
/// mivo-host commands (rows, data, set, login, ...). Lines typed while a command runs wait
/// their turn.
class Shell : public QObject
{
    Q_OBJECT
public:
    Shell(Session& session, Output& output, QObject* parent = nullptr);
    ~Shell() override;

    /// Runs until `quit` or the end of the input; answers the exit status.
    int exec();

private:
    void readInput();
    void processPending();
    bool handle(const QString& line);
    void prompt();
    void help();

    bool showRoot();
    void returnToRootIfPending();
    bool showAndPush(const CMPath& path);
    bool back();
    bool refresh();
    bool rowNumber(const QString& text, MivoRoles* row);
    bool open(const QString& target);
    bool play(const QString& target, const QString& outFile = QString());
    bool favorite(const QString& target);
    bool search(const QString& text);

    Session& m_session;
    Output& m_output;
    QSocketNotifier* m_notifier = nullptr;
    QByteArray m_input;
    QStringList m_pending;
    bool m_busy = false;
    bool m_endOfInput = false;
    bool m_quit = false;
    bool m_failed = false;
    bool m_staleNoted = false;
    bool m_rootPending = false; ///< a list closed: show the root when the current command is done
    QList<RowsPage> m_stack;    ///< the lists opened, the current one last
};
