#include "CommandLine.h"

namespace {

/// Options of commands that take a value.
const QStringList kCommandValueOptions = {QStringLiteral("offset"), QStringLiteral("count"),
                                          QStringLiteral("seconds"), QStringLiteral("out")};

} // namespace

CommandArgs::CommandArgs(const QStringList& words, const QStringList& rest)
    : m_words(words)
{
    for (int i = 1; i < words.size(); ++i) {
        const QString& word = words.at(i);
        if (word.startsWith(QLatin1String("--")) && word.size() > 2) {
            const QString name = word.mid(2);
            const int equals = name.indexOf(QLatin1Char('='));
            if (equals > 0) {
                m_options.insert(name.left(equals), name.mid(equals + 1));
            } else if (kCommandValueOptions.contains(name) && i + 1 < words.size()) {
                m_options.insert(name, words.at(++i));
            } else {
                m_options.insert(name, QString());
            }
            continue;
        }
        m_positional.append(word);
        m_positionalRest.append(rest.value(i));
    }
}

QString CommandArgs::restFrom(int index) const
{
    const QString raw = m_positionalRest.value(index);
    if (!raw.isEmpty())
        return raw.trimmed();
    return m_positional.mid(index).join(QLatin1Char(' '));
}

QString CommandArgs::unknownOption(const QStringList& known) const
{
    for (auto it = m_options.cbegin(); it != m_options.cend(); ++it) {
        if (!known.contains(it.key()))
            return it.key();
    }
    return QString();
}

bool splitLine(const QString& line, QStringList* words, QStringList* rest, QString* error)
{
    words->clear();
    rest->clear();
    QString word;
    bool inWord = false;
    QChar quote;
    int start = 0;
    for (int i = 0; i < line.size(); ++i) {
        const QChar c = line.at(i);
        if (!quote.isNull()) {
            if (c == quote)
                quote = QChar();
            else if (c == QLatin1Char('\\') && quote == QLatin1Char('"') && i + 1 < line.size())
                word += line.at(++i);
            else
                word += c;
            continue;
        }
        if (c.isSpace()) {
            if (inWord) {
                words->append(word);
                rest->append(line.mid(start));
                word.clear();
                inWord = false;
            }
            continue;
        }
        if (c == QLatin1Char('#') && !inWord)
            break;
        if (!inWord) {
            inWord = true;
            start = i;
        }
        if (c == QLatin1Char('"') || c == QLatin1Char('\''))
            quote = c;
        else if (c == QLatin1Char('\\') && i + 1 < line.size())
            word += line.at(++i);
        else
            word += c;
    }
    if (!quote.isNull()) {
        *error = QStringLiteral("Unterminated %1 quote").arg(quote);
        return false;
    }
    if (inWord) {
        words->append(word);
        rest->append(line.mid(start));
    }
    // A comment after the last word is not part of the raw rest of the line.
    for (QString& text : *rest) {
        const int hash = text.indexOf(QLatin1String(" #"));
        if (hash >= 0 && text.left(hash).count(QLatin1Char('"')) % 2 == 0 &&
            text.left(hash).count(QLatin1Char('\'')) % 2 == 0)
            text.truncate(hash);
    }
    return true;
}

bool parseHostOptions(const QStringList& arguments, HostOptions* options, QStringList* command,
                      QString* error)
{
    auto value = [&](int& i, const QString& name, QString* out) {
        if (i + 1 >= arguments.size()) {
            *error = QStringLiteral("--%1 needs a value").arg(name);
            return false;
        }
        *out = arguments.at(++i);
        return true;
    };
    command->clear();
    for (int i = 0; i < arguments.size(); ++i) {
        const QString& arg = arguments.at(i);
        QString text;
        if (arg == QLatin1String("--help") || arg == QLatin1String("-h")) {
            options->help = true;
        } else if (arg == QLatin1String("--version")) {
            options->version = true;
        } else if (arg == QLatin1String("--json")) {
            options->json = true;
        } else if (arg == QLatin1String("--module")) {
            if (!value(i, QStringLiteral("module"), &options->module))
                return false;
        } else if (arg == QLatin1String("--settings")) {
            if (!value(i, QStringLiteral("settings"), &options->settingsFile))
                return false;
        } else if (arg == QLatin1String("--service")) {
            if (!value(i, QStringLiteral("service"), &options->serviceUrl))
                return false;
        } else if (arg == QLatin1String("--log-config")) {
            if (!value(i, QStringLiteral("log-config"), &options->logConfig))
                return false;
        } else if (arg == QLatin1String("--speed")) {
            if (!value(i, QStringLiteral("speed"), &text))
                return false;
            bool ok = false;
            options->speed = text.toDouble(&ok);
            if (!ok || options->speed <= 0 || options->speed > 1000) {
                *error = QStringLiteral("--speed takes a number above 0 and up to 1000, not %1")
                             .arg(text);
                return false;
            }
        } else if (arg == QLatin1String("--timeout")) {
            if (!value(i, QStringLiteral("timeout"), &text))
                return false;
            bool ok = false;
            const double seconds = text.toDouble(&ok);
            if (!ok || seconds <= 0) {
                *error = QStringLiteral("--timeout takes seconds above 0, not %1").arg(text);
                return false;
            }
            options->timeoutMs = int(seconds * 1000);
        } else if (arg == QLatin1String("--worker-setting")) {
            if (!value(i, QStringLiteral("worker-setting"), &text))
                return false;
            const int equals = text.indexOf(QLatin1Char('='));
            if (equals <= 0) {
                *error = QStringLiteral("--worker-setting takes key=value, not %1").arg(text);
                return false;
            }
            options->workerSettings.insert(text.left(equals), text.mid(equals + 1));
        } else {
            command->append(arg);
        }
    }
    return true;
}

QString helpText()
{
    return QStringLiteral(R"(Usage: mivo-host [OPTIONS] COMMAND [ARGS]

Loads a content-browser module, runs its worker and drives it the way a media device does.

Options (before or after the command):
  --module F          the module to load (default: the cb_sirius module, see below)
  --settings F        the settings file (default: ~/.config/mivo-host/settings.json)
  --service URL       the SiriusXM service to use, e.g. http://127.0.0.1:8080 (default: an
                      embedded simulated service on a free loopback port, when built in,
                      signed in with its demo account); --service none uses neither
  --json              print one JSON document per line instead of text
  --speed X           play audio out X times faster than real time (default 1)
  --timeout S         how long to wait for the module to answer a request (default 10)
  --log-config F      a log4cplus properties file for the module's logging
  --worker-setting K=V  an extra entry in the worker's settings (repeatable)
  --help, --version

Commands:
  paths                      the well-known paths and their aliases
  rows PATH [--offset N] [--count N]
                             show a list (the list stays open in run and shell)
  data PATH ROLE             read one role of the node at PATH
  set PATH ROLE JSON         write a role; JSON is any JSON value, e.g. '"text"' or '{"a":1}'
  login USER PASSWORD        sign in (an account value of type 99 on the account node)
  logout                     sign out (the same with an empty user name)
  search TEXT                run a search and show the results
  play PATH [--seconds S] [--out F]
                             play for S seconds (default: until the stream ends or Ctrl-C),
                             writing the played bytes to F. PATH is LIST#N (row N of a list),
                             a playable row's path, or a list (its first playable row)
  start PATH [--out F]       start playing PATH as play does and go on at once: the commands
                             after it act during the playback; F gets the bytes it plays
  until WHAT [VALUE] [--seconds S]
                             wait (10 s at most) until: state N (of the play logic), position
                             MS, played BYTES, track (a track title), popup [TEXT] (a new one)
  stats                      memory (VmRSS, VmHWM) and the streamer's queue and back-pressure
  pause | stop | next | previous   control the playing item
  watch PATH SECONDS         keep a list open and print its rows whenever they change
  idle SECONDS               set the system idle time
  wait SECONDS               let time pass (output goes on), for scripts and the shell
  messages                   the pop-ups shown so far in this process
  setting PATH [JSON]        read, or write as the device's settings screen would, a value of
                             the host's value tree, e.g. setting /settings/sirius/tuneStart
                             '{"type":1,"value":false}'
  activate PATH|LIST#N       activate an action: a path, or what row N of a list leads to
                             (e.g. the first entry of a context menu)
  burst PATH...              send a rows request for every PATH at once; print each answer as
                             it arrives (the order the module answered in)
  service fault JSON | service ACTION | service requests ENDPOINT | service plaintext FILE
                             act on the embedded service: merge a fault patch, run an admin
                             action (endPlayback, changeFavorites, changeRecents, exhaustSkips,
                             expireSessions, reset), list the requests an endpoint answered
                             since the last look, or write the plaintext audio the last tune
                             delivered from its start position to FILE
  run SCRIPT                 run the commands in SCRIPT (one a line, # comments) in one process
  shell                      interactive: numbered rows, open N, back, play N, pause, next,
                             previous, golive, favorite N, search TEXT, messages, quit, help
  demo [--seconds S]         a short tour: browse down to a channel and play it for S s

PATH is an encoded path ("/sirius/browse") or an alias: browse, account, playlogic, golive,
favorite, clearrecents.

The module: --module F, else $MIVO_HOST_MODULE, else libcb_sirius.so next to mivo-host, in
../lib/mivo-host/ beside it, or where this build tree builds it.

With --json: lists {"path","title","total","offset","rows":[{"id","title","description","type",
"path","icon","context"}]}, errors {"error":{"name","title","message"}}, pop-ups
{"popup":{"title","lines","priority","timeoutMs"}}, play-logic data {"playlogic":{...}},
play time {"position":{...}}, streamer data {"streamer":{...}}, the end of a play
{"played":{...,"requestToFirstByteMs"}} and the others documented in docs/host.md.

Exit status: 0 when every command succeeded, 1 when one failed, 2 for a usage error.
)");
}
