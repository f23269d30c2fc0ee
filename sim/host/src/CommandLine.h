#pragma once
// Thread contract: pure functions and plain values; safe from any thread.

#include <QMap>
#include <QString>
#include <QStringList>
#include <QVariantHash>

/// The options that apply to the whole process (given before or after the command).
struct HostOptions
{
    QString module;              ///< --module F; empty: the default module (see ModuleLocator)
    QString settingsFile;        ///< --settings F; empty: the default file
    QString serviceUrl;          ///< --service URL; empty: the embedded service when there is one
    QString logConfig;           ///< --log-config F
    bool json = false;           ///< --json
    double speed = 1.0;          ///< --speed X
    int timeoutMs = 10000;       ///< --timeout S (request time-out)
    QVariantHash workerSettings; ///< --worker-setting k=v (repeatable)
    bool help = false;
    bool version = false;
};

/// A command and its arguments: positional words and --name value options.
class CommandArgs
{
public:
    CommandArgs() = default;
    /// `words[0]` is the command. `rest` holds, for every word, the raw text from that word to
    /// the end of its line (for commands whose last argument is free text); empty when the words
    /// came from a process command line.
    CommandArgs(const QStringList& words, const QStringList& rest = QStringList());

    QString command() const { return m_words.value(0); }
    bool isEmpty() const { return m_words.isEmpty(); }
    /// Positional arguments after the command (options removed).
    QStringList positional() const { return m_positional; }
    QString arg(int index) const { return m_positional.value(index); }
    /// The text from positional argument `index` to the end of the line, as typed when known,
    /// else the remaining arguments joined by spaces.
    QString restFrom(int index) const;
    bool hasOption(const QString& name) const { return m_options.contains(name); }
    QString option(const QString& name, const QString& fallback = QString()) const
    {
        return m_options.value(name, fallback);
    }
    /// The options given that are not in `known`; the first unknown one, or empty.
    QString unknownOption(const QStringList& known) const;

private:
    QStringList m_words;
    QStringList m_positional;
    QStringList m_positionalRest;
    QMap<QString, QString> m_options;
};

/// Splits a script or shell line into words: blanks separate, "double" and 'single' quotes group,
/// a backslash escapes the next character; an unquoted # starts a comment. `rest` receives for
/// every word the raw text from it to the end of the line. False with `error` set for an
/// unterminated quote.
bool splitLine(const QString& line, QStringList* words, QStringList* rest, QString* error);

/// Takes the process options out of `arguments` (without the program name) and leaves the
/// command words in `command`. False with `error` set for a bad or incomplete option.
bool parseHostOptions(const QStringList& arguments, HostOptions* options, QStringList* command,
                      QString* error);

/// The --help text.
QString helpText();
