#pragma once
// Thread contract: CMRoot(), CMSetRoot() and every operation of the root are safe from any thread.

#include "mivosdk/CMAbstractWorker.h"

#include <QHash>
#include <mutex>

/// The host's root: its value tree (settings and state values) and commands. Modules read and
/// write host values and run host commands through it. If no host installed one, an in-memory
/// root is created on first use (tests rely on this).
CMAbstractWorker* CMRoot();
/// Installs the host's root; nullptr goes back to the default in-memory root. The caller keeps
/// ownership and must keep it alive while anything may use CMRoot().
void CMSetRoot(CMAbstractWorker* root);

/// An in-memory value tree with watchers and registered commands; the host builds its own root on
/// it (persisted settings, the streamer's commands). Values are keyed by path without parameters.
class CMMemoryRoot : public CMAbstractWorker
{
    Q_OBJECT
public:
    /// A command: its arguments and the reply to complete.
    using Command = std::function<void(const QVariant& args, CMVoidReply reply)>;

    explicit CMMemoryRoot(QObject* parent = nullptr);

    QVariant getValue(const CMPath& path) override;
    /// Stores and notifies the watchers of the path when the value changed; completes `reply`.
    void setValue(const CMPath& path, const QVariant& value,
                  CMVoidReply reply = CMVoidReply()) override;
    void invoke(const CMPath& path, const QVariant& args,
                CMVoidReply reply = CMVoidReply()) override;
    int watchValue(const CMPath& path, QObject* context, ValueWatcher watcher) override;
    void unwatchValue(int id) override;

    /// Registers the command run by invoke() at `path` (replacing an earlier one). The command runs
    /// on the invoking thread; it must complete the reply (now or later).
    void registerCommand(const CMPath& path, Command command);
    void unregisterCommand(const CMPath& path);

    /// Every value, for inspection and persistence.
    QHash<CMPath, QVariant> values() const;

protected:
    QString workerName() const override { return QStringLiteral("root"); }
    /// Called after a value changed, outside the lock, on the setting thread; the host persists
    /// settings here. Default: nothing.
    virtual void valueChanged(const CMPath& path, const QVariant& value);

private:
    struct Watch
    {
        CMPath path;
        QPointer<QObject> context;
        bool hasContext = false;
        ValueWatcher watcher;
    };

    mutable std::mutex m_mutex; ///< guards m_values, m_watches, m_commands and m_nextWatchId
    QHash<CMPath, QVariant> m_values;
    QHash<int, Watch> m_watches;
    QHash<CMPath, Command> m_commands;
    int m_nextWatchId = 1;
};
