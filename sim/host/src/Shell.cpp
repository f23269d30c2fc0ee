#include "Shell.h"

#include "CommandLine.h"
#include "PathAliases.h"
#include "Player.h"
#include "Session.h"

#include <mivosdk/MivoPaths.h>
#include <mivosdk/PlayLogicBase.h>

#include <QCoreApplication>
#include <QEventLoop>
#include <QSocketNotifier>
#include <unistd.h>

Shell::Shell(Session& session, Output& output, QObject* parent)
    : QObject(parent)
    , m_session(session)
    , m_output(output)
{
    connect(&m_session, &Session::listClosed, this, [this] {
        // The module closed the list shown: back to the root, as a device's browser would (once
        // the command under way, if any, is done).
        m_stack.clear();
        m_rootPending = true;
        if (!m_busy) {
            returnToRootIfPending();
            prompt();
        }
    });
    // Every list shown, by a shell command or any other (rows, search, watch), is the one that
    // row numbers refer to.
    connect(&m_session, &Session::listShown, this, [this](const RowsPage& page) {
        m_staleNoted = false;
        m_stack.append(page);
    });
    connect(&m_session, &Session::listChanged, this, [this] {
        if (m_staleNoted)
            return;
        m_staleNoted = true;
        m_output.note(QStringLiteral("(the list changed; type ls to show it again)"));
    });
}

Shell::~Shell() = default;

int Shell::exec()
{
    m_output.note(QStringLiteral("mivo-host shell. Type help for the commands, quit to leave."));
    if (showRoot()) {
        m_output.note(QStringLiteral("open N shows row N, play N plays it, back goes back."));
    }
    prompt();
    m_notifier = new QSocketNotifier(STDIN_FILENO, QSocketNotifier::Read, this);
    connect(m_notifier, &QSocketNotifier::activated, this, &Shell::readInput);
    QEventLoop loop;
    while (!m_quit) {
        if (m_endOfInput && m_pending.isEmpty() && !m_busy)
            break;
        loop.processEvents(QEventLoop::WaitForMoreEvents);
        if (m_session.isInterrupted())
            break;
    }
    m_notifier->setEnabled(false);
    return m_failed ? 1 : 0;
}

void Shell::readInput()
{
    char buffer[4096];
    const ssize_t n = ::read(STDIN_FILENO, buffer, sizeof buffer);
    if (n <= 0) {
        m_endOfInput = true;
        m_notifier->setEnabled(false);
        if (!m_input.isEmpty())
            m_pending << QString::fromUtf8(m_input);
        m_input.clear();
    } else {
        m_input.append(buffer, int(n));
        int newline;
        while ((newline = m_input.indexOf('\n')) >= 0) {
            m_pending << QString::fromUtf8(m_input.left(newline));
            m_input.remove(0, newline + 1);
        }
    }
    processPending();
}

void Shell::processPending()
{
    // A command waits for the module with the event loop running, so input can arrive (and
    // land here) in the middle of it; it is queued and handled after.
    if (m_busy)
        return;
    m_busy = true;
    while (!m_pending.isEmpty() && !m_quit) {
        const QString line = m_pending.takeFirst().trimmed();
        if (!line.isEmpty() && !handle(line))
            m_failed = true;
        returnToRootIfPending();
        if (!m_quit)
            prompt();
    }
    m_busy = false;
}

void Shell::prompt()
{
    if (m_output.isJson() || m_quit)
        return;
    const QString where = m_stack.isEmpty() ? QString() : m_stack.last().title;
    fprintf(stdout, "mivo%s> ",
            where.isEmpty() ? "" : qPrintable(QStringLiteral(" [%1]").arg(where)));
    fflush(stdout);
}

void Shell::help()
{
    m_output.note(QStringLiteral(R"(Shell commands:
  ls                  show the current list again
  open N | PATH       show row N's list (or play or activate it), or the list at PATH
  back                return to the list before
  play N | PATH [--out F]
                      play row N (or a row's path) and come back to the prompt; --out
                      writes the played bytes to F until the playback stops
  pause | stop | next | previous | golive
                      control what plays (pause toggles)
  favorite N          add row N to the favorites, or remove it
  search TEXT         search and show the results
  messages            the pop-ups so far
  wait S              let S seconds pass (output goes on)
  quit                leave (stops what plays)
Any other mivo-host command works too: rows, data, set, login, logout, idle, watch, paths,
start, until, stats.)"));
}

void Shell::returnToRootIfPending()
{
    if (!m_rootPending || m_quit)
        return;
    m_rootPending = false;
    showRoot();
}

bool Shell::showRoot()
{
    m_stack.clear();
    return showAndPush(MivoSiriusBrowsePath());
}

bool Shell::showAndPush(const CMPath& path)
{
    return m_session.showList(path, 0, -1);
}

bool Shell::back()
{
    if (m_stack.size() < 2) {
        m_output.note(QStringLiteral("Already at the first list."));
        return true;
    }
    m_stack.removeLast();
    const RowsPage previous = m_stack.takeLast();
    return showAndPush(previous.path);
}

bool Shell::refresh()
{
    if (m_stack.isEmpty())
        return showRoot();
    const RowsPage current = m_stack.takeLast();
    return showAndPush(current.path);
}

bool Shell::rowNumber(const QString& text, MivoRoles* row)
{
    bool ok = false;
    const int number = text.toInt(&ok);
    if (!ok)
        return false;
    // Rows are numbered from the first row of the whole list, also on a later page.
    const int index = m_stack.isEmpty() ? -1 : number - m_stack.last().offset - 1;
    if (index < 0 || index >= m_stack.last().rows.size()) {
        m_session.reportError(QStringLiteral("Usage"),
                              QStringLiteral("There is no row %1 here").arg(text));
        *row = MivoRoles();
        return true;
    }
    *row = m_stack.last().rows.at(index);
    return true;
}

bool Shell::open(const QString& target)
{
    MivoRoles row;
    if (!rowNumber(target, &row)) {
        CMPath path;
        QString error;
        if (!resolvePath(target, &path, &error)) {
            m_session.reportError(QStringLiteral("Usage"), error);
            return false;
        }
        return showAndPush(path);
    }
    if (row.isEmpty())
        return false;
    switch (row.type()) {
    case MivoRolesType::Audio:
        return m_session.startPlaying(row);
    case MivoRolesType::Action:
        return m_session.activate(row.path()) && refresh();
    case MivoRolesType::Query:
        m_output.note(QStringLiteral("This is a search: type search TEXT"));
        return true;
    case MivoRolesType::Item:
    case MivoRolesType::Placeholder:
    case MivoRolesType::SectionHeader:
        m_output.note(QStringLiteral("\"%1\" does not open anything").arg(row.title()));
        return true;
    default:
        return showAndPush(row.path());
    }
}

bool Shell::play(const QString& target, const QString& outFile)
{
    MivoRoles row;
    if (rowNumber(target, &row))
        return !row.isEmpty() && m_session.startPlaying(row, outFile);
    return m_session.resolvePlayable(target, &row) && m_session.startPlaying(row, outFile);
}

bool Shell::favorite(const QString& target)
{
    MivoRoles row;
    if (!rowNumber(target, &row)) {
        m_session.reportError(QStringLiteral("Usage"), QStringLiteral("Usage: favorite N"));
        return false;
    }
    if (row.isEmpty())
        return false;
    // The row's context menu holds the favorite action, with the row's identity in its path.
    const CMPath context = row.context().path();
    RowsPage menu;
    if (!context.isEmpty() && m_session.readRows(context, 0, -1, &menu, true)) {
        for (const MivoRoles& action : menu.rows) {
            if (action.path().withoutParams() == MivoSiriusFavoritePath()) {
                if (!m_session.activate(action.path()))
                    return false;
                m_output.note(QStringLiteral("%1: %2").arg(action.title(), row.title()));
                return true;
            }
        }
    }
    m_session.reportError(QStringLiteral("NoFavorite"),
                          QStringLiteral("\"%1\" has no favorite action").arg(row.title()));
    return false;
}

bool Shell::search(const QString& text)
{
    return m_session.search(text);
}

bool Shell::handle(const QString& line)
{
    QStringList words;
    QStringList rest;
    QString error;
    if (!splitLine(line, &words, &rest, &error)) {
        m_session.reportError(QStringLiteral("Usage"), error);
        return false;
    }
    if (words.isEmpty())
        return true;
    const QString command = words.first();
    const QString argument = words.value(1);
    const bool oneArgument = words.size() == 2;
    if (command == QLatin1String("quit") || command == QLatin1String("exit")) {
        m_quit = true;
        return true;
    }
    if (command == QLatin1String("help") || command == QLatin1String("?")) {
        help();
        return true;
    }
    if (command == QLatin1String("ls") || (command == QLatin1String("rows") && words.size() == 1))
        return refresh();
    if (command == QLatin1String("back"))
        return back();
    if ((command == QLatin1String("open") || command == QLatin1String("rows")) && oneArgument)
        return open(argument);
    if (command == QLatin1String("play") &&
        (oneArgument || (words.size() == 4 && words.at(2) == QLatin1String("--out"))))
        return play(argument, words.value(3));
    if (command == QLatin1String("favorite") && oneArgument)
        return favorite(argument);
    if (command == QLatin1String("search") && words.size() > 1)
        return search(rest.value(1).trimmed());
    if (command == QLatin1String("shell") || command == QLatin1String("run") ||
        command == QLatin1String("demo")) {
        m_session.reportError(QStringLiteral("Usage"),
                              QStringLiteral("%1 cannot be used inside the shell").arg(command));
        return false;
    }
    return m_session.execute(CommandArgs(words, rest));
}
