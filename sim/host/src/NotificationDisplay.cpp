#include "NotificationDisplay.h"

#include <mivosdk/CMDelivery.h>
#include <mivosdk/CMRoot.h>
#include <mivosdk/MivoPaths.h>
#include <mivosdk/MivoValue.h>

NotificationDisplay::NotificationDisplay(CMMemoryRoot& root, QObject* parent)
    : QObject(parent)
    , m_root(root)
{
    root.registerCommand(MivoNotificationDisplayOpenPath(),
                         [this](const QVariant& args, CMVoidReply reply) { open(args, reply); });
}

NotificationDisplay::~NotificationDisplay()
{
    m_root.unregisterCommand(MivoNotificationDisplayOpenPath());
}

QList<MivoNotificationDisplayItem> NotificationDisplay::popups() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_popups;
}

void NotificationDisplay::open(const QVariant& args, const CMVoidReply& reply)
{
    const MivoValue value(args.toHash());
    if (value.type() != MivoValueType::NotificationDisplayItem) {
        reply.setError(CMError(
            QStringLiteral("NotificationDisplay"),
            TrString("NotificationDisplay", "Expected a notification display item (value type %1)")
                .arg(int(MivoValueType::NotificationDisplayItem))));
        return;
    }
    const MivoNotificationDisplayItem item = value.notificationDisplayItem();
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_popups.append(item);
    }
    // The command runs on the invoking thread; the printing belongs to the display's.
    cmPost(this, [this, item] {
        ++m_shown;
        emit shown(item);
    });
    reply.setResult();
}
