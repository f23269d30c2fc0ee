#pragma once
// Thread contract: test main thread only.

#include <QJsonObject>
#include <QList>
#include <QProcess>
#include <QStringList>
#include <QTemporaryDir>

/// Runs the built mivo-host with --json on the test module and a settings file of its own, and
/// collects what it prints.
class HostProcess
{
public:
    struct Result
    {
        int exitCode = -1;
        QList<QJsonObject> lines; ///< standard output, one JSON document a line
        QString errors;           ///< standard error

        /// The documents whose single key is `name` (e.g. "error", "streamer"), their values.
        QList<QJsonObject> items(const QString& name) const;
        /// The list documents (those with "rows").
        QList<QJsonObject> lists() const;
        /// Field `key` of the first "error" document (undefined when there is none).
        QJsonValue error(const QString& key) const
        {
            return items(QStringLiteral("error")).value(0).value(key);
        }
    };

    HostProcess();

    /// A file in the test's own temporary directory.
    QString file(const QString& name) const { return m_dir.filePath(name); }
    QString settingsFile() const { return file(QStringLiteral("settings.json")); }

    /// Runs `mivo-host --json --module <test module> --settings <file> --service none ARGS`
    /// (module and settings may be overridden in `args`), feeding `input` on standard input.
    Result run(const QStringList& args, const QByteArray& input = QByteArray(),
               int timeoutMs = 60000) const;
    /// The same with ARGS given as one line split at spaces.
    Result run(const QString& args, const QByteArray& input = QByteArray()) const
    {
        return run(args.split(QLatin1Char(' '), Qt::SkipEmptyParts), input);
    }

private:
    QTemporaryDir m_dir;
};
