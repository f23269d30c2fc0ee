#pragma once
// Thread contract: safe from any thread, like CMMemoryRoot; persisting takes m_persistMutex.

#include "SettingsFile.h"

#include <mivosdk/CMRoot.h>

#include <memory>
#include <mutex>

/// The host's value tree behind CMRoot(): settings (paths under /settings), kept in a
/// SettingsFile, and state values (streamer data, play times, idle time, ...), kept in memory.
/// The streamer's and the notification display's commands are registered on it.
///
/// Every change of a setting is written to the file at once, from the thread that made it.
/// Defaults and command-line overrides are not: while a default or an override holds the value
/// it was given, the file keeps what it had.
class HostRoot : public CMMemoryRoot
{
    Q_OBJECT
public:
    /// The prefix of every persisted path.
    static CMPath SettingsPrefix() { return CMPath("/settings"); }

    explicit HostRoot(QObject* parent = nullptr);
    ~HostRoot() override;

    /// Loads the settings in `file` into the tree and persists settings there from now on.
    /// Answers a sentence for the user when the file was unreadable or corrupt, else empty.
    QString attachSettingsFile(std::unique_ptr<SettingsFile> file);

    /// Sets `value` at `path` unless the path already holds one.
    void setDefault(const CMPath& path, const QVariant& value);
    /// Sets `value` at `path` for this run only.
    void setTransient(const CMPath& path, const QVariant& value);

    /// The last error of writing the settings file; empty when the last write succeeded.
    QString saveError() const;

protected:
    void valueChanged(const CMPath& path, const QVariant& value) override;

private:
    void setUnsaved(const CMPath& path, const QVariant& value);
    /// The settings as the file should hold them now.
    QHash<CMPath, QVariant> settingsToSave();
    void persist();

    mutable std::mutex m_persistMutex; ///< guards m_file, m_fileValues, m_unsaved and m_saveError
    std::unique_ptr<SettingsFile> m_file;
    QHash<CMPath, QVariant> m_fileValues; ///< what the file holds
    QHash<CMPath, QVariant> m_unsaved;    ///< defaults and overrides, as they were set
    QString m_saveError;
};
