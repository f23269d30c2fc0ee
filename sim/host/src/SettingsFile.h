#pragma once
// Thread contract: one owner at a time; HostRoot serialises its use under its own mutex.

#include <mivosdk/CMPath.h>

#include <QHash>
#include <QString>
#include <QVariant>

/// The JSON file in which the host keeps its settings between runs:
///   {"format": 1, "settings": {"/settings/...": <value>, ...}}
/// Values are the host values as JSON (a MivoValue is {"type": N, "value": ...}).
///
/// Writes are atomic (a temporary file renamed over the old one), so a crash never leaves half a
/// file. A file that cannot be understood is never overwritten: it is moved aside as
/// "<file>.corrupt-<time>" and the host starts from the defaults; if it cannot even be moved,
/// saving is disabled for the run.
class SettingsFile
{
public:
    explicit SettingsFile(const QString& fileName);

    QString fileName() const { return m_fileName; }

    /// Reads the file. A missing file is a fresh start (no values, no message). Answers the values
    /// and sets `message` to a sentence for the user when something was wrong with the file.
    QHash<CMPath, QVariant> load(QString* message);

    /// Whether save() may write (false after a file that could neither be read nor moved aside).
    bool isWritable() const { return m_writable; }

    /// Writes all `values` atomically; false with `error` set when it could not.
    bool save(const QHash<CMPath, QVariant>& values, QString* error) const;

private:
    bool moveAside(QString* message);

    QString m_fileName;
    bool m_writable = true;
};
