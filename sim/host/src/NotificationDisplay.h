#pragma once
// Thread contract: the command may be invoked on any thread; popups() is safe from any thread;
// shown() is emitted on the display's own thread (the host's main thread).

#include <mivosdk/CMReply.h>
#include <mivosdk/MivoNotificationDisplayItem.h>

#include <QList>
#include <QObject>
#include <mutex>

class CMMemoryRoot;

/// The host's notification display: serves MivoNotificationDisplayOpenPath(), records every
/// pop-up a module opens and announces it for printing.
class NotificationDisplay : public QObject
{
    Q_OBJECT
public:
    explicit NotificationDisplay(CMMemoryRoot& root, QObject* parent = nullptr);
    ~NotificationDisplay() override;

    /// Every pop-up so far, oldest first.
    QList<MivoNotificationDisplayItem> popups() const;
    /// The pop-ups already announced with shown() (so printed), oldest first; display's thread.
    QList<MivoNotificationDisplayItem> shownPopups() const { return popups().mid(0, m_shown); }

signals:
    void shown(const MivoNotificationDisplayItem& item);

private:
    void open(const QVariant& args, const CMVoidReply& reply);

    CMMemoryRoot& m_root;
    mutable std::mutex m_mutex; ///< guards m_popups
    QList<MivoNotificationDisplayItem> m_popups;
    int m_shown = 0; ///< display's thread only: how many of m_popups shown() announced
};
